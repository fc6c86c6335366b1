// Where a copy stops when somebody asks it to.
#include <gmock/gmock.h>

#include "platform/watch/watched_database.h"
#include "support/recording_database.h"

namespace iqrx::platform::watch {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Request : StopRequest {
    std::optional<std::string> by;
    std::optional<std::string> Asked() const override { return by; }
};

class AStop : public ::testing::Test {
protected:
    AStop() {
        connection->Open("x");
        database.calls.clear();
    }
    void Ask() { request.by = "SIGINT"; }
    void Free() {
        Answers nobody;
        database.defaultAffected = 1;
        connection->Upsert(
            "UPDATE tstables SET in_use = 0WHERE tablename = N'tsmdm030'",
            []() -> Statement { return "INSERT INTO tstables(tablename) VALUES(N'tsmdm030')"; }, nobody);
    }
    void ExpectStopped(const std::function<void()>& work) {
        try {
            work();
            ADD_FAILURE() << "went on";
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, kStopped);
            EXPECT_EQ(error.description, "stopped by SIGINT");
        }
    }
    void ExpectStopped(const char* text) {
        ExpectStopped([&] { connection->Execute(text); });
    }
    std::unique_ptr<Recordset> Opened(const std::string& text) {
        auto recordset = connection->CreateRecordset();
        recordset->Open(text, CursorType::Keyset, LockType::Optimistic);
        return recordset;
    }

    testing::RecordingDatabase database;
    Request request;
    std::unique_ptr<DatabaseProvider> provider = StopBetweenStatements(database, request);
    std::unique_ptr<Connection> connection = provider->CreateConnection("x");
};

TEST_F(AStop, ComesBeforeTheNextStatement) {
    connection->Execute("UPDATE tsmdm030 SET dsca = N'x',upd_flag = 0 WHERE cstp = N'A'");
    Ask();
    ExpectStopped("UPDATE tsmdm030 SET dsca = N'x',upd_flag = 0 WHERE cstp = N'B'");
    ExpectStopped("DELETE FROM tsmdm030 WHERE upd_flag = 1");
    ExpectStopped([&] { Opened("SELECT * FROM tsmdm140"); });
    EXPECT_EQ(database.executed.size(), 1u);
}

TEST_F(AStop, ComesBeforeTheNextNewRow) {
    const auto rows = Opened("SELECT * FROM tsmdm030");
    rows->AddNew();
    rows->Update();
    rows->AddNew();
    Ask();
    ExpectStopped([&] { rows->Update(); });
    ExpectStopped([&] { rows->AddNew(); });
    ExpectStopped([&] { rows->Delete(); });
}

TEST_F(AStop, LetsTheTableBeFreedAndTheOutcomeTold) {
    Ask();
    Free();
    Opened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'");
    EXPECT_EQ(database.executed.size(), 1u);
}

// Otherwise whoever asked while another program held the database would wait for it all the same.
TEST_F(AStop, FreesNothingWhenTheTableWasNeverTaken) {
    EXPECT_THROW(connection->RunExclusively([&] {
        Ask();
        throw RuntimeError(5, "x", "database is locked");
    }),
                 RuntimeError);
    Free();
    EXPECT_THAT(database.executed, IsEmpty());
}

TEST_F(AStop, AfterATakingThatFailedByItselfStillFreesTheTable) {
    EXPECT_THROW(connection->RunExclusively([] { throw RuntimeError(5, "x", "no connection"); }), RuntimeError);
    Ask();
    Free();
    EXPECT_EQ(database.executed.size(), 1u);
}

TEST_F(AStop, EndsACopyThatLogsItsFailuresAndGoesOn) {
    Ask();
    ExpectStopped("UPDATE tcccp030 SET upd_flag=1");
    EXPECT_TRUE(SpeakOfLostConnection(connection->LastErrors()));
}

TEST_F(AStop, WaitsForTheEndOfAUnitSoThatNoChangeIsWithoutItsNotice) {
    connection->RunAsUnit([&] {
        connection->Execute("DELETE FROM tssoc200  WHERE orno= N'O1'");
        Ask();
        connection->Execute("INSERT INTO tssoc200_audit(orno,action) VALUES(  N'O1',N'D')");
    });
    EXPECT_EQ(database.executed.size(), 2u);
    ExpectStopped([&] {
        connection->RunAsUnit([&] { connection->Execute("DELETE FROM tssoc200  WHERE orno= N'O2'"); });
    });
    EXPECT_EQ(database.executed.size(), 2u);
}

TEST_F(AStop, ComesAfterAUnitThatFailed) {
    EXPECT_THROW(connection->RunAsUnit([] { throw RuntimeError(1, "x", "x"); }), RuntimeError);
    Ask();
    ExpectStopped("DELETE FROM tssoc200  WHERE orno= N'O1'");
}

TEST_F(AStop, WaitsForTheRowsOfACalendarThatWereDeleted) {
    connection->Execute("DELETE FROM tcccp030 WHERE ccal = N'C1'");
    Ask();
    connection->Execute("INSERT INTO tcccp030(ccal,upd_flag) VALUES( N'C1',0)");
    connection->Execute("INSERT INTO tcccp030(ccal,upd_flag) VALUES( N'C1',0)");
    ExpectStopped("DELETE FROM tcccp030 WHERE ccal = N'C2'");
    ExpectStopped("INSERT INTO tcccp030(ccal,upd_flag) VALUES( N'C2',0)");
}

TEST_F(AStop, WaitsForTheExpansionOfACalendarThatWasDeleted) {
    connection->Execute("DELETE FROM tcccp031 WHERE ccal = N'C1'");
    Ask();
    const auto rows = Opened("select * from tcccp031 WHERE  1=0");
    rows->AddNew();
    rows->Update();
    rows->Close();
    ExpectStopped([&] { Opened("select * from tcccp030 WHERE  ccal=N'C2'"); });
}

TEST_F(AStop, ChangesNothingWhileNobodyAsks) {
    connection->Execute("DELETE FROM tsmdm030 WHERE upd_flag = 1");
    EXPECT_THAT(database.calls, ElementsAre("Execute DELETE FROM tsmdm030 WHERE upd_flag = 1"));
    EXPECT_THAT(connection->LastErrors(), IsEmpty());
}

}  // namespace
}  // namespace iqrx::platform::watch
