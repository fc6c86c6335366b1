// What the guard lets through and what it stops, around the database that exists in the test alone.
#include <gmock/gmock.h>

#include "platform/watch/watched_database.h"
#include "support/recording_database.h"

namespace iqrx::platform::watch {
namespace {

using ::testing::Contains;
using ::testing::Not;

constexpr const char* kSweep = "DELETE FROM tssoc200 WHERE upd_flag = 1";
constexpr const char* kDoomed = "SELECT count(*) FROM tssoc200 WHERE upd_flag = 1";
constexpr const char* kAll = "SELECT count(*) FROM tssoc200";

RemovalLimit Limit(const char* text) { return RemovalLimit::Parse(text).value(); }

class Guard : public ::testing::Test {
protected:
    Guard() { Connect(); }
    void Connect() {
        connection = provider->CreateConnection("x");
        connection->Open("x");
    }
    void GivenCount(const std::string& text, Long count) { database.WhenOpened(text, {{"n"}, {{count}}}); }
    // A full copy as far as its sweep.
    void Marked(std::int32_t before, Long doomed, Long now) {
        database.WhenExecuted("UPDATE tssoc200 SET upd_flag = 1 ", before);
        GivenCount(kDoomed, doomed);
        GivenCount(kAll, now);
        connection->Execute("UPDATE tssoc200 SET upd_flag = 1 ");
    }
    void ExpectSwept() {
        EXPECT_NO_THROW(connection->Execute(kSweep));
        EXPECT_THAT(database.executed, Contains(kSweep));
        EXPECT_FALSE(refused);
    }
    void ExpectRefused(const std::string& text, const char* statement = kSweep) {
        try {
            connection->Execute(statement);
            ADD_FAILURE() << "sent: " << statement;
        } catch (const RuntimeError& error) {
            EXPECT_EQ(error.number, kInvalidProcedureCall);
            EXPECT_EQ(error.description, "tssoc200: " + text);
            ASSERT_EQ(connection->LastErrors().size(), 1u);
            EXPECT_EQ(connection->LastErrors()[0].description, error.description);
        }
        EXPECT_THAT(database.executed, Not(Contains(statement)));
        ASSERT_TRUE(refused);
        EXPECT_EQ(refused->table, "tssoc200");
        EXPECT_EQ(refused->Text(), text);
    }

    testing::RecordingDatabase database;
    RemovalLimits limits;
    std::optional<RefusedRemoval> refused;
    std::unique_ptr<DatabaseProvider> provider = GuardRemovals(database, limits, refused);
    std::unique_ptr<Connection> connection;
};

TEST_F(Guard, LetsTwentyRowsOfASmallTableGo) {
    Marked(40, 20, 40);
    ExpectSwept();
}

TEST_F(Guard, StopsTheTwentyFirstRowOfASmallTable) {
    Marked(40, 21, 40);
    ExpectRefused("would remove 21 of 40 rows (52 %, limit 10 %)");
}

TEST_F(Guard, LetsATenthOfALargeTableGo) {
    Marked(1000, 100, 1000);
    ExpectSwept();
}

TEST_F(Guard, StopsMoreThanATenthOfALargeTable) {
    Marked(1000, 101, 1000);
    ExpectRefused("would remove 101 of 1000 rows (10 %, limit 10 %)");
}

TEST_F(Guard, NeverEmptiesATableByItself) {
    Marked(5, 5, 5);
    ExpectRefused("would remove 5 of 5 rows (100 %, limit: never all rows)");
}

TEST_F(Guard, LetsAllOldRowsGoWhenNewOnesCame) {
    Marked(5, 5, 8);
    ExpectSwept();
}

TEST_F(Guard, TakesAShareThatTheOperatorNames) {
    limits.all = Limit("50%");
    Marked(40, 20, 40);
    ExpectSwept();
    Marked(40, 37, 40);
    limits.all = Limit("10%");
    refused.reset();
    database.executed.clear();
    ExpectRefused("would remove 37 of 40 rows (92 %, limit 10 %)");
}

TEST_F(Guard, TakesANumberOfRowsThatTheOperatorNames) {
    limits.all = Limit("36");
    Marked(40, 37, 40);
    ExpectRefused("would remove 37 of 40 rows (92 %, limit 36 rows)");
    limits.all = Limit("37");
    Connect();
    Marked(40, 37, 40);
    ExpectSwept();
}

TEST_F(Guard, EmptiesATableWhenTheOperatorSaysSo) {
    for (const char* limit : {"100%", "5", "any"}) {
        limits.all = Limit(limit);
        database.executed.clear();
        Marked(5, 5, 5);
        ExpectSwept();
    }
}

TEST_F(Guard, CountsNothingWhereAnythingMayGo) {
    limits.all = Limit("any");
    Marked(5, 5, 5);
    database.calls.clear();
    connection->Execute(kSweep);
    connection->Execute("DELETE FROM tssoc200  WHERE orno= N'O1'");
    EXPECT_THAT(database.calls, Not(Contains(::testing::StartsWith("Open "))));
}

TEST_F(Guard, CountsNothingInATableThatWasEmpty) {
    Marked(0, 0, 3);
    database.calls.clear();
    ExpectSwept();
    EXPECT_THAT(database.calls, Not(Contains(::testing::StartsWith("Open "))));
}

TEST_F(Guard, TakesATablesOwnLimitBeforeTheCommonOne) {
    limits.all = Limit("any");
    limits.ofTable.emplace("tssoc200", Limit("0"));
    Marked(40, 1, 40);
    ExpectRefused("would remove 1 of 40 rows (2 %, limit 0 rows)");
}

TEST_F(Guard, CountsTheTableWhereTheServerDidNotSayHowManyItMarked) {
    Marked(-1, 37, 40);
    ExpectRefused("would remove 37 of 40 rows (92 %, limit 10 %)");
}

TEST_F(Guard, StopsTheSweepOfCalendarsButNotTheirReplacement) {
    GivenCount("SELECT count(*) FROM tcccp030 WHERE upd_flag = 1", 600);
    GivenCount("SELECT count(*) FROM tcccp030", 1080);
    database.WhenExecuted("UPDATE tcccp030 SET upd_flag=1", 1080);
    database.WhenExecuted("DELETE FROM tcccp030 WHERE ccal = N'C1'", 365);
    connection->Execute("UPDATE tcccp030 SET upd_flag=1");
    connection->Execute("DELETE FROM tcccp030 WHERE ccal = N'C1'");
    connection->Execute("truncate table tcccp031 ");
    EXPECT_THROW(connection->Execute("DELETE FROM tcccp030 WHERE upd_flag = 1"), RuntimeError);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->Text(), "would remove 600 of 1080 rows (55 %, limit 10 %)");
}

TEST_F(Guard, DoesNotMindControlTablesAndChangeLogs) {
    limits.all = Limit("0");
    for (const char* text : {"DELETE FROM tssoc200_audit WHERE orno= N'O1'", "DELETE FROM tssoc200_audit",
                             "DELETE FROM tstables WHERE tablename = N'x'"}) {
        connection->Execute(text);
        EXPECT_THAT(database.executed, Contains(text));
    }
    EXPECT_FALSE(refused);
}

class GuardOfSingleDeletes : public Guard {
protected:
    std::string Delete(int number) const {
        return "DELETE FROM tssoc200  WHERE orno= N'O" + std::to_string(number) + "'";
    }
    void Deleted(int from, int to) {
        database.WhenExecutedBeginning("DELETE FROM tssoc200  WHERE orno= N'O", 1);
        for (int number = from; number <= to; ++number) connection->Execute(Delete(number));
    }
};

TEST_F(GuardOfSingleDeletes, StopsTheOneThatExceedsTheLimit) {
    GivenCount(kAll, 40);
    Deleted(1, 20);
    GivenCount("SELECT count(*) FROM tssoc200  WHERE orno= N'O21'", 1);
    ExpectRefused("would remove 21 of 40 rows (52 %, limit 10 %)", Delete(21).c_str());
}

TEST_F(GuardOfSingleDeletes, CountsTheTableOnce) {
    GivenCount(kAll, 40);
    Deleted(1, 20);
    EXPECT_EQ(std::ranges::count(database.calls, "Open SELECT count(*) FROM tssoc200 0 1"), 1);
}

TEST_F(GuardOfSingleDeletes, SendsOneThatFindsNoRowAlsoAtTheLimit) {
    GivenCount(kAll, 40);
    Deleted(1, 20);
    GivenCount("SELECT count(*) FROM tssoc200  WHERE orno= N'O21'", 0);
    database.WhenExecuted(Delete(21), 0);
    EXPECT_EQ(connection->Execute(Delete(21)), 0);
    EXPECT_FALSE(refused);
}

TEST_F(GuardOfSingleDeletes, NeverTakesTheLastRowByItself) {
    GivenCount(kAll, 2);
    Deleted(1, 1);
    GivenCount(kAll, 1);
    GivenCount("SELECT count(*) FROM tssoc200  WHERE orno= N'O2'", 1);
    ExpectRefused("would remove 2 of 2 rows (100 %, limit: never all rows)", Delete(2).c_str());
}

TEST_F(GuardOfSingleDeletes, BeginsAnewWithTheNextConnection) {
    GivenCount(kAll, 40);
    Deleted(1, 20);
    Connect();
    Deleted(21, 40);
    EXPECT_FALSE(refused);
}

TEST_F(GuardOfSingleDeletes, StopsThoseThroughARecordset) {
    limits.ofTable.emplace("tssoc206", Limit("1"));
    GivenCount("SELECT count(*) FROM tssoc206", 10);
    const std::string text = "SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 1";
    database.WhenOpened(text, {{"orno"}, {{std::string("O1")}, {std::string("O1")}}});
    const auto rows = connection->CreateRecordset();
    rows->Open(text, CursorType::Keyset, LockType::Optimistic);
    rows->Delete();
    rows->MoveNext();
    EXPECT_THROW(rows->Delete(), RuntimeError);
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->Text(), "would remove 2 of 10 rows (20 %, limit 1 row)");
    EXPECT_EQ(std::ranges::count(database.calls, "Delete"), 1);
}

TEST(ARemovalLimit, IsAShareANumberOrAny) {
    EXPECT_EQ(Limit("10%").Text(), "limit 10 %");
    EXPECT_EQ(Limit(" 0.5 % ").Text(), "limit 0.5 %");
    EXPECT_EQ(Limit("37").Text(), "limit 37 rows");
    EXPECT_EQ(Limit("1").Text(), "limit 1 row");
    EXPECT_EQ(Limit("ANY").Text(), "no limit");
    EXPECT_TRUE(Limit("0.5%").Allows(5, 1000));
    EXPECT_FALSE(Limit("0.5%").Allows(6, 1000));
}

TEST(ARemovalLimit, IsNothingElse) {
    for (const char* text : {"", "%", "-1", "+1", "10 rows", "101%", "1e3", "1e1%", "ten", "3.5", "1,000",
                             "nan%", "99999999999999999999", "10%%"})
        EXPECT_FALSE(RemovalLimit::Parse(text)) << text;
}

TEST(ARemovalLimit, IsByDefaultTheLargerOfTwo) {
    EXPECT_EQ(RemovalLimit().Text(), "limit 10 %");
    EXPECT_EQ(RemovalLimit().Text(), "limit 10 %");
    EXPECT_EQ(RemovalLimit().Text(), "limit 10 %");
}

}  // namespace
}  // namespace iqrx::platform::watch
