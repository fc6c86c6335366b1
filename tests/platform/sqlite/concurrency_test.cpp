// Other connections and processes at work on the same file.
#include <sqlite3.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 60s;                 // until a test that hangs fails
constexpr int kDefaultWaitMilliseconds = 5000;  // as many programs leave it

class Concurrency : public DatabaseTest {
protected:
    Concurrency() {
        Create(
            "CREATE TABLE a(k INTEGER PRIMARY KEY, v TEXT); CREATE TABLE b(k INTEGER PRIMARY KEY, v TEXT);"
            "CREATE TABLE other(x)");
    }

    static void Upsert(Connection& connection, const std::string& table, int key) {
        const std::string number = std::to_string(key);
        if (connection.Execute("UPDATE " + table + " SET v = N'v" + number + "' WHERE k = " + number) == 0)
            connection.Execute("INSERT INTO " + table + " (k,v) VALUES(" + number + ",N'v')");
    }

    std::int64_t Count(const std::string& table) { return Select("SELECT k FROM " + table)->RecordCount(); }
};

// Runs in a process of its own: writes single rows as a program does that knows nothing of ours. 0: no failure.
int WriteAsAForeignProgram(const std::string& file, int rows) {
    sqlite3* database = nullptr;
    int failures = sqlite3_open(file.c_str(), &database) == SQLITE_OK ? 0 : 1;
    sqlite3_busy_timeout(database, kDefaultWaitMilliseconds);
    for (int i = 0; i < rows; ++i)
        if (sqlite3_exec(database, "INSERT INTO other VALUES(1)", nullptr, nullptr, nullptr) != SQLITE_OK)
            ++failures;
    sqlite3_close(database);
    return failures;
}

TEST_F(Concurrency, AWaitForAnotherProgramEndsWhenItsListenerSaysSo) {
    sqlite3* other = nullptr;
    sqlite3_open(file.c_str(), &other);
    sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    std::vector<std::int64_t> heard;
    const auto own =
        CreateSqliteConnection({}, [&](std::chrono::seconds waited, const std::filesystem::path& of) {
            EXPECT_EQ(of, file);
            heard.push_back(waited.count());
            return waited < 4s;
        });
    own->Open("Provider=SQLite;Data Source=" + file.string());

    EXPECT_THROW(Upsert(*own, "a", 1), RuntimeError);

    EXPECT_EQ(heard, (std::vector<std::int64_t>{3, 4}));
    EXPECT_EQ(own->LastErrors().at(0).description, "database is locked: " + file.string());
    sqlite3_close(other);
    Upsert(*own, "a", 1);
}

TEST_F(Concurrency, AForeignProgramWritesWhileTwoLoadsRun) {
    constexpr int kRows = 3;
    const pid_t foreign = fork();
    if (foreign == 0) {
        std::this_thread::sleep_for(1500ms);  // until the loads are under way
        _exit(WriteAsAForeignProgram(file.string(), kRows));
    }
    std::atomic<bool> over = false;
    auto load = [&](const std::string& table) {
        auto own = Connect();
        for (int i = 0; !over; ++i) Upsert(*own, table, i % 5000);
    };
    std::thread first(load, "a"), second(load, "b");
    int status = -1;
    waitpid(foreign, &status, 0);
    over = true;
    first.join();
    second.join();

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "failed writes";
    EXPECT_EQ(Select("SELECT x FROM other")->RecordCount(), kRows);
}

TEST_F(Concurrency, TwoLoadsAtOnceWriteAllTheirRows) {
    auto load = [&](const std::string& table) {
        auto own = Connect();
        for (int i = 0; i < 30'000; ++i) Upsert(*own, table, i);
        own->Close();
    };
    std::thread first(load, "a"), second(load, "b");
    first.join();
    second.join();
    EXPECT_EQ(Count("a"), 30'000);
    EXPECT_EQ(Count("b"), 30'000);
}

TEST_F(Concurrency, WhatWasWrittenIsCommittedThoughNoFurtherStatementComes) {
    Execute("INSERT INTO a (k,v) VALUES(1,N'x')");
    auto other = Connect();
    const auto giveUp = std::chrono::steady_clock::now() + kPatience;
    while (Select(*other, "SELECT * FROM a")->Eof() && std::chrono::steady_clock::now() < giveUp)
        std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(Select(*other, "SELECT * FROM a")->Eof());
}

TEST_F(Concurrency, AReaderLeavesNoLockBehind) {
    auto rows = Select("SELECT * FROM a");
    EXPECT_EQ(WriteAsAForeignProgram(file.string(), 1), 0);
    sqlite3* database = nullptr;
    sqlite3_open(file.c_str(), &database);
    EXPECT_EQ(sqlite3_exec(database, "PRAGMA wal_checkpoint(TRUNCATE)", nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(database);
}

TEST_F(Concurrency, AStatementWaitsNoLongerThanItsTimeOut) {
    sqlite3* blocker = nullptr;
    sqlite3_open(file.c_str(), &blocker);
    sqlite3_exec(blocker, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    Db().SetCommandTimeout(1);
    EXPECT_EQ(ErrorOf("INSERT INTO a (k,v) VALUES(1,N'x')"), "database is locked: " + file.string());
    EXPECT_EQ(Db().LastErrors().at(0).sqlState, "HYT00");
    sqlite3_exec(blocker, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(blocker);
    EXPECT_EQ(Execute("INSERT INTO a (k,v) VALUES(1,N'x')"), 1);
}

TEST_F(Concurrency, AStatementWithoutATimeOutOutlastsAnyProgramThatHoldsTheFile) {
    constexpr auto kLongerThanOtherProgramsWait = 7s;
    sqlite3* holder = nullptr;
    sqlite3_open(file.c_str(), &holder);
    sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    Db().SetCommandTimeout(0);
    std::thread release([&] {
        std::this_thread::sleep_for(kLongerThanOtherProgramsWait);
        sqlite3_exec(holder, "COMMIT", nullptr, nullptr, nullptr);
    });
    EXPECT_EQ(Execute("INSERT INTO a (k,v) VALUES(1,N'x')"), 1);
    release.join();
    sqlite3_close(holder);
}

}  // namespace
}  // namespace iqrx::platform::sqlite
