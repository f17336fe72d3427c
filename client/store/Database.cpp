#include "client/store/Database.hpp"

#include "client/entry/Guard.hpp"
#include "client/notify/Dispatcher.hpp"
#include "client/store/PropertyBag.hpp"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <sqlite3.h>
#include <system_error>
#include <thread>

namespace deftmapi::client
{
namespace
{

// Texts whose statements are kept. Restrictions make texts of their own; beyond this all that rest are given up.
constexpr std::size_t StatementTexts = 400;
constexpr auto PointerType = "deftmapi";
constexpr auto sUpgraded = u"A newer version of this program has changed the message store while it was open.";
constexpr auto sRefused = u"The message store cannot be changed while a call on it tells its progress.";
constexpr auto sDoomed = u"A part of the change has failed, so that nothing of it is written.";

constexpr auto sReports = u"The database reports: ";
constexpr auto sNoAccess = u"The file of the database, or its folder, may not be written (or read) by this user: ";

constinit std::atomic<LockWaitObserver> GLockWaitObserver = nullptr;

/// @param systemError  of the last call of the operating system
mapi::HRESULT ResultOf(int code, int systemError)
{
    switch (code & 0xFF) {
    case SQLITE_FULL:
        return mapi::MAPI_E_NOT_ENOUGH_DISK;
    case SQLITE_NOMEM:
        return mapi::MAPI_E_NOT_ENOUGH_MEMORY;
    case SQLITE_IOERR:
        return code == SQLITE_IOERR_NOMEM ? mapi::MAPI_E_NOT_ENOUGH_MEMORY : mapi::MAPI_E_DISK_ERROR;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return mapi::MAPI_E_CORRUPT_STORE;
    case SQLITE_BUSY:
        return mapi::MAPI_E_TIMEOUT;
    case SQLITE_LOCKED:
        return mapi::MAPI_E_BUSY;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return mapi::MAPI_E_NO_ACCESS;
    case SQLITE_CANTOPEN: {
        const auto reason = std::error_code(systemError, std::system_category()).default_error_condition();
        const bool refused = reason == std::errc::permission_denied || reason == std::errc::read_only_file_system ||
                             reason == std::errc::operation_not_permitted;
        return refused ? mapi::MAPI_E_NO_ACCESS : mapi::MAPI_E_DISK_ERROR;
    }
    case SQLITE_TOOBIG:
        return mapi::MAPI_E_TOO_BIG;
    case SQLITE_CONSTRAINT:
        return mapi::MAPI_E_COLLISION;
    default:
        return mapi::MAPI_E_CALL_FAILED;
    }
}

char FoldAscii(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

void CallBack(sqlite3_context* context, int count, sqlite3_value** values)
{
    const auto* callable = static_cast<const SqlCallable*>(sqlite3_value_pointer(values[0], PointerType));
    if (!callable)
        return; // NULL
    try {
        callable->Call(SqlArguments(count - 1, values + 1), SqlResult(context));
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const Failure& failure) {
        sqlite3_result_error(context, failure.what(), -1);
        if (failure.Code() == mapi::MAPI_E_CORRUPT_DATA)
            sqlite3_result_error_code(context, SQLITE_CORRUPT);
        else if (failure.LowLevel() != 0) // a statement inside this one
            sqlite3_result_error_code(context, static_cast<int>(failure.LowLevel()));
    } catch (const std::exception& failure) {
        sqlite3_result_error(context, failure.what(), -1);
    }
}

int Collate(void*, int sizeA, const void* a, int sizeB, const void* b)
{
    return CollateFolded({static_cast<const char*>(a), static_cast<std::size_t>(sizeA)},
                         {static_cast<const char*>(b), static_cast<std::size_t>(sizeB)});
}

} // namespace

// In eight bytes at once: a byte that is not ASCII.
constexpr std::uint64_t HighBits = 0x8080808080808080;

int CompareFolded(std::string_view a, std::string_view b)
{
    const std::size_t common = std::min(a.size(), b.size());
    std::size_t start = 0;
    for (std::uint64_t x = 0, y = 0; start + sizeof x <= common; start += sizeof x) { // what is equal anyway
        std::memcpy(&x, a.data() + start, sizeof x);
        std::memcpy(&y, b.data() + start, sizeof y);
        if (x != y || (x & HighBits) != 0)
            break;
    }
    for (std::size_t i = start; i < common; ++i) {
        if ((a[i] | b[i]) & 0x80) {
            const WideString x = KwUpperCase(UnpackText(a.substr(i)));
            const WideString y = KwUpperCase(UnpackText(b.substr(i)));
            return x < y ? -1 : (y < x ? 1 : 0);
        }
        const char x = FoldAscii(a[i]);
        const char y = FoldAscii(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() < b.size() ? -1 : (b.size() < a.size() ? 1 : 0);
}

namespace
{

/// The text, or what is left of it.
WideString UnpackDamaged(std::string_view text)
{
    try {
        return UnpackText(text);
    } catch (const Failure&) {
        return KwFromUtf8(text);
    }
}

} // namespace

int CollateFolded(std::string_view a, std::string_view b) noexcept
{
    try {
        try {
            return CompareFolded(a, b);
        } catch (const Failure&) {
            const WideString x = KwUpperCase(UnpackDamaged(a));
            const WideString y = KwUpperCase(UnpackDamaged(b));
            return x < y ? -1 : (y < x ? 1 : 0);
        }
    } catch (const std::exception&) { // no memory: better an order that is wrong once than the end of the process
        return a.compare(b);
    }
}

bool SqlArguments::IsNull(int index) const
{
    return sqlite3_value_type(FValues[index]) == SQLITE_NULL;
}

std::int64_t SqlArguments::Number(int index) const
{
    return sqlite3_value_int64(FValues[index]);
}

std::string_view SqlArguments::Text(int index) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(FValues[index]));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(FValues[index])))
                : std::string_view();
}

std::span<const std::uint8_t> SqlArguments::Blob(int index) const
{
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_value_blob(FValues[index]));
    return {data, data ? static_cast<std::size_t>(sqlite3_value_bytes(FValues[index])) : 0};
}

void SqlResult::Set(std::int64_t value) const
{
    sqlite3_result_int64(FContext, value);
}

void SqlResult::SetReal(double value) const
{
    sqlite3_result_double(FContext, value);
}

void SqlResult::SetText(std::string_view utf8) const
{
    sqlite3_result_text64(FContext, utf8.data() ? utf8.data() : "", utf8.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void SqlResult::SetBlob(std::span<const std::uint8_t> bytes) const
{
    const void* data = bytes.empty() ? "" : static_cast<const void*>(bytes.data());
    sqlite3_result_blob64(FContext, data, bytes.size(), SQLITE_TRANSIENT);
}

Query::Query(Database& database, sqlite3_stmt* statement, std::vector<sqlite3_stmt*>& idle)
    : FDatabase(&database), FStatement(statement), FIdle(&idle)
{}

Query::Query(Query&& other) noexcept
    : FDatabase(other.FDatabase), FStatement(std::exchange(other.FStatement, nullptr)), FIdle(other.FIdle)
{}

Query::~Query()
{
    if (!FStatement)
        return;
    sqlite3_reset(FStatement);
    sqlite3_clear_bindings(FStatement);
    FIdle->push_back(FStatement); // has room: Prepare reserved it
}

void Query::FailNow() const
{
    FDatabase->FailNow(sqlite3_sql(FStatement));
}

Query& Query::Bind(int index, std::int64_t value)
{
    if (sqlite3_bind_int64(FStatement, index, value) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::BindText(int index, std::string_view utf8)
{
    if (sqlite3_bind_text64(FStatement, index, utf8.data() ? utf8.data() : "", utf8.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::BindLastingText(int index, std::string_view utf8)
{
    if (sqlite3_bind_text64(FStatement, index, utf8.data(), utf8.size(), SQLITE_STATIC, SQLITE_UTF8) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::BindBlob(int index, std::span<const std::uint8_t> bytes)
{
    const void* data = bytes.empty() ? "" : static_cast<const void*>(bytes.data());
    if (sqlite3_bind_blob64(FStatement, index, data, bytes.size(), SQLITE_TRANSIENT) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::BindNull(int index)
{
    if (sqlite3_bind_null(FStatement, index) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::BindReal(int index, double value)
{
    if (sqlite3_bind_double(FStatement, index, value) != SQLITE_OK)
        FailNow();
    return *this;
}

Query& Query::Bind(int index, const SqlValue& value)
{
    if (const auto* number = std::get_if<std::int64_t>(&value))
        return Bind(index, *number);
    if (const auto* real = std::get_if<double>(&value))
        return BindReal(index, *real);
    if (const auto* text = std::get_if<std::string>(&value))
        return BindText(index, *text);
    if (const auto* bytes = std::get_if<std::vector<std::uint8_t>>(&value))
        return BindBlob(index, *bytes);
    if (const auto* callable = std::get_if<const SqlCallable*>(&value)) {
        if (sqlite3_bind_pointer(FStatement, index, const_cast<SqlCallable*>(*callable), PointerType, nullptr) !=
            SQLITE_OK)
            FailNow();
        return *this;
    }
    return BindNull(index);
}

Query& Query::BindAll(std::span<const SqlValue> values)
{
    int index = 0;
    for (const SqlValue& value : values)
        Bind(++index, value);
    return *this;
}

bool Query::Step()
{
    const int code = sqlite3_step(FStatement);
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        FailNow();
    return false;
}

void Query::Reset()
{
    sqlite3_reset(FStatement);
}

bool Query::IsNull(int column) const
{
    return sqlite3_column_type(FStatement, column) == SQLITE_NULL;
}

std::int64_t Query::Number(int column) const
{
    return sqlite3_column_int64(FStatement, column);
}

std::string_view Query::Text(int column) const
{
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(FStatement, column));
    return text ? std::string_view(text, static_cast<std::size_t>(sqlite3_column_bytes(FStatement, column)))
                : std::string_view();
}

std::span<const std::uint8_t> Query::Blob(int column) const
{
    const auto* data = static_cast<const std::uint8_t*>(sqlite3_column_blob(FStatement, column));
    return {data, data ? static_cast<std::size_t>(sqlite3_column_bytes(FStatement, column)) : 0};
}

SqlValue Query::Value(int column) const
{
    switch (sqlite3_column_type(FStatement, column)) {
    case SQLITE_INTEGER:
        return Number(column);
    case SQLITE_FLOAT:
        return sqlite3_column_double(FStatement, column);
    case SQLITE_TEXT:
        return std::string(Text(column));
    case SQLITE_BLOB: {
        const auto bytes = Blob(column);
        return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
    }
    default:
        return std::monostate();
    }
}

std::vector<std::int64_t> Query::Numbers()
{
    std::vector<std::int64_t> numbers;
    while (Step())
        numbers.push_back(Number(0));
    return numbers;
}

Database::Database(const std::filesystem::path& file, Mode mode)
{
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (mode == Mode::Create ? SQLITE_OPEN_CREATE : 0);
    if (sqlite3_open_v2(file.c_str(), &FHandle, flags, nullptr) != SQLITE_OK) {
        try {
            FailNow("open " + file.string());
        } catch (...) {
            sqlite3_close_v2(FHandle);
            throw;
        }
    }
    sqlite3_extended_result_codes(FHandle, 1);
    sqlite3_busy_handler(FHandle, OnBusy, this);
    if (sqlite3_create_collation_v2(FHandle, "deft_fold", SQLITE_UTF8, nullptr, Collate, nullptr) != SQLITE_OK ||
        sqlite3_create_function_v2(FHandle, "deft_call", -1, SQLITE_UTF8, nullptr, CallBack, nullptr, nullptr,
                                   nullptr) != SQLITE_OK)
    {
        sqlite3_close_v2(FHandle);
        throw std::bad_alloc();
    }
}

void ObserveLockWaits(LockWaitObserver observer) noexcept
{
    GLockWaitObserver = observer;
}

int Database::OnBusy(void* database, int times) noexcept
{
    auto& self = *static_cast<Database*>(database);
    if (const LockWaitObserver observer = GLockWaitObserver)
        return observer(self.FLockWait) ? 1 : 0;
    const auto now = std::chrono::steady_clock::now();
    if (times == 0)
        self.FWaitStart = now;
    const auto left = self.FLockWait - (now - self.FWaitStart);
    if (left <= left.zero())
        return 0;
    // Locks are held for milliseconds as a rule, so the first pauses are short.
    const auto pause = std::chrono::milliseconds(std::min(1 << std::min(times, 10), 50));
    std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(pause, left));
    return 1;
}

Database::~Database()
{
    Forget();
    sqlite3_close_v2(FHandle);
}

void Database::Forget()
{
    for (auto it = FStatements.begin(); it != FStatements.end();) {
        if (it->second.idle.size() != it->second.count) { // one of them is in use and comes back here
            ++it;
            continue;
        }
        for (sqlite3_stmt* statement : it->second.idle)
            sqlite3_finalize(statement);
        it = FStatements.erase(it);
    }
}

void Database::Execute(const std::string& sql)
{
    if (sqlite3_exec(FHandle, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        FailNow(sql);
}

Query Database::Prepare(std::string_view sql)
{
    auto it = FStatements.find(sql);
    if (it == FStatements.end()) {
        if (FStatements.size() >= StatementTexts)
            Forget();
        it = FStatements.try_emplace(std::string(sql)).first;
    }
    auto& idle = it->second.idle;
    if (!idle.empty()) {
        sqlite3_stmt* statement = idle.back();
        idle.pop_back();
        return Query(*this, statement, idle);
    }
    idle.reserve(it->second.count + 1);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(FHandle, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr) != SQLITE_OK)
        FailNow(sql);
    ++it->second.count;
    return Query(*this, statement, idle);
}

std::int64_t Database::LastRow() const
{
    return sqlite3_last_insert_rowid(FHandle);
}

std::int64_t Database::Changes() const
{
    return sqlite3_changes64(FHandle);
}

std::int64_t Database::Scalar(std::string_view sql)
{
    Query query = Prepare(sql);
    return query.Step() ? query.Number(0) : 0;
}

void Database::FailNow(std::string_view doing) const
{
    const int code = FHandle ? sqlite3_extended_errcode(FHandle) : SQLITE_NOMEM;
    const mapi::HRESULT result = ResultOf(code, FHandle ? sqlite3_system_errno(FHandle) : 0);
    WideString text = result == mapi::MAPI_E_NO_ACCESS ? sNoAccess : sReports;
    text += KwFromUtf8(FHandle ? sqlite3_errmsg(FHandle) : sqlite3_errstr(code));
    text.append(u" (").append(KwFromUtf8(doing.substr(0, 60))).append(u")");
    Fail(result, text, static_cast<mapi::ULONG>(code));
}

void Database::FlushCommitWork()
{
    if (FDepth == 0 || !FWork)
        return;
    try {
        FWork->Flush();
    } catch (...) {
        FDoomed = true;
        throw;
    }
}

void Database::CheckVersion()
{
    if (FVersion == 0)
        return;
    try {
        if (Scalar("PRAGMA user_version") > FVersion)
            Fail(mapi::MAPI_E_VERSION, sUpgraded);
    } catch (...) {
        sqlite3_exec(FHandle, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

Transaction::Transaction(Database& database) : FDatabase(database)
{
    if (FDatabase.FRefusals != 0)
        Fail(mapi::MAPI_E_BUSY, sRefused);
    if (FDatabase.FDepth == 0) {
        FDatabase.Prepare("BEGIN IMMEDIATE").Run();
        FDatabase.CheckVersion();
    } else if (FDatabase.FDoomed) {
        Fail(mapi::MAPI_E_CALL_FAILED, sDoomed);
    }
    ++FDatabase.FDepth;
}

Transaction::~Transaction()
{
    if (!FOpen)
        return;
    FDatabase.FDoomed = --FDatabase.FDepth != 0;
    if (FDatabase.FDoomed)
        return;
    if (!sqlite3_get_autocommit(FDatabase.FHandle))
        sqlite3_exec(FDatabase.FHandle, "ROLLBACK", nullptr, nullptr, nullptr);
    if (FDatabase.FWork)
        FDatabase.FWork->Discard();
}

void Transaction::Commit()
{
    if (FDatabase.FDoomed)
        Fail(mapi::MAPI_E_CALL_FAILED, sDoomed);
    const bool outermost = FDatabase.FDepth == 1;
    if (outermost) {
        if (FDatabase.FWork)
            FDatabase.FWork->Flush();
        FDatabase.Prepare("COMMIT").Run();
    }
    --FDatabase.FDepth;
    FOpen = false;
    if (!outermost)
        return;
    if (FDatabase.FWork)
        FDatabase.FWork->Discard();
    Dispatcher::Instance().Wake();
}

Snapshot::Snapshot(Database& database) : FDatabase(database), FOwner(sqlite3_get_autocommit(database.FHandle) != 0)
{
    if (FOwner)
        FDatabase.Prepare("BEGIN").Run();
    else
        FDatabase.FlushCommitWork();
}

Snapshot::~Snapshot()
{
    if (FOwner)
        sqlite3_exec(FDatabase.FHandle, "COMMIT", nullptr, nullptr, nullptr);
}

} // namespace deftmapi::client
