#include "support/recording_database.h"

#include <gmock/gmock.h>

#include "platform/date.h"

namespace iqrx::testing {
namespace {

using namespace iqrx::platform;
using ::testing::ElementsAre;

struct OpenConnection {
    RecordingDatabase database;
    std::unique_ptr<Connection> connection = database.CreateConnection("any");
    OpenConnection() { connection->Open("any"); }
};

TEST(RecordingDatabase, WritesStatementsInTheFormOfTheTrace) {
    OpenConnection given;
    given.database.WhenExecuted("UPDATE tsmdm030 SET upd_flag = 1 ", 3);
    given.database.WhenOpened("select * from t", {{"code", "start", "empty"}, {}});

    given.connection->Execute("UPDATE tsmdm030 SET upd_flag = 1 ");
    auto rows = given.connection->CreateRecordset();
    rows->Open("select * from t", CursorType::Keyset, LockType::Optimistic);
    rows->AddNew();
    rows->SetField(0, "a \"b\"\r\n");
    rows->SetField(1, FromCivil({2009, 5, 7, 8, 0, 0}));
    rows->Update();
    rows->MoveFirst();
    rows->Delete();

    EXPECT_THAT(given.database.statements,
                ElementsAre(R"({"op":"execute","sql":"UPDATE tsmdm030 SET upd_flag = 1 ","affected":3})",
                            R"({"op":"open","sql":"select * from t"})",
                            R"({"op":"addnew","sql":"select * from t",)"
                            R"("values":["a \"b\"\r\n","2009-05-07 08:00:00",null]})",
                            R"({"op":"delete","sql":"select * from t"})"));
}

TEST(RecordingDatabase, RecordsTheCallsOnTheConnection) {
    RecordingDatabase database;
    {
        auto connection = database.CreateConnection("Driver=x");
        connection->SetConnectionTimeout(0);
        connection->Open("Driver=x");
        connection->SetDefaultDatabase("copy");
        EXPECT_EQ(connection->DefaultDatabase(), "copy");
        EXPECT_EQ(database.openConnections, 1);
    }
    EXPECT_EQ(database.openConnections, 0);
    EXPECT_THAT(database.calls,
                ElementsAre("CreateConnection Driver=x", "ConnectionTimeout 0", "OpenConnection Driver=x",
                            "DefaultDatabase copy", "CloseConnection"));
}

TEST(RecordingDatabase, FailsTheStatementThatItWasToldTo) {
    OpenConnection given;
    given.database.FailStatement(2, {17, "server", "no more disk"});

    EXPECT_EQ(given.connection->Execute("first"), 0);
    EXPECT_THROW(given.connection->Execute("second"), RuntimeError);
    EXPECT_EQ(given.connection->LastErrors().at(0).description, "no more disk");
    EXPECT_EQ(given.connection->Execute("third"), 0);
    EXPECT_THAT(given.database.executed, ElementsAre("first", "second", "third"));
}

TEST(RecordingDatabase, AnswersByTheLongestBeginning) {
    OpenConnection given;
    given.database.WhenExecutedBeginning("INSERT", 1);
    given.database.WhenExecutedBeginning("INSERT INTO t", 2);

    EXPECT_EQ(given.connection->Execute("INSERT INTO u VALUES (1)"), 1);
    EXPECT_EQ(given.connection->Execute("INSERT INTO t VALUES (1)"), 2);
    EXPECT_EQ(given.connection->Execute("UPDATE t SET a = 1"), 0);
}

}  // namespace
}  // namespace iqrx::testing
