// Owners of the database's handles; each releases its own in the destructor.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sqlite/literals.h"
#include "platform/sqlite/lock_wait.h"
#include "platform/value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace iqrx::platform::sqlite {

// How a column's values come back, from its declared type; Stored: as what they are stored.
enum class ColumnType { Stored, Date, Real };

struct Column {
    std::string name;
    ColumnType type;
};

class Database {
public:
    // Opens the file for reading and writing; it must exist unless it may be created. Waits for other
    // processes' locks, looking often, without a limit unless one is set. One thread at a time may use the
    // handle. Raises, naming the file, when it can't be opened, written or is no database.
    enum class IfMissing { Fail, Create };
    Database(const std::filesystem::path& file, IfMissing ifMissing, WaitNotice notice = {});

    sqlite3* Handle() const { return handle_.get(); }
    void Run(const std::string& sql);  // any number of statements
    void SetLockWait(int seconds);     // 0: no limit
    const WaitNotice& Notice() const { return lockWait_->Notice(); }
    bool InTransaction() const;
    std::int64_t Changes() const;  // of the last statement that changed rows

private:
    struct Close {
        void operator()(sqlite3* handle) const;
    };
    void Check(const std::filesystem::path& file);

    static int WaitForLock(void* lockWait, int previousCalls);

    std::unique_ptr<LockWait> lockWait_;
    std::unique_ptr<sqlite3, Close> handle_;
};

class Statement {
public:
    Statement() = default;
    Statement(Database& database, std::string_view sql);

    // Binding, places from 1. The statement must be reset; texts are not copied unless said, and must stay
    // until it is reset.
    void Bind(int place, const Literal& literal, bool copy = false);
    void Bind(int place, const Value& value);
    void BindAll(const Literals& literals, std::size_t first, std::size_t count, bool copy = false);

    bool Step();  // true: a row is there; false: done. Raises, and then the statement is reset.
    void Reset();

    std::vector<Column> Columns() const;
    std::size_t ColumnCount() const;
    std::int64_t Whole(int column) const;
    Value Field(int column, ColumnType type) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* handle) const;
    };
    void Check(int code) const;

    std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

// Resets a statement at the end of the scope, so that it holds no lock.
class ResetAtEnd {
public:
    explicit ResetAtEnd(Statement& statement) : statement_(statement) {}
    ~ResetAtEnd() { statement_.Reset(); }
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;

private:
    Statement& statement_;
};

}  // namespace iqrx::platform::sqlite
