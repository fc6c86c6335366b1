// An open database file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/sqlite/lock_wait.h"
#include "platform/sqlite/unlocked.h"

struct sqlite3;

namespace iqrx::platform::sqlite {

class Database {
public:
    enum class Access { Write, Create, Read };
    // Opens the file, which must exist unless it may be created. Waits for other processes' locks, looking
    // often, without a limit unless one is set. One thread at a time may use the handle. Raises, naming the
    // file, when it can't be opened, can't be written where that is wanted, or is not a database.
    Database(const std::filesystem::path& file, Access access, WaitListener listener = {});

    bool IsReadOnly() const { return access_ == Access::Read; }
    // Raises when the file was read without locks, which the header of CreateSqliteConnection tells of, and
    // changed since it was opened.
    void RequireUnchanged() const;

    sqlite3* Handle() const { return handle_.get(); }
    void Run(const std::string& sql);  // any number of statements
    void SetLockWait(int seconds) { lockWait_->SetLimit(std::chrono::seconds(seconds)); }  // 0: no limit
    const WaitListener& Listener() const { return lockWait_->Listener(); }
    bool InTransaction() const;
    std::int64_t Changes() const;  // of the last statement that changed rows

private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    void Open(const std::filesystem::path& file);
    void Check(const std::filesystem::path& file);

    static int WaitForLock(void* lockWait, int previousCalls);

    const Access access_;
    std::optional<Unlocked> unlocked_;  // of a file that is read without locks
    std::unique_ptr<LockWait> lockWait_;
    std::unique_ptr<sqlite3, Close> handle_;
};

// Statements that stand or fall together: undone at the end of the scope unless they were kept.
class Transaction {
public:
    explicit Transaction(Database& database)
        : Transaction(database, "BEGIN IMMEDIATE", "COMMIT", "ROLLBACK") {}
    // Inside of another one.
    static Transaction Nested(Database& database) {
        return {database, "SAVEPOINT nested", "RELEASE nested", "ROLLBACK TO nested; RELEASE nested"};
    }
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Keep();

private:
    Transaction(Database& database, const char* begin, const char* keep, const char* undo);

    Database& database_;
    const char* const keep_;
    const char* const undo_;
    bool isKept_ = false;
};

}  // namespace iqrx::platform::sqlite
