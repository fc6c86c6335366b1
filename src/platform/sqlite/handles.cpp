#include "platform/sqlite/handles.h"

#include <sqlite3.h>

#include <chrono>
#include <limits>
#include <thread>

#include "platform/connection_string.h"
#include "platform/conversions.h"
#include "platform/date.h"
#include "platform/sqlite/errors.h"

namespace iqrx::platform::sqlite {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::microseconds kPollInterval{500};

[[noreturn]] void RaiseFileError(const fs::path& file, int code, const std::string& what) {
    throw DatabaseFailure(code, what + ": " + file.string(), "08001");
}

// Reasons that the database would describe poorly or find out late.
void CheckFile(const fs::path& file, bool mayCreate) {
    std::error_code failure;
    const fs::file_status status = fs::status(file, failure);
    if (!fs::exists(status)) {
        if (!mayCreate) RaiseFileError(file, SQLITE_CANTOPEN, "The database file does not exist");
        return;
    }
    if (fs::is_directory(status))
        RaiseFileError(file, SQLITE_CANTOPEN_ISDIR, "The database file is a directory");
    constexpr auto anyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if ((status.permissions() & anyWrite) == fs::perms::none)
        RaiseFileError(file, SQLITE_READONLY, "The database file is read-only");
}

ColumnType TypeOf(const char* declared) {
    if (!declared) return ColumnType::Stored;
    std::string_view name(declared);
    name = name.substr(0, name.find('('));
    for (std::string_view date : {"DATETIME", "DATE", "TIMESTAMP", "SMALLDATETIME"})
        if (EqualIgnoringCase(name, date)) return ColumnType::Date;
    for (std::string_view real : {"REAL", "FLOAT", "DOUBLE", "NUMERIC", "DECIMAL", "NUMBER"})
        if (EqualIgnoringCase(name, real)) return ColumnType::Real;
    return ColumnType::Stored;
}

Value WholeNumber(std::int64_t number) {
    if (number < std::numeric_limits<Long>::min() || number > std::numeric_limits<Long>::max())
        return static_cast<Double>(number);
    return static_cast<Long>(number);
}

// What is no date stays the text that it is; the reader that needs a date then says what is wrong.
Value DateOrText(std::string_view text) {
    if (text.empty()) return *ParseIsoDate("1900-01-01");  // as the server reads it
    if (const auto date = ParseIsoDate(text)) return *date;
    return std::string(text);
}

// The library counts its memory under a lock, some seven times a statement, for statistics that nobody here
// reads. It takes the setting before its first use alone; afterwards this does nothing.
void LeaveMemoryUncounted() {
    static const int result = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(result);
}

}  // namespace

Database::Database(const fs::path& file, IfMissing ifMissing, WaitNotice notice)
    : lockWait_(std::make_unique<LockWait>(file, std::move(notice))) {
    const bool mayCreate = ifMissing == IfMissing::Create;
    CheckFile(file, mayCreate);
    LeaveMemoryUncounted();
    sqlite3* handle = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                      (mayCreate ? SQLITE_OPEN_CREATE : 0);
    const int code = sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK) RaiseFileError(file, code, "The database file cannot be opened");
    sqlite3_busy_handler(handle, WaitForLock, lockWait_.get());
    Check(file);
}

void Database::Check(const fs::path& file) {
    if (sqlite3_db_readonly(Handle(), "main") == 1)
        RaiseFileError(file, SQLITE_READONLY, "The database file is read-only");
    const int code = sqlite3_exec(Handle(), "PRAGMA schema_version", nullptr, nullptr, nullptr);
    if (code == SQLITE_NOTADB) RaiseFileError(file, code, "The file is not a database");
    if (code != SQLITE_OK) RaiseSqliteError(Handle(), code);
    // Readers and the writer don't wait for each other; a committed group survives a crash of the program.
    Run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; PRAGMA temp_store=MEMORY;");
}

void Database::Run(const std::string& sql) {
    const int code = sqlite3_exec(Handle(), sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) RaiseSqliteError(Handle(), code);
}

void Database::SetLockWait(int seconds) { lockWait_->SetLimit(std::chrono::seconds(seconds)); }

// SQLite's own handler soon looks every tenth of a second only, and misses the room that writers leave.
int Database::WaitForLock(void* lockWait, int previousCalls) {
    auto& wait = *static_cast<LockWait*>(lockWait);
    const auto now = std::chrono::steady_clock::now();
    if (previousCalls == 0) wait.Begin(now);
    if (!wait.GoesOn(now)) return 0;
    std::this_thread::sleep_for(kPollInterval);
    return 1;
}

bool Database::InTransaction() const { return sqlite3_get_autocommit(Handle()) == 0; }

std::int64_t Database::Changes() const { return sqlite3_changes64(Handle()); }

void Database::Close::operator()(sqlite3* handle) const { sqlite3_close_v2(handle); }

Statement::Statement(Database& database, std::string_view sql) {
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v3(database.Handle(), sql.data(), static_cast<int>(sql.size()),
                                        SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
    if (code != SQLITE_OK) RaiseSqliteError(database.Handle(), code);
    handle_.reset(handle);
}

void Statement::Finalize::operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }

void Statement::Check(int code) const {
    if (code != SQLITE_OK) RaiseSqliteError(sqlite3_db_handle(handle_.get()), code);
}

void Statement::Bind(int place, const Literal& literal, bool copy) {
    sqlite3_stmt* handle = handle_.get();
    switch (literal.kind) {
        case LiteralKind::Null:
            return Check(sqlite3_bind_null(handle, place));
        case LiteralKind::Whole:
            return Check(sqlite3_bind_int64(handle, place, literal.whole));
        case LiteralKind::Real:
            return Check(sqlite3_bind_double(handle, place, literal.real));
        case LiteralKind::Text:
            return Check(sqlite3_bind_text64(handle, place, literal.text.data(), literal.text.size(),
                                             copy ? SQLITE_TRANSIENT : SQLITE_STATIC, SQLITE_UTF8));
    }
}

void Statement::Bind(int place, const Value& value) {
    sqlite3_stmt* handle = handle_.get();
    if (value.Is<Null>() || value.Is<Empty>()) return Check(sqlite3_bind_null(handle, place));
    if (value.Is<Double>() || value.Is<Single>())
        return Check(sqlite3_bind_double(handle, place, ToDouble(value)));
    if (value.Is<std::string>() || value.Is<Date>()) {
        const std::string text = value.Is<Date>() ? IsoDateTime(value.As<Date>()) : std::string();
        const std::string& bound = value.Is<Date>() ? text : value.As<std::string>();
        return Check(
            sqlite3_bind_text64(handle, place, bound.data(), bound.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    }
    Check(sqlite3_bind_int64(handle, place, ToLong(value)));
}

void Statement::BindAll(const Literals& literals, std::size_t first, std::size_t count, bool copy) {
    const Literal* literal = literals.Items().data() + first;
    for (std::size_t i = 0; i < count; ++i) Bind(static_cast<int>(i) + 1, literal[i], copy);
}

bool Statement::Step() {
    const int code = sqlite3_step(handle_.get());
    if (code == SQLITE_ROW) return true;
    if (code == SQLITE_DONE) return false;
    try {
        RaiseSqliteError(sqlite3_db_handle(handle_.get()), code);
    } catch (...) {
        Reset();
        throw;
    }
}

void Statement::Reset() { sqlite3_reset(handle_.get()); }

std::size_t Statement::ColumnCount() const {
    return static_cast<std::size_t>(sqlite3_column_count(handle_.get()));
}

std::vector<Column> Statement::Columns() const {
    std::vector<Column> columns;
    columns.reserve(ColumnCount());
    for (int i = 0; i < static_cast<int>(ColumnCount()); ++i)
        columns.push_back(
            {sqlite3_column_name(handle_.get(), i), TypeOf(sqlite3_column_decltype(handle_.get(), i))});
    return columns;
}

std::int64_t Statement::Whole(int column) const { return sqlite3_column_int64(handle_.get(), column); }

Value Statement::Field(int column, ColumnType type) const {
    sqlite3_stmt* handle = handle_.get();
    switch (sqlite3_column_type(handle, column)) {
        case SQLITE_NULL:
            return Null{};
        case SQLITE_FLOAT:
            return sqlite3_column_double(handle, column);
        case SQLITE_INTEGER:
            if (type == ColumnType::Real) return sqlite3_column_double(handle, column);
            return WholeNumber(sqlite3_column_int64(handle, column));
        default:
            break;
    }
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(handle, column));
    const std::string_view text(bytes ? bytes : "",
                                static_cast<std::size_t>(sqlite3_column_bytes(handle, column)));
    return type == ColumnType::Date ? DateOrText(text) : Value(std::string(text));
}

}  // namespace iqrx::platform::sqlite
