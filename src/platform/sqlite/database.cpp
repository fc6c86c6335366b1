#include "platform/sqlite/database.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "platform/sqlite/errors.h"

namespace iqrx::platform::sqlite {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::microseconds kPollInterval{500};

[[noreturn]] void RaiseFileError(const fs::path& file, int code, const std::string& what) {
    throw DatabaseFailure(code, what + ": " + file.string(), "08001");
}

// What a file is missing for: its directory; empty when that is there.
std::string MissingDirectory(const fs::path& file) {
    const fs::path directory = file.parent_path();
    std::error_code unknown;
    if (directory.empty() || fs::exists(directory, unknown) || unknown) return {};
    return "; there is no directory " + directory.string();
}

// Reasons that the database would describe poorly or find out late.
void CheckFile(const fs::path& file, Database::Access access) {
    std::error_code failure;
    const fs::file_status status = fs::status(file, failure);
    const bool isHidden = failure == std::errc::permission_denied;  // of which opening the file tells
    if (!fs::exists(status) && !(isHidden && access == Database::Access::Read)) {
        const bool mayCreate = access == Database::Access::Create;
        const std::string missing = MissingDirectory(file);
        if (mayCreate && missing.empty()) return;
        const std::string what = mayCreate ? "cannot be created: " : "does not exist: ";
        throw DatabaseFailure(SQLITE_CANTOPEN, "The database file " + what + file.string() + missing, "08001");
    }
    if (fs::is_directory(status))
        RaiseFileError(file, SQLITE_CANTOPEN_ISDIR, "The database file is a directory");
    constexpr auto anyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if (access != Database::Access::Read && (status.permissions() & anyWrite) == fs::perms::none)
        RaiseFileError(file, SQLITE_READONLY, "The database file is read-only");
}

// The library counts its memory under a lock, some seven times a statement, for statistics that nobody here
// reads. It takes the setting before its first use only; afterwards this does nothing.
void LeaveMemoryUncounted() {
    static const int result = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(result);
}

}  // namespace

Database::Database(const fs::path& file, Access access, WaitListener listener)
    : access_(access), lockWait_(std::make_unique<LockWait>(file, std::move(listener))) {
    CheckFile(file, access);
    LeaveMemoryUncounted();
    Open(file);
    sqlite3_busy_handler(Handle(), WaitForLock, lockWait_.get());
    Check(file);
    // Readers and the writer don't wait for each other; a committed group survives a crash of the program.
    if (!IsReadOnly()) Run("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL");
    Run("PRAGMA temp_store=MEMORY");
}

void Database::Open(const fs::path& file) {
    if (IsReadOnly() && Unlocked::IsPossible(file)) unlocked_.emplace(file);
    const int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE |
                      (IsReadOnly() ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
                      (access_ == Access::Create ? SQLITE_OPEN_CREATE : 0) | (unlocked_ ? SQLITE_OPEN_URI : 0);
    sqlite3* handle = nullptr;
    const int code =
        sqlite3_open_v2(unlocked_ ? unlocked_->Uri().c_str() : file.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    if (code == SQLITE_OK) return;
    const int cause = IsReadOnly() && handle ? sqlite3_system_errno(handle) : 0;
    RaiseFileError(file, code,
                   "The database file cannot be opened" +
                       (cause ? " (" + std::generic_category().message(cause) + ")" : std::string()));
}

void Database::RequireUnchanged() const {
    if (unlocked_ && unlocked_->HasChanged())
        throw DatabaseFailure(SQLITE_BUSY_SNAPSHOT, "The database changed while it was read", "HYT00");
}

void Database::Check(const fs::path& file) {
    if (!IsReadOnly() && sqlite3_db_readonly(Handle(), "main") == 1)
        RaiseFileError(file, SQLITE_READONLY, "The database file is read-only");
    const int code = sqlite3_exec(Handle(), "PRAGMA schema_version", nullptr, nullptr, nullptr);
    if (code == SQLITE_NOTADB) RaiseFileError(file, code, "The file is not a database");
    if (code != SQLITE_OK) RaiseSqliteError(Handle(), code);
}

void Database::Run(const std::string& sql) {
    const int code = sqlite3_exec(Handle(), sql.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) RaiseSqliteError(Handle(), code);
}

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

Transaction::Transaction(Database& database, const char* begin, const char* keep, const char* undo)
    : database_(database), keep_(keep), undo_(undo) {
    database_.Run(begin);
}

void Transaction::Keep() {
    database_.Run(keep_);
    isKept_ = true;
}

Transaction::~Transaction() {
    if (isKept_ || !database_.InTransaction()) return;
    try {
        database_.Run(undo_);
    } catch (const RuntimeError&) {
        // The database ends the transaction when it is closed.
    }
}

}  // namespace iqrx::platform::sqlite
