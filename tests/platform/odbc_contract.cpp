// The database port's contract over ODBC: with the SQLite driver, and with a PostgreSQL server.
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "platform/database_contract.h"
#include "platform/odbc/odbc_database.h"
#include "support/postgres_server.h"

// The PostgreSQL driver forgets memory when its connection breaks.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:psqlodbcw.so\n"; }

namespace iqrx::testing {
namespace {

// Keys of the connection string that every adapter here is tried with.
constexpr const char* kEachByItself = "";
constexpr const char* kGrouped = ";Commit Interval=20";
constexpr const char* kManyATrip = ";Rows per Trip=3";              // of which these servers take one each
constexpr const char* kGroupedForLong = ";Commit Interval=600000";  // until something else ends the group
// The SQLite driver lets two that want to write after they read wait for each other until its time is over.
constexpr const char* kShortWait = ";Timeout=30";
constexpr const char* kGroupedShortWait = ";Timeout=30;Commit Interval=20";

class OdbcSqlite : public Adapter {
public:
    explicit OdbcSqlite(const char* keys) : keys_(keys) { std::filesystem::remove(file_); }
    ~OdbcSqlite() override { std::filesystem::remove(file_); }

    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return platform::CreateOdbcConnection({});
    }
    std::string ConnectionString() override {
        return "Driver=SQLite3;SyncPragma=OFF;Database=" + file_.string() + keys_;
    }
    std::string UnusableConnectionString() override { return "Driver=No Such Driver;Database=x"; }

private:
    std::string keys_;
    std::filesystem::path file_ =
        std::filesystem::temp_directory_path() / ("database_contract." + std::to_string(getpid()) + ".db");
    Quirks quirks_;
};

class OdbcPostgres : public Adapter {
public:
    explicit OdbcPostgres(const char* keys) : keys_(keys) {
        if (!Server().Running()) Server().Start();
        auto connection = CreateConnection();
        connection->Open(ConnectionString());
        connection->Execute("DROP SCHEMA IF EXISTS public CASCADE");
        connection->Execute("CREATE SCHEMA public");
    }

    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return platform::CreateOdbcConnection({});
    }
    std::string ConnectionString() override {
        return "Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=" + std::to_string(Server().Port()) +
               ";Database=postgres;Uid=postgres;CommLog=0" + keys_;
    }
    std::string UnusableConnectionString() override {
        return "Driver=PostgreSQL Unicode;Server=127.0.0.1;Port=1;Database=postgres;Uid=postgres;CommLog=0";
    }
    void StopServer() override { Server().Stop(); }

private:
    // One for all tests, since making one takes longer than a test.
    static PostgresServer& Server() {
        static PostgresServer server;
        return server;
    }

    static std::string Block(const std::string& table, int id) {
        const std::string key = std::to_string(id);
        return "UPDATE " + table + " SET name = 'new' WHERE id = " + key + ";\r\nINSERT INTO " + table +
               " (id, name) SELECT " + key + ", 'new' WHERE NOT EXISTS (SELECT 1 FROM " + table +
               " WHERE id = " + key + ");\r\n";
    }

    std::string keys_;
    // The head makes it a batch by its first word, as those for SQL Server are.
    Quirks quirks_{
        .momentType = "TIMESTAMP", .batchHead = "DECLARE unread CURSOR FOR SELECT 1;\r\n", .block = Block};
};

AdapterMaker Sqlite(const char* name, const char* keys) {
    return {name, [keys] { return std::make_unique<OdbcSqlite>(keys); }};
}
AdapterMaker Postgres(const char* name, const char* keys) {
    return {name, [keys] { return std::make_unique<OdbcPostgres>(keys); }};
}

using ::testing::Values;

const auto kSqlite = Values(Sqlite("EachByItself", kEachByItself), Sqlite("Grouped", kGrouped));
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, RecordsetContract, kSqlite, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, DatabaseContract, kSqlite, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, AnswersContract,
                         Values(Sqlite("EachByItself", kEachByItself), Sqlite("Grouped", kGrouped),
                                Sqlite("ManyATrip", kManyATrip)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, NoBatchContract, kSqlite, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, AnyNameContract, kSqlite, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, FrameContract, kSqlite, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, LockContract,
                         Values(Sqlite("EachByItself", kShortWait), Sqlite("Grouped", kGroupedShortWait)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, UnitContract, Values(Sqlite("Grouped", kGrouped)), NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, NoUnitContract, Values(Sqlite("EachByItself", kEachByItself)), NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcSqlite, NoGroupContract, Values(Sqlite("EachByItself", kEachByItself)), NameOf);

const auto kPostgres = Values(Postgres("EachByItself", kEachByItself), Postgres("Grouped", kGrouped));
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, RecordsetContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, DatabaseContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, AnswersContract,
                         Values(Postgres("EachByItself", kEachByItself), Postgres("Grouped", kGrouped),
                                Postgres("ManyATrip", kManyATrip)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, BatchContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, OneNameContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, FrameContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, LockContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, UnitContract, Values(Postgres("Grouped", kGrouped)), NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, NoUnitContract, Values(Postgres("EachByItself", kEachByItself)), NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, NoGroupContract, Values(Postgres("EachByItself", kEachByItself)),
                         NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, LateFailureContract,
                         Values(Postgres("GroupedForLong", kGroupedForLong)), NameOf);
INSTANTIATE_TEST_SUITE_P(OdbcPostgres, ServerContract, kPostgres, NameOf);

}  // namespace
}  // namespace iqrx::testing
