// What is kept when, and what stands or falls together.
#include <csignal>
#include <future>

#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Transactions : public ServerTest {
protected:
    Transactions() {
        Run("CREATE TABLE t(k INTEGER PRIMARY KEY);"
            "CREATE TABLE tstables(tablename TEXT PRIMARY KEY, in_use INTEGER);"
            "INSERT INTO tstables VALUES ('t', 0)");
    }
};

// A crash of a server on which nothing but a commit that waits puts anything on the disk.
class Crash : public Transactions {
protected:
    Crash() {
        const auto pid =
            ToLong(Select("SELECT pid FROM pg_stat_activity WHERE backend_type = 'walwriter'")->Field(0));
        kill(pid, SIGSTOP);
        Db().Commit();
    }
    ~Crash() override { Server().Crash(); }

    std::vector<std::string> RowsAfterIt() {
        Server().Crash();
        connection.reset();
        return Rows("SELECT k FROM t ORDER BY k");
    }
};

TEST_F(Crash, LeavesWhatStoodBeforeAStatementOnAControlTable) {
    Run("INSERT INTO t (k) VALUES (1)");
    Run("UPDATE tstables SET in_use = 1WHERE tablename = N't'");
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesWhatStoodBeforeAStatementOnAControlTableThatWasSent) {
    Answers nobody;
    Db().Send("INSERT INTO t (k) VALUES (1)", nobody);
    Db().AwaitAnswers();
    Db().Send("UPDATE tstables SET in_use = 1WHERE tablename = N't'", nobody);
    Db().AwaitAnswers();
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesWhatStoodBeforeCommitAfterAStatementOnAControlTableThatFailed) {
    Answers nobody;
    Db().Send("INSERT INTO t (k) VALUES (1)", nobody);
    Db().AwaitAnswers();
    Db().Send("UPDATE tstables SET tablename = NULL", nobody);
    EXPECT_THAT(Raised([&] { Db().AwaitAnswers(); }), StartsWith("[23502]"));
    Db().Commit();
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesWhatStoodBeforeCommit) {
    Run("INSERT INTO t (k) VALUES (1)");
    Db().Commit();
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesWhatStoodBeforeTheCommitOfAUserWithoutRights) {
    Run("DROP ROLE IF EXISTS copier; CREATE ROLE copier LOGIN; GRANT ALL ON t TO copier");
    const auto copier = Connect("", "copier");
    copier->Execute(std::string_view("INSERT INTO t (k) VALUES (1)"));
    copier->Commit();
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesAnExclusiveSectionAndWhatStoodBeforeIt) {
    Run("INSERT INTO t (k) VALUES (1)");
    Db().RunExclusively([&] { Run("INSERT INTO t (k) VALUES (2)"); });
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1", "2"));
}

TEST_F(Crash, LeavesWhatWasSentInAnExclusiveSection) {
    Answers nobody;
    Db().RunExclusively([&] { Db().Send("INSERT INTO t (k) VALUES (1)", nobody); });
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

TEST_F(Crash, LeavesAUnitThatTouchesAControlTable) {
    Db().RunAsUnit([&] {
        Run("INSERT INTO t (k) VALUES (1)");
        Run("UPDATE tstables SET in_use = 1");
    });
    EXPECT_THAT(RowsAfterIt(), ElementsAre("1"));
}

// Otherwise the tests above could not fail.
TEST_F(Crash, TakesWhatNobodyWaitedFor) {
    Run("INSERT INTO t (k) VALUES (1)");
    EXPECT_THAT(RowsAfterIt(), IsEmpty());
}

// The server would report the end of a transaction in which something failed as done.
TEST_F(Transactions, InWhichAFailureWasOverlookedAreNotReportedDone) {
    EXPECT_THAT(Raised([&] {
                    Db().RunExclusively([&] {
                        Run("INSERT INTO t (k) VALUES (1)");
                        Raised([&] { Run("INSERT INTO t (k) VALUES (1)"); });
                    });
                }),
                StartsWith("[25P02]"));
    EXPECT_THAT(Rows("SELECT k FROM t"), IsEmpty());
    EXPECT_EQ(Run("INSERT INTO t (k) VALUES (1)"), 1);
}

TEST_F(Transactions, OfSectionsInTwoSchemasDoNotWaitForEachOther) {
    Run("DROP SCHEMA IF EXISTS second CASCADE; CREATE SCHEMA second");
    const auto other = Connect();
    other->SetDefaultDatabase("second");
    bool ran = false;
    Db().RunExclusively([&] {
        Run("UPDATE tstables SET in_use = 1");
        other->SetCommandTimeout(5);
        other->RunExclusively([&] {
            const auto rows = other->CreateRecordset();
            rows->Open("SELECT count(*) FROM pg_class", CursorType::ForwardOnly, LockType::ReadOnly);
            ran = !rows->Eof();
        });
    });
    EXPECT_TRUE(ran);
}

TEST_F(Transactions, OfSectionsInOneSchemaWaitForEachOtherWithTheirFirstStatement) {
    const auto other = Connect();
    other->SetCommandTimeout(1);
    const auto lock = std::string_view("INSERT INTO tstables VALUES ('other', 1)");
    Db().RunExclusively([&] {
        Run("INSERT INTO t (k) VALUES (1)");
        EXPECT_THAT(Raised([&] {
                        other->RunExclusively([&] {
                            other->Execute(lock);
                            FAIL() << "two at once";
                        });
                    }),
                    StartsWith("[57014]"));
    });
    other->RunExclusively([&] { EXPECT_EQ(other->Execute(lock), 1); });
    EXPECT_THAT(Rows("SELECT tablename FROM tstables ORDER BY tablename"), ElementsAre("other", "t"));
}

// Whoever goes on after its first statement has failed must not find that the next ones stand by themselves.
TEST_F(Transactions, OfASectionThatDidNotGetItsTurnTakeNothingMore) {
    const auto other = Connect();
    other->SetCommandTimeout(1);
    Db().RunExclusively([&] {
        Run("UPDATE tstables SET in_use = 1");
        EXPECT_THAT(Raised([&] {
                        other->RunExclusively([&] {
                            const auto add = std::string_view("INSERT INTO t (k) VALUES (1)");
                            Raised([&] { other->Execute(add); });
                            EXPECT_THAT(Raised([&] { other->Execute(add); }), StartsWith("[25P02]"));
                        });
                    }),
                    StartsWith("[25P02]"));
    });
    EXPECT_THAT(Rows("SELECT k FROM t"), IsEmpty());
}

TEST_F(Transactions, OfASectionWhoseSentStatementFailsLeaveNothing) {
    Answers nobody;
    EXPECT_THAT(Raised([&] {
                    Db().RunExclusively([&] {
                        Run("INSERT INTO t (k) VALUES (1)");
                        Db().Send("UPDATE tstables SET tablename = NULL", nobody);
                    });
                }),
                AllOf(StartsWith("[23502]"), HasSubstr("\"tstables\"")));
    EXPECT_THAT(Rows("SELECT k FROM t"), IsEmpty());
}

TEST_F(Transactions, SeeWhatAnotherSectionLeftWhateverTheSiteHasSet) {
    Run("ALTER ROLE postgres SET default_transaction_isolation TO 'serializable'");
    connection.reset();
    const auto other = Connect();
    std::promise<void> inside;
    auto first = std::async(std::launch::async, [&] {
        other->RunExclusively([&] {
            other->Execute(std::string_view("UPDATE tstables SET in_use = 1"));
            inside.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            other->Execute(std::string_view("INSERT INTO t (k) VALUES (1)"));
        });
    });
    inside.get_future().wait();
    Db().RunExclusively([&] { EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1")); });
    first.get();
    Run("ALTER ROLE postgres RESET ALL");
}

TEST_F(Transactions, InASchemaOfTheirOwnLeaveOthersAlone) {
    Run("DROP SCHEMA IF EXISTS \"Odd name\" CASCADE; CREATE SCHEMA \"Odd name\"");
    Db().SetDefaultDatabase("Odd name");
    EXPECT_EQ(Db().DefaultDatabase(), "Odd name");
    Run("CREATE TABLE t(k INTEGER)");
    EXPECT_EQ(Run("INSERT INTO t (k) VALUES (5)"), 1);
    Db().SetDefaultDatabase("public");
    EXPECT_THAT(Rows("SELECT k FROM t"), IsEmpty());
    Run("Alter session set current_schema= Odd name");
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("5"));
}

TEST_F(Transactions, GoToNoSchemaThatIsNotThereOrThatTheUserMayNotUse) {
    EXPECT_EQ(Raised([&] { Db().SetDefaultDatabase("elsewhere"); }),
              "[3F000] The database \"postgres\" has no schema \"elsewhere\" that the user may use");
    const std::string cut(70, 's');
    Run("DROP SCHEMA IF EXISTS " + cut.substr(0, 63) + "; CREATE SCHEMA " + cut.substr(0, 63));
    EXPECT_THAT(Raised([&] { Db().SetDefaultDatabase(cut); }), StartsWith("[3F000]"));
    EXPECT_EQ(Db().DefaultDatabase(), "public");
}

}  // namespace
}  // namespace iqrx::testing
