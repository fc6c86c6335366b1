// The transaction calls of batches, exclusive sections and groups, as a server that speaks TDS gets them from
// FreeTDS, and what becomes of them when they fail.
#include <gmock/gmock.h>

#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "support/tds_server.h"

namespace iqrx::platform::odbc {
namespace {

using iqrx::testing::TdsReply;
using iqrx::testing::TdsServer;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

const char* const kSerializable = "SET TRANSACTION ISOLATION LEVEL SERIALIZABLE";
const char* const kReadCommitted = "SET TRANSACTION ISOLATION LEVEL READ COMMITTED";
const char* const kBatch = "DECLARE @iCount int\r\n\r\n BEGIN \r\n";

const TdsReply kOneRow = TdsReply().Count(1, TdsReply::kUpdate);
const TdsReply kDeadlock = TdsReply().Error(1205, "was chosen as the deadlock victim");
const TdsReply kKeyConflict = TdsReply().Error(2627, "Violation of PRIMARY KEY constraint");
const TdsReply kFullLog = TdsReply().Error(9002, "The transaction log is full");

class Transactions : public ::testing::Test {
protected:
    void Connect(const std::string& keys = "") {
        connection->Open("Driver=FreeTDS;Server=127.0.0.1;Port=" + std::to_string(server.Port()) +
                         ";TDS_Version=7.4;Database=qrx;Uid=copy;Pwd=secret" + keys);
        for (const char* text : {"UPDATE a", "UPDATE b", kBatch}) server.WhenSent(text, kOneRow);
    }
    void ConnectGrouped() { Connect(";Commit Interval=600000"); }

    TdsServer server;
    std::unique_ptr<Connection> connection = CreateOdbcConnection({"tstables"});
};

// "(commit)(begin)" and "(roll back)": the driver begins the next transaction with the commit, and gives it
// up when statements are to be committed one by one again.
TEST_F(Transactions, OfAnExclusiveSectionAreSerializableAndTheLevelIsRestored) {
    Connect();
    connection->Execute("UPDATE a");

    connection->RunExclusively([&] { connection->Execute("UPDATE b"); });

    EXPECT_THAT(server.Texts(), ElementsAre("UPDATE a", kSerializable, "(begin)", "UPDATE b",
                                            "(commit)(begin)", "(roll back)", kReadCommitted));
}

TEST_F(Transactions, OfAnExclusiveSectionBeginAfterTheOpenGroupIsCommitted) {
    ConnectGrouped();
    connection->Execute("UPDATE a");

    connection->RunExclusively([&] {
        connection->Execute("UPDATE b");
        connection->Execute("UPDATE tstables SET in_use = 1");
    });

    EXPECT_THAT(server.Texts(),
                ElementsAre("(begin)", "UPDATE a", "(commit)(begin)", "(roll back)", kSerializable, "(begin)",
                            "UPDATE b", "UPDATE tstables SET in_use = 1", "(commit)(begin)", "(roll back)",
                            kReadCommitted));
}

TEST_F(Transactions, OfAnExclusiveSectionThatTheServerPicksAsVictimAreRunAgain) {
    Connect();
    for (const TdsReply& failure : {kDeadlock, kKeyConflict}) {
        int runs = 0;
        connection->RunExclusively([&] {
            server.WhenSent("UPDATE a", ++runs < 3 ? failure : kOneRow);
            connection->Execute("UPDATE a");
        });
        EXPECT_EQ(runs, 3);
    }
}

TEST_F(Transactions, OfAnExclusiveSectionWhoseCommitMakesItTheVictimAreRunAgain) {
    Connect();
    int runs = 0;
    connection->RunExclusively([&] {
        connection->Execute("UPDATE a");
        server.WhenSent("(commit)", ++runs == 1 ? kDeadlock : TdsReply().NoCount());
    });
    EXPECT_EQ(runs, 2);
}

TEST_F(Transactions, OfAnExclusiveSectionThatFailsOtherwiseAreRolledBack) {
    Connect();
    server.WhenSent("UPDATE b", kFullLog);
    int runs = 0;

    EXPECT_THAT(
        [&] {
            connection->RunExclusively([&] {
                if (++runs > 1) return;
                connection->Execute("UPDATE a");
                connection->Execute("UPDATE b");
            });
        },
        ThrowsMessage<RuntimeError>(HasSubstr("The transaction log is full")));

    EXPECT_EQ(runs, 1);
    EXPECT_THAT(server.Texts(), ElementsAre(kSerializable, "(begin)", "UPDATE a", "UPDATE b",
                                            "(roll back)(begin)", "(roll back)", kReadCommitted));
}

TEST_F(Transactions, ThatAServerDoesNotMakeSerializableAreAnErrorThatSaysSo) {
    Connect();
    server.WhenSent(kSerializable, TdsReply().Error(3010, "not on this server"));

    EXPECT_THAT([&] { connection->RunExclusively([] { FAIL() << "without being alone"; }); },
                ThrowsMessage<RuntimeError>(HasSubstr("refuses serializable transactions")));

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("not on this server"));
}

TEST_F(Transactions, OfABatchHoldItAndNothingElse) {
    Connect();
    connection->Execute("UPDATE a");

    EXPECT_EQ(connection->Execute(kBatch), 1);

    connection->Execute("UPDATE b");
    EXPECT_THAT(server.Texts(),
                ElementsAre("UPDATE a", "(begin)", kBatch, "(commit)(begin)", "(roll back)", "UPDATE b"));
}

TEST_F(Transactions, OfABatchThatFailsAreRolledBack) {
    ConnectGrouped();
    connection->Execute("UPDATE a");
    server.WhenSent(kBatch, TdsReply()
                                .Count(1, TdsReply::kInsert)
                                .Error(2627, "Violation of PRIMARY KEY constraint")
                                .Count(1, TdsReply::kInsert));

    EXPECT_THAT([&] { connection->Execute(kBatch); }, ThrowsMessage<RuntimeError>(HasSubstr("PRIMARY KEY")));

    EXPECT_THAT(server.Texts(), ElementsAre("(begin)", "UPDATE a", "(commit)(begin)", "(roll back)",
                                            "(begin)", kBatch, "(roll back)(begin)", "(roll back)"));
    EXPECT_NO_THROW(connection->Commit()) << "nothing before the batch was lost";
}

TEST_F(Transactions, OfABatchThatAreNotCommittedRaiseTheServersWords) {
    Connect();
    server.WhenSent("(commit)", kFullLog);

    EXPECT_THAT([&] { connection->Execute(kBatch); },
                ThrowsMessage<RuntimeError>(HasSubstr("The transaction log is full")));

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("The transaction log is full"));
}

TEST_F(Transactions, OfABatchInAnExclusiveSectionAreTheSections) {
    Connect();

    connection->RunExclusively([&] { connection->Execute(kBatch); });

    EXPECT_THAT(server.Texts(), ElementsAre(kSerializable, "(begin)", kBatch, "(commit)(begin)",
                                            "(roll back)", kReadCommitted));
}

TEST_F(Transactions, OfAGroupThatTheServerRollsBackLoseWhatWasReportedDone) {
    ConnectGrouped();
    connection->Execute("UPDATE a");
    server.WhenSent("UPDATE b", kDeadlock);

    EXPECT_THAT([&] { connection->Execute("UPDATE b"); },
                ThrowsMessage<RuntimeError>(HasSubstr("deadlock victim")));

    EXPECT_THAT(server.Texts(),
                ElementsAre("(begin)", "UPDATE a", "UPDATE b", "(roll back)(begin)", "(roll back)"));
    EXPECT_THROW(connection->Execute("UPDATE a"), WritesLost);
    EXPECT_THAT([&] { connection->Commit(); }, ThrowsMessage<WritesLost>(HasSubstr("deadlock victim")));
    EXPECT_EQ(connection->Execute("UPDATE a"), 1);
}

TEST_F(Transactions, OfAGroupThatItsFirstWriteEndsLoseNothing) {
    ConnectGrouped();
    server.WhenSent("UPDATE a", kDeadlock);

    EXPECT_THROW(connection->Execute("UPDATE a"), RuntimeError);

    EXPECT_NO_THROW(connection->Commit());
    EXPECT_EQ(connection->Execute("UPDATE b"), 1);
}

}  // namespace
}  // namespace iqrx::platform::odbc
