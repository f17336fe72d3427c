// The one wrapper around SQLite. Statements are prepared once per text and used through Query, which returns them;
// an SQLite error is thrown as the Failure whose code MAPI has for it.
#pragma once

#include "support/uKwText.hpp"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
struct sqlite3_context;
struct sqlite3_value;

namespace deftmapi::client
{

class Database;

/// The arguments of a call from inside a statement; they count from 0 and are valid during the call.
class SqlArguments
{
public:
    SqlArguments(int count, sqlite3_value** values) : FCount(count), FValues(values) {}
    [[nodiscard]] int Count() const { return FCount; }
    [[nodiscard]] bool IsNull(int index) const;
    [[nodiscard]] std::int64_t Number(int index) const;
    [[nodiscard]] std::string_view Text(int index) const;
    [[nodiscard]] std::span<const std::uint8_t> Blob(int index) const;

private:
    int FCount;
    sqlite3_value** FValues;
};

/// Where such a call puts its result; NULL when it puts none.
class SqlResult
{
public:
    explicit SqlResult(sqlite3_context* context) : FContext(context) {}
    void Set(std::int64_t value) const;
    void SetReal(double value) const;
    void SetText(std::string_view utf8) const;
    void SetBlob(std::span<const std::uint8_t> bytes) const;

private:
    sqlite3_context* FContext;
};

/// Code of this program that a statement calls: deft_call(pointer to it, argument…). An exception ends the statement.
/// REQUIRES: it lives until the statement that it is bound to has been reset.
class SqlCallable
{
public:
    virtual ~SqlCallable() = default;
    virtual void Call(const SqlArguments& arguments, const SqlResult& result) const = 0;
};

/// A value for a parameter of a statement or from one of its columns. std::string is text (UTF-8), monostate NULL.
using SqlValue =
    std::variant<std::monostate, std::int64_t, double, std::string, std::vector<std::uint8_t>, const SqlCallable*>;

/// Compares text without regard to case, as tables sort it. @throws Failure  MAPI_E_CORRUPT_DATA
[[nodiscard]] int CompareFolded(std::string_view a, std::string_view b);
/// The collation that every connection knows as deft_fold: the same, and of damaged text what is left of it.
/// Indexes of store files are built with it: a change of the case tables needs a schema step that rebuilds them.
[[nodiscard]] int CollateFolded(std::string_view a, std::string_view b) noexcept;

/// One use of a prepared statement. Parameters count from 1, columns from 0.
class Query
{
public:
    ~Query();
    Query(Query&& other) noexcept;
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    Query& Bind(int index, std::int64_t value);
    Query& BindText(int index, std::string_view utf8);
    /// The same without a copy: the text must stay where it is until the statement has run.
    Query& BindLastingText(int index, std::string_view utf8);
    Query& BindBlob(int index, std::span<const std::uint8_t> bytes);
    Query& BindNull(int index);
    Query& BindReal(int index, double value);
    Query& Bind(int index, const SqlValue& value);
    /// Binds values from the first parameter on.
    Query& BindAll(std::span<const SqlValue> values);

    /// Moves to the next row; false when there is none (or the statement returns none and has run).
    bool Step();
    /// Runs a statement that returns no rows.
    void Run() { Step(); }
    /// Makes the statement ready for new parameters.
    void Reset();

    [[nodiscard]] bool IsNull(int column) const;
    [[nodiscard]] std::int64_t Number(int column) const;
    /// Valid until the next Step.
    [[nodiscard]] std::string_view Text(int column) const;
    [[nodiscard]] std::span<const std::uint8_t> Blob(int column) const;
    [[nodiscard]] SqlValue Value(int column) const;
    /// The first column of all rows that are left.
    [[nodiscard]] std::vector<std::int64_t> Numbers();

private:
    friend class Database;
    Query(Database& database, sqlite3_stmt* statement, std::vector<sqlite3_stmt*>& idle);
    [[noreturn]] void FailNow() const;

    Database* FDatabase;
    sqlite3_stmt* FStatement;
    std::vector<sqlite3_stmt*>* FIdle; // where the statement rests between two uses
};

/// Work that belongs to a write transaction but is done once, before it becomes durable.
class CommitWork
{
public:
    virtual ~CommitWork() = default;
    /// Writes what there is to write. Called before the commit, and before a consistent read inside the transaction.
    virtual void Flush() = 0;
    /// The transaction has ended, with what was flushed or without any of it.
    virtual void Discard() noexcept = 0;
};

/// How long a connection waits for others that hold the lock of its file before MAPI_E_TIMEOUT.
inline constexpr std::chrono::milliseconds LockWait{20000};
/// The same where the caller cannot wait: a logon with MAPI_TIMEOUT_SHORT.
inline constexpr std::chrono::milliseconds ShortLockWait{3000};

/// For tests: called instead of a pause by who would wait for a lock, with how long he would wait in all; false gives
/// up at once. Null: pauses.
using LockWaitObserver = bool (*)(std::chrono::milliseconds wait);
void ObserveLockWaits(LockWaitObserver observer) noexcept;

/// REQUIRES: one thread at a time (the owner holds a lock).
class Database
{
public:
    enum class Mode
    {
        Create, ///< the file must not exist yet
        Open    ///< the file must exist
    };

    Database(const std::filesystem::path& file, Mode mode);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// LockWait unless it is set.
    void SetLockWait(std::chrono::milliseconds wait) { FLockWait = wait; }
    void Execute(const std::string& sql);
    [[nodiscard]] Query Prepare(std::string_view sql);
    [[nodiscard]] std::int64_t LastRow() const;
    /// Rows that the last statement changed.
    [[nodiscard]] std::int64_t Changes() const;
    /// The first column of the first row of a query, 0 when there is no row.
    [[nodiscard]] std::int64_t Scalar(std::string_view sql);
    [[noreturn]] void FailNow(std::string_view doing) const;
    /// What every transaction from now on does before it commits. @param work  outlives the database; null: nothing
    void SetCommitWork(CommitWork* work) { FWork = work; }
    /// Does it now, so that what is read next is of one piece. Outside a transaction there is nothing to do; a failure
    /// dooms the transaction, of which a part may have been written.
    void FlushCommitWork();
    [[nodiscard]] bool InTransaction() const { return FDepth != 0; }
    /// From now on a transaction looks whether another process has brought the file to a newer version than this: rows
    /// written as before would be missing in what came with it. Then it fails with MAPI_E_VERSION.
    void SetVersion(std::int64_t version) { FVersion = version; }
    /// Transactions fail with MAPI_E_BUSY until as many calls have allowed them again.
    void RefuseWrites() noexcept { ++FRefusals; }
    void AllowWrites() noexcept { --FRefusals; }

private:
    friend class Query;
    friend class Transaction;
    void CheckVersion();
    friend class Snapshot;

    /// Statements of one text: those at rest, and how many there are in all.
    struct Statements
    {
        std::vector<sqlite3_stmt*> idle;
        std::size_t count = 0;
    };
    void Forget();
    /// What SQLite calls while another connection holds a lock. @returns 0 to give up
    static int OnBusy(void* database, int times) noexcept;

    sqlite3* FHandle = nullptr;
    std::chrono::milliseconds FLockWait = LockWait;
    std::chrono::steady_clock::time_point FWaitStart{};
    /// Finds texts without copying them.
    struct TextHash : std::hash<std::string_view>
    {
        using is_transparent = void;
    };
    std::unordered_map<std::string, Statements, TextHash, std::equal_to<>> FStatements;
    int FDepth = 0;
    bool FDoomed = false; // a transaction inside the outermost one has failed
    CommitWork* FWork = nullptr;
    std::int64_t FVersion = 0; // 0: any
    int FRefusals = 0;
};

/// A write transaction; a transaction inside another joins it. Rolls back unless committed: one that ends otherwise
/// takes all around it back, whatever became of the failure on its way there.
class Transaction
{
public:
    /// @throws Failure  MAPI_E_VERSION, see Database::SetVersion; MAPI_E_TIMEOUT others are writing; MAPI_E_BUSY, see
    /// Database::RefuseWrites
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    /// @throws Failure  the outermost one cannot be committed, or an inner one has failed: MAPI_E_CALL_FAILED
    void Commit();

private:
    Database& FDatabase;
    bool FOpen = true;
};

/// One consistent view for several reads.
class Snapshot
{
public:
    explicit Snapshot(Database& database);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

private:
    Database& FDatabase;
    bool FOwner;
};

} // namespace deftmapi::client
