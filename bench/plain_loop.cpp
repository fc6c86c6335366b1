#include "plain_loop.h"

#include <sqlite3.h>

#include <numeric>
#include <stdexcept>

namespace iqrx::bench {

namespace {

class Database {
public:
    explicit Database(const std::filesystem::path& file) {
        if (sqlite3_open(file.c_str(), &handle) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(handle));
        Execute("PRAGMA journal_mode=WAL");
        Execute("PRAGMA synchronous=NORMAL");
    }
    ~Database() { sqlite3_close(handle); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void Execute(const char* sql) const {
        if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(handle));
    }

    sqlite3* handle = nullptr;
};

class Prepared {
public:
    Prepared(const Database& database, const PlainStatement& statement)
        : database_(database), cells_(statement.cells) {
        if (sqlite3_prepare_v2(database.handle, statement.sql.c_str(), -1, &handle_, nullptr) != SQLITE_OK)
            throw std::runtime_error(sqlite3_errmsg(database.handle));
    }
    ~Prepared() { sqlite3_finalize(handle_); }
    Prepared(const Prepared&) = delete;
    Prepared& operator=(const Prepared&) = delete;

    int Run(const Row& row) {
        for (std::size_t i = 0; i < cells_.size(); ++i) {
            const std::string& cell = row[cells_[i]];
            sqlite3_bind_text(handle_, static_cast<int>(i) + 1, cell.data(), static_cast<int>(cell.size()),
                              SQLITE_STATIC);
        }
        if (sqlite3_step(handle_) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(database_.handle));
        sqlite3_reset(handle_);
        return sqlite3_changes(database_.handle);
    }

private:
    const Database& database_;
    std::vector<std::size_t> cells_;
    sqlite3_stmt* handle_ = nullptr;
};

}  // namespace

Stopwatch::Stopwatch() : wall_(std::chrono::steady_clock::now()), cpu_(std::clock()) {}

Seconds Stopwatch::Elapsed() const {
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - wall_).count(),
            static_cast<double>(std::clock() - cpu_) / CLOCKS_PER_SEC};
}

Seconds RunPlainLoop(const std::filesystem::path& file, const std::vector<Row>& rows,
                     const PlainStatement& first, const PlainStatement& otherwise) {
    const Database database(file);
    Prepared firstStatement(database, first), otherStatement(database, otherwise);
    const Stopwatch watch;
    database.Execute("BEGIN");
    for (const Row& row : rows)
        if (firstStatement.Run(row) == 0) otherStatement.Run(row);
    database.Execute("COMMIT");
    return watch.Elapsed();
}

PlainStatement PlainUpdate(const std::string& table, const std::vector<std::string>& columns, std::size_t keys) {
    PlainStatement statement{"UPDATE " + table + " SET ", {}};
    for (std::size_t i = keys; i < columns.size(); ++i) {
        statement.sql += columns[i] + " = ?, ";
        statement.cells.push_back(i);
    }
    statement.sql += "upd_flag = 0 WHERE ";
    for (std::size_t i = 0; i < keys; ++i) {
        statement.sql += (i > 0 ? " AND " : "") + columns[i] + " = ?";
        statement.cells.push_back(i);
    }
    return statement;
}

PlainStatement PlainInsert(const std::string& table, const std::vector<std::string>& columns) {
    PlainStatement statement{"INSERT INTO " + table + " (", std::vector<std::size_t>(columns.size())};
    std::iota(statement.cells.begin(), statement.cells.end(), 0);
    std::string values;
    for (const std::string& column : columns) {
        statement.sql += column + ", ";
        values += "?, ";
    }
    statement.sql += "upd_flag) VALUES (" + values + "0)";
    return statement;
}

}  // namespace iqrx::bench
