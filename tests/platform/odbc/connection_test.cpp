// What the ODBC adapter does beyond the port's contract, with the SQLite driver.
#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <stdexcept>

#include "platform/error.h"
#include "platform/odbc/odbc_database.h"

namespace iqrx::platform::odbc {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

class OdbcConnections : public ::testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove(file);
        Connect("")->Execute("CREATE TABLE items (id INTEGER, name VARCHAR(40))");
        Connect("")->Execute("CREATE TABLE tstables (id INTEGER)");
    }
    void TearDown() override { std::filesystem::remove(file); }

    std::unique_ptr<Connection> Connect(const std::string& keys) const {
        auto connection = CreateOdbcConnection({"tstables"});
        connection->Open("Driver=SQLite3;SyncPragma=OFF;Database=" + file.string() + keys);
        return connection;
    }
    // What another connection sees.
    std::int32_t Count(const std::string& table) const {
        const auto connection = Connect("");
        const auto rows = connection->CreateRecordset();
        rows->Open("SELECT * FROM " + table, CursorType::ForwardOnly, LockType::ReadOnly);
        return rows->RecordCount();
    }
    static std::string ErrorOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const RuntimeError& error) {
            return error.description;
        }
        return {};
    }

    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("odbc_connections." + std::to_string(getpid()) + ".db");
    // Long enough for a group to stay open until something else ends it.
    const std::string grouped = ";Commit Interval=600000";
};

TEST_F(OdbcConnections, CommitEachStatementByItselfUnlessToldOtherwise) {
    const auto connection = Connect("");

    connection->Execute("INSERT INTO items (id) VALUES (1)");

    EXPECT_EQ(Count("items"), 1);
}

TEST_F(OdbcConnections, HoldAGroupBackFromOthersUntilTheyClose) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");
    connection->Execute("INSERT INTO items (id) VALUES (2)");
    EXPECT_EQ(Count("items"), 0);

    connection->Close();

    EXPECT_EQ(Count("items"), 2);
}

TEST_F(OdbcConnections, CommitWhenTheGroupsTimeIsOver) {
    const auto connection = Connect(";Commit Interval=20");

    connection->Execute("INSERT INTO items (id) VALUES (1)");

    while (Count("items") == 0) usleep(1000);  // with no further call of this connection
    EXPECT_EQ(connection->Execute("INSERT INTO items (id) VALUES (2)"), 1);
}

TEST_F(OdbcConnections, CommitBeforeAControlTablesStatementIsDone) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");

    connection->Execute("INSERT INTO tstables (id) VALUES (1)");

    EXPECT_EQ(Count("items"), 1);
    EXPECT_EQ(Count("tstables"), 1);
}

TEST_F(OdbcConnections, KnowAControlTableByTheLastPartOfItsNameInAnyCase) {
    const auto connection = Connect(grouped);
    int inserted = 0;
    for (const char* name : {"TSTABLES", "main.tstables", "[tstables]", "\"main\".\"TsTables\""}) {
        connection->Execute(std::string("INSERT INTO ") + name + " (id) VALUES (1)");
        EXPECT_EQ(Count("tstables"), ++inserted) << name;
    }
}

TEST_F(OdbcConnections, TakeNoOtherTableForAControlTable) {
    const auto connection = Connect(grouped);
    connection->Execute("CREATE TABLE mytstables (id INTEGER)");
    connection->Execute("CREATE TABLE \"my.tstables\" (id INTEGER)");

    connection->Execute("INSERT INTO mytstables (id) VALUES (1)");
    connection->Execute("INSERT INTO \"my.tstables\" (id) VALUES (1)");

    EXPECT_EQ(Count("mytstables"), 0);
    EXPECT_EQ(Count("\"my.tstables\""), 0);
}

TEST_F(OdbcConnections, CommitBeforeAnErrorIsRaised) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");

    EXPECT_THAT(ErrorOf([&] { connection->Execute("INSERT INTO nowhere (id) VALUES (1)"); }),
                HasSubstr("nowhere"));

    EXPECT_EQ(Count("items"), 1);
    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("nowhere"));
}

TEST_F(OdbcConnections, LoseTheGroupWithAUnitThatFailsAndTellItOnce) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");

    EXPECT_THAT(ErrorOf([&] {
                    connection->RunAsUnit([&] {
                        connection->Execute("INSERT INTO items (id) VALUES (2)");
                        connection->Execute("INSERT INTO nowhere (id) VALUES (1)");
                    });
                }),
                AllOf(HasSubstr("nowhere"), Not(HasSubstr("lost"))));

    EXPECT_EQ(Count("items"), 0);
    EXPECT_THROW(connection->Execute("INSERT INTO items (id) VALUES (3)"), WritesLost);
    EXPECT_THAT(ErrorOf([&] { connection->Commit(); }), AllOf(HasSubstr("nowhere"), HasSubstr("lost")));
    EXPECT_NO_THROW(connection->Commit());
    EXPECT_EQ(connection->Execute("INSERT INTO items (id) VALUES (3)"), 1);
}

TEST_F(OdbcConnections, LoseNothingWithAUnitThatHasAGroupOfItsOwn) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");
    connection->Commit();

    EXPECT_NE(ErrorOf([&] {
                  connection->RunAsUnit([&] {
                      connection->Execute("INSERT INTO items (id) VALUES (2)");
                      connection->Execute("INSERT INTO nowhere (id) VALUES (1)");
                  });
              }),
              "");

    EXPECT_EQ(Count("items"), 1);
    EXPECT_NO_THROW(connection->Commit());
}

TEST_F(OdbcConnections, LoseNothingWithAUnitThatFailsBeforeItWrites) {
    const auto connection = Connect(grouped);
    connection->Execute("INSERT INTO items (id) VALUES (1)");

    EXPECT_THROW(connection->RunAsUnit([] { throw std::logic_error("nothing to do with the database"); }),
                 std::logic_error);
    connection->Commit();

    EXPECT_EQ(Count("items"), 1);
}

TEST_F(OdbcConnections, HoldAUnitTogetherThoughItWritesToAControlTable) {
    const auto connection = Connect(grouped);

    connection->RunAsUnit([&] {
        connection->Execute("INSERT INTO items (id) VALUES (1)");
        connection->Execute("INSERT INTO tstables (id) VALUES (1)");
        EXPECT_EQ(Count("items"), 0);
    });
    connection->Commit();

    EXPECT_EQ(Count("items"), 1);
    EXPECT_EQ(Count("tstables"), 1);
}

TEST_F(OdbcConnections, RefuseACommitIntervalThatIsNoTime) {
    for (const char* interval : {"soon", "-1", "1.5", ""})
        EXPECT_THAT(ErrorOf([&] { Connect(std::string(";Commit Interval=") + interval); }),
                    HasSubstr("Commit Interval"))
            << interval;
}

TEST_F(OdbcConnections, SendUpsertsOneByOneToAServerThatDoesNotTakeTransactSql) {
    const auto connection = Connect(";Rows per Trip=100");
    Answers nobody;

    connection->Upsert(
        "UPDATE items SET name = 'a' WHERE id = 1",
        [] { return Statement("INSERT INTO items (id, name) VALUES (1, 'a')"); }, nobody);

    EXPECT_EQ(Count("items"), 1);
}

TEST_F(OdbcConnections, NameTheDriverThatIsMissing) {
    EXPECT_THAT(ErrorOf([&] { CreateOdbcConnection({"tstables"})->Open("Driver=None Such;Database=x"); }),
                HasSubstr("None Such"));
}

TEST_F(OdbcConnections, DeleteNothingWhereTheRowCannotBeTold) {
    const auto connection = Connect("");
    for (int i = 0; i < 2; ++i) connection->Execute("INSERT INTO items (id, name) VALUES (1, 'twin')");
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);

    EXPECT_THAT(ErrorOf([&] { rows->Delete(); }), HasSubstr("primary key"));

    EXPECT_EQ(Count("items"), 2);
}

TEST_F(OdbcConnections, SayThatARowWasDeletedByOthers) {
    const auto connection = Connect("");
    connection->Execute("INSERT INTO items (id, name) VALUES (1, 'gone')");
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);
    Connect("")->Execute("DELETE FROM items");

    EXPECT_THAT(ErrorOf([&] { rows->Delete(); }), HasSubstr("not there any more"));
}

TEST_F(OdbcConnections, CloseTheirRecordsetsWithThem) {
    const auto connection = Connect("");
    connection->Execute("INSERT INTO items (id) VALUES (1)");
    const auto rows = connection->CreateRecordset();
    rows->Open("SELECT * FROM items", CursorType::ForwardOnly, LockType::ReadOnly);

    connection->Close();

    EXPECT_NE(ErrorOf([&] { rows->Field(0); }), "");
}

}  // namespace
}  // namespace iqrx::platform::odbc
