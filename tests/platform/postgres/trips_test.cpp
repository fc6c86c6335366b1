// Many statements a trip: how often somebody waits for the server, and that nobody sees more of it than that.
#include "platform/postgres/fixture.h"
#include "support/heard.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;
using ::testing::StartsWith;

class Trips : public ServerTest {
protected:
    Trips() {
        Run("CREATE TABLE t(k INTEGER PRIMARY KEY, n INTEGER CHECK (n <> 13), s TEXT, d TIMESTAMP);"
            "CREATE TABLE log(k INTEGER, action TEXT)");
        connection.reset();
    }
    void GivenRowsPerTrip(int rows) { connection = Connect(";Rows per Trip=" + std::to_string(rows)); }

    // As the copy does: the values lie in what is gone after the call.
    void Upsert(Long key, Long number, const std::string& text = "") {
        static constexpr Piece kUpdate[] = {{"UPDATE "},
                                            {"", Piece::Then::Table},
                                            {" SET n = ", Piece::Then::Value},
                                            {", s = ", Piece::Then::Value},
                                            {", d = ", Piece::Then::Value},
                                            {" WHERE k = ", Piece::Then::Value}};
        static constexpr Piece kInsert[] = {{"INSERT INTO "},
                                            {"", Piece::Then::Table},
                                            {" (k, n, s, d) VALUES (", Piece::Then::Value},
                                            {",", Piece::Then::Value},
                                            {",", Piece::Then::Value},
                                            {",", Piece::Then::Value},
                                            {")"}};
        auto letters = std::make_unique<std::string>(text);
        const Literal date = Literal::Text("2026-03-04 05:06:07").WithItsText();
        std::vector<Literal> values{Literal::Whole(number), Literal::Text(*letters), date, Literal::Whole(key)};
        Db().Upsert(
            Statement({kUpdate}, "t", values),
            [&] {
                values = {Literal::Whole(key), Literal::Whole(number), Literal::Text(*letters), date};
                return Statement({kInsert}, "t", values);
            },
            heard);
    }
    void Send(const std::string& text) { Db().Send(text, heard); }
    void WriteLog(Long key, const std::string& action) {
        Send("DELETE FROM log WHERE k = " + std::to_string(key));
        Send("INSERT INTO log (k, action) VALUES (" + std::to_string(key) + ", N'" + action + "')");
    }
    // A change of the trail: looked up, written, noted.
    void Change(Long key, Long number) {
        Db().RunAsUnit([&] {
            Select("SELECT s FROM t WHERE k = " + std::to_string(key))->Close();
            Upsert(key, number);
            WriteLog(key, "U");
        });
    }

    Heard heard;
};

TEST_F(Trips, AreAWaitForManyRows) {
    GivenRowsPerTrip(200);
    Upsert(0, 0);
    Db().AwaitAnswers();
    const std::size_t before = Waits();
    for (Long key = 1; key <= 199; ++key) Upsert(key, 1, "text " + std::to_string(key));
    EXPECT_EQ(Waits(), before);
    Db().AwaitAnswers();
    EXPECT_EQ(Waits(), before + 1);
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("200"));
    EXPECT_THAT(Rows("SELECT n, s, d FROM t WHERE k = 77"), ElementsAre("1|text 77|2026-03-04 05:06:07"));
}

// One for the types of its columns; what the server makes of the row it is told with the row.
TEST_F(Trips, AreTwoWaitsForAFirstRow) {
    GivenRowsPerTrip(200);
    const std::size_t before = Waits();
    Upsert(1, 1);
    Db().AwaitAnswers();
    EXPECT_EQ(Waits(), before + 2);
}

// The second of a key goes by a statement of its own, which the server was not told any more.
TEST_F(Trips, ThatFailLeaveNoStatementBehindThatTheServerDoesNotKnow) {
    GivenRowsPerTrip(200);
    EXPECT_THAT(Raised([&] {
                    for (const Long key : {1, 2, 2}) Upsert(key, key == 1 ? 13 : 1);
                    Db().AwaitAnswers();
                }),
                StartsWith("[23514]"));
    Db().SetDefaultDatabase("public");  // what was prepared for the tables is forgotten
    for (const char* number : {"1", "2", "3"})
        EXPECT_EQ(Raised([&] { Run("UPDATE t SET n = " + std::string(number) + " WHERE k = 1"); }), "");
}

TEST_F(Trips, AreSeveralUnderWayBeforeTheFirstIsWaitedFor) {
    GivenRowsPerTrip(10);
    Upsert(0, 0);
    Db().AwaitAnswers();
    heard.said.clear();
    const std::size_t before = Waits();
    for (Long key = 1; key <= 30; ++key) Upsert(key, 1);
    EXPECT_EQ(Waits(), before);
    for (Long key = 31; key <= 1000; ++key) Upsert(key, 1);
    EXPECT_THAT(Waits() - before, Le(85U));
    EXPECT_THAT(heard.said, SizeIs(::testing::Ge(2U * 660)));
    Db().AwaitAnswers();
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("1001"));
}

TEST_F(Trips, EndASameKeyTwiceAsOneAfterTheOtherWould) {
    GivenRowsPerTrip(50);
    Upsert(1, 1, "a");
    Upsert(1, 2, "b");
    Db().AwaitAnswers();
    EXPECT_THAT(heard.said, ElementsAre("updated 0", "inserted 1", "updated 1"));
    EXPECT_THAT(Rows("SELECT k, n, s FROM t"), ElementsAre("1|2|b"));
}

TEST_F(Trips, ReadTheEmptyTextAsWithoutThem) {
    GivenRowsPerTrip(50);
    const auto upsert = [&] {
        Db().Upsert(
            "UPDATE t SET n = N'', d = N'' WHERE k = -5",
            [] { return Statement("INSERT INTO t (k, n, d) VALUES (-5, N'', N'')"); }, heard);
        Db().AwaitAnswers();
    };
    upsert();
    EXPECT_THAT(Rows("SELECT k, n, d FROM t"), ElementsAre("-5|0|1900-01-01 00:00:00"));
    Run("UPDATE t SET n = 7");
    upsert();
    EXPECT_THAT(Rows("SELECT k, n, d FROM t"), ElementsAre("-5|0|1900-01-01 00:00:00"));
}

TEST_F(Trips, WaitOncePerChangeWithASelectAndNotForOneWithout) {
    GivenRowsPerTrip(200);
    for (int time = 1; time <= 3; ++time) Change(1, 1);  // the server learns what comes again
    Db().AwaitAnswers();
    std::size_t before = Waits();
    for (Long key = 1; key <= 20; ++key) Change(key, 2);
    EXPECT_EQ(Waits(), before + 20);
    Db().AwaitAnswers();
    before = Waits();
    for (Long key = 1; key <= 20; ++key) Db().RunAsUnit([&] { Upsert(key, 3); });
    EXPECT_EQ(Waits(), before);
    Db().AwaitAnswers();
    EXPECT_THAT(Rows("SELECT count(*), min(n), max(n) FROM t"), ElementsAre("20|3|3"));
    EXPECT_THAT(Rows("SELECT count(*), min(k), max(k) FROM log"), ElementsAre("20|1|20"));
}

TEST_F(Trips, WaitOncePerRemovalThatIsNoted) {
    GivenRowsPerTrip(200);
    for (Long key = 0; key <= 12; ++key) Upsert(key, 1);
    const auto remove = [&](Long key) {
        Db().RunAsUnit([&] {
            EXPECT_EQ(Run("DELETE FROM t WHERE k = " + std::to_string(key)), 1);
            WriteLog(key, "D");
        });
    };
    for (const Long key : {0, 11, 12}) remove(key);  // the server learns what comes again
    Db().AwaitAnswers();
    const std::size_t before = Waits();
    for (Long key = 1; key <= 10; ++key) remove(key);
    EXPECT_EQ(Waits(), before + 10);
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("0"));
    EXPECT_THAT(Rows("SELECT count(*) FROM log"), ElementsAre("13"));
}

// What follows is the same with any number of rows a trip.
class AnyTrips : public Trips, public ::testing::WithParamInterface<int> {
protected:
    AnyTrips() { GivenRowsPerTrip(GetParam()); }
    // What was said, those after the failure left out: who waits does not come to them.
    std::vector<std::string> SaidUpToTheFailure() const {
        std::vector<std::string> said;
        for (const std::string& one : heard.said)
            if (one != "not sent") said.push_back(one);
        return said;
    }
};

TEST_P(AnyTrips, KeepWhatWasBeforeARecordThatFailsAndNothingOfWhatFollows) {
    Upsert(3, 1, "was there");
    Db().AwaitAnswers();
    heard.said.clear();
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 60; ++key) Upsert(key, key == 20 ? 13 : 1);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, AllOf(StartsWith("[23514]"), HasSubstr("(20, 13,")));
    EXPECT_EQ(Db().LastErrors().front().description, error);
    EXPECT_EQ(Raised([&] { Db().AwaitAnswers(); }), "");
    EXPECT_THAT(Rows("SELECT count(*), min(k), max(k) FROM t"), ElementsAre("19|1|19"));

    std::vector<std::string> expected;
    for (Long key = 1; key <= 20; ++key) {
        expected.push_back(key == 3 ? "updated 1" : "updated 0");
        if (key != 3) expected.push_back(key == 20 ? "failed: " + error : "inserted 1");
    }
    EXPECT_EQ(SaidUpToTheFailure(), expected);
    Upsert(70, 1);
    Db().AwaitAnswers();
    EXPECT_THAT(Rows("SELECT k FROM t WHERE k >= 20"), ElementsAre("70"));
}

TEST_P(AnyTrips, TellWhetherTheUpdateFailedOrTheInsert) {
    Upsert(1, 1);
    Db().AwaitAnswers();
    heard.said.clear();
    const std::string error = Raised([&] {
        Upsert(1, 13);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(heard.said, ElementsAre("failed: " + error));
}

TEST_P(AnyTrips, NameTheRowOfAValueThatTheServerRefuses) {
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 9; ++key) Upsert(key, key, key == 5 ? "caf\xE9!" : "a");
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, AllOf(StartsWith("[22021]"), HasSubstr("(table t, row k = 5)")));
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("4"));
}

TEST_P(AnyTrips, NameTheRowOfAValueThatIsNotSent) {
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 9; ++key) Upsert(key, key, key == 5 ? std::string("a\0b", 3) : "a");
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, AllOf(StartsWith("[22021]"), HasSubstr("(table t, row k = 5)")));
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("4"));
}

TEST_P(AnyTrips, TakeAFailedUnitBackAndKeepThoseBeforeIt) {
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 9; ++key) {
            Db().RunAsUnit([&] {
                WriteLog(key, "U");
                Upsert(key, key == 5 ? 13 : key);
                WriteLog(key + 100, "U");
            });
        }
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, StartsWith("[23514]"));
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(Rows("SELECT count(*), max(k) FROM log WHERE k < 100"), ElementsAre("4|4"));
    EXPECT_THAT(SaidUpToTheFailure(), SizeIs(4 * 6 + 4));
    EXPECT_EQ(SaidUpToTheFailure().back(), "failed: " + error);
}

TEST_P(AnyTrips, LeaveNothingOfAUnitThatMetTheFailureOfOneBefore) {
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 9; ++key) Change(key, key == 5 ? 13 : key);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, StartsWith("[23514]"));
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1", "2", "3", "4"));
    EXPECT_THAT(Rows("SELECT k FROM log"), ElementsAre("1", "2", "3", "4"));
    Change(6, 6);
    EXPECT_THAT(Rows("SELECT k FROM t WHERE k > 4"), ElementsAre("6"));
}

TEST_P(AnyTrips, TakeBackARemovalWhoseNoteFails) {
    Upsert(1, 1);
    Db().AwaitAnswers();
    heard.said.clear();
    const std::string error = Raised([&] {
        Db().RunAsUnit([&] {
            Run("DELETE FROM t WHERE k = 1");
            Send("INSERT INTO log (k, action) VALUES (N'x', N'D')");
        });
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, AllOf(StartsWith("[22P02]"), HasSubstr("(table log, row k = ")));
    EXPECT_THAT(heard.said, ElementsAre("failed: " + error));
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1"));
}

TEST_P(AnyTrips, OfAUnitWhoseWorkFailsFallWithItWhateverWasSent) {
    Upsert(1, 1);
    EXPECT_EQ(Raised([&] {
                  Db().RunAsUnit([&] {
                      Upsert(2, 2);
                      throw RuntimeError(6, "", "the work");
                  });
              }),
              "the work");
    Upsert(3, 3);
    Db().AwaitAnswers();
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1", "3"));
}

TEST_P(AnyTrips, TakeNoFurtherStatementIntoAUnitThatHasFailed) {
    EXPECT_THAT(Raised([&] {
                    Db().RunAsUnit([&] {
                        Raised([&] {
                            Upsert(1, 13);
                            Db().AwaitAnswers();
                        });
                        Raised([&] { Upsert(2, 2); });
                    });
                    Db().AwaitAnswers();
                }),
                StartsWith("[25P02]"));
    EXPECT_THAT(Rows("SELECT k FROM t"), IsEmpty());
}

TEST_P(AnyTrips, FailAtTheCommitOfWhatTheServerChecksLate) {
    Run("CREATE TABLE parent(k INTEGER PRIMARY KEY); INSERT INTO parent VALUES (1),(2),(3);"
        "ALTER TABLE t ADD FOREIGN KEY (n) REFERENCES parent DEFERRABLE INITIALLY DEFERRED");
    const std::string error = Raised([&] {
        for (const Long number : {1, 2, 9, 3}) Upsert(number, number);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, StartsWith("[23503]"));
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1", "2"));
    EXPECT_THAT(SaidUpToTheFailure(), ElementsAre("updated 0", "inserted 1", "updated 0", "inserted 1",
                                                  "updated 0", "failed: " + error));
}

TEST_P(AnyTrips, OfALostConnectionFailOnce) {
    for (Long key = 1; key <= 5; ++key) Upsert(key, key);
    Db().AwaitAnswers();
    heard.said.clear();
    Connect()->Execute(
        std::string_view("CREATE TABLE ended AS SELECT pg_terminate_backend(pid) FROM pg_stat_activity"
                         " WHERE backend_type = 'client backend' AND pid <> pg_backend_pid()"));
    const std::string error = Raised([&] {
        for (Long key = 1; key <= 5; ++key) Upsert(key, 7);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, HasSubstr("The connection to the database was lost"));
    ASSERT_FALSE(heard.said.empty());
    EXPECT_EQ(heard.said.front(), "failed: " + error);
    heard.said.erase(heard.said.begin());
    EXPECT_THAT(heard.said, Each("not sent"));
    connection.reset();
    EXPECT_THAT(Rows("SELECT count(*), max(n) FROM t"), ElementsAre("5|5"));
}

INSTANTIATE_TEST_SUITE_P(RowsPerTrip, AnyTrips, ::testing::Values(1, 2, 7, 200, 10000));

// The table of the copy's locks, as a copy begins and ends: marked, stamped, looked at.
TEST_F(Trips, TakeWritesToControlTablesAlong) {
    Run("CREATE TABLE tstables(tablename TEXT PRIMARY KEY, lutm TIMESTAMP, reqd INTEGER, in_use INTEGER)");
    GivenRowsPerTrip(200);
    const auto stamp = [&](const std::string& table, const std::string& moment) {
        Db().Upsert(
            "UPDATE tstables SET lutm  = '" + moment + "' WHERE tablename = '" + table + "'",
            [insert = "INSERT INTO tstables(tablename,lutm, reqd, in_use) VALUES('" + table + "','" + moment +
                      "', 0, 0)"] { return Statement(insert); },
            heard);
    };
    const std::size_t before = Waits();
    Send("UPDATE t SET n = 1 ");
    stamp("t", "2026-03-04 05:06:07");
    stamp("t", "2026-05-06 07:08:09");
    EXPECT_EQ(Waits(), before);
    EXPECT_THAT(Rows("SELECT tablename, lutm, reqd, in_use FROM tstables"),
                ElementsAre("t|2026-05-06 07:08:09|0|0"));
    EXPECT_EQ(Waits(), before + 1);
    EXPECT_THAT(heard.said, ElementsAre("executed 0", "updated 0", "inserted 1", "updated 1"));
}

// What keeps others out goes with the question whether the table is free, what takes it with the end.
TEST_F(Trips, AreTwoWaitsForALock) {
    Run("CREATE TABLE tstables(tablename TEXT PRIMARY KEY, in_use INTEGER)");
    GivenRowsPerTrip(200);
    const std::size_t before = Waits();
    Db().RunExclusively([&] {
        EXPECT_THAT(Rows("SELECT in_use FROM tstables WHERE tablename = 't'"), IsEmpty());
        Db().Upsert(
            "UPDATE tstables SET in_use = 1WHERE tablename = 't'",
            [] { return Statement("INSERT INTO tstables(tablename,in_use) VALUES('t',1)"); }, heard);
    });
    EXPECT_EQ(Waits(), before + 2);
    EXPECT_THAT(heard.said, ElementsAre("updated 0", "inserted 1"));
    EXPECT_THAT(Rows("SELECT tablename, in_use FROM tstables"), ElementsAre("t|1"));
}

TEST_F(Trips, HaveFromOneToTenThousandRows) {
    for (const char* wrong : {"0", "-1", "10001", "many", "", "7x"}) {
        EXPECT_THAT(Raised([&] { Connect(std::string(";Rows per Trip=") + wrong); }),
                    HasSubstr("the value of Rows per Trip is not a whole number from 1 to 10000"))
            << wrong;
    }
    EXPECT_EQ(Raised([&] { Connect(";rows per trip=10000"); }), "");
}

}  // namespace
}  // namespace iqrx::testing
