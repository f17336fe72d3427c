#include "client/store/Database.hpp"

#include "client/entry/Guard.hpp"
#include "client/notify/Dispatcher.hpp"

#include <sqlite3.h>

namespace deftmapi::client
{
namespace
{

// How long a writer waits for another process before MAPI_E_TIMEOUT.
constexpr int BusyMilliseconds = 20000;

mapi::HRESULT ResultOf(int code)
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
    case SQLITE_CANTOPEN:
        return mapi::MAPI_E_DISK_ERROR;
    case SQLITE_TOOBIG:
        return mapi::MAPI_E_TOO_BIG;
    case SQLITE_CONSTRAINT:
        return mapi::MAPI_E_COLLISION;
    default:
        return mapi::MAPI_E_CALL_FAILED;
    }
}

} // namespace

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
    sqlite3_busy_timeout(FHandle, BusyMilliseconds);
}

Database::~Database()
{
    for (auto& [sql, statements] : FIdle) {
        for (sqlite3_stmt* statement : statements)
            sqlite3_finalize(statement);
    }
    sqlite3_close_v2(FHandle);
}

void Database::Execute(const std::string& sql)
{
    if (sqlite3_exec(FHandle, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
        FailNow(sql);
}

Query Database::Prepare(std::string_view sql)
{
    const auto it = FIdle.try_emplace(std::string(sql)).first;
    auto& idle = it->second;
    if (!idle.empty()) {
        sqlite3_stmt* statement = idle.back();
        idle.pop_back();
        return Query(*this, statement, idle);
    }
    idle.reserve(idle.capacity() + 1);
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(FHandle, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement,
                           nullptr) != SQLITE_OK)
        FailNow(sql);
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
    WideString text = u"The database reports: ";
    text += KwFromUtf8(FHandle ? sqlite3_errmsg(FHandle) : sqlite3_errstr(code));
    text.append(u" (").append(KwFromUtf8(doing.substr(0, 60))).append(u")");
    Fail(ResultOf(code), text, static_cast<mapi::ULONG>(code));
}

Transaction::Transaction(Database& database) : FDatabase(database)
{
    if (FDatabase.FDepth == 0)
        FDatabase.Prepare("BEGIN IMMEDIATE").Run();
    ++FDatabase.FDepth;
}

Transaction::~Transaction()
{
    if (!FOpen)
        return;
    // The outermost one takes everything back: a failure always leaves all levels.
    if (--FDatabase.FDepth == 0 && !sqlite3_get_autocommit(FDatabase.FHandle))
        sqlite3_exec(FDatabase.FHandle, "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::Commit()
{
    const bool outermost = FDatabase.FDepth == 1;
    if (outermost)
        FDatabase.Prepare("COMMIT").Run();
    --FDatabase.FDepth;
    FOpen = false;
    if (outermost)
        Dispatcher::Instance().Wake();
}

Snapshot::Snapshot(Database& database) : FDatabase(database), FOwner(sqlite3_get_autocommit(database.FHandle) != 0)
{
    if (FOwner)
        FDatabase.Prepare("BEGIN").Run();
}

Snapshot::~Snapshot()
{
    if (FOwner)
        sqlite3_exec(FDatabase.FHandle, "COMMIT", nullptr, nullptr, nullptr);
}

} // namespace deftmapi::client
