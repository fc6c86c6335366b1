// Results of more rows than are fetched at a time.
#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;

class ManyRows : public ServerTest {
protected:
    ManyRows() { GivenRows(2500); }
    void GivenRows(int rows) {
        Run("DROP TABLE IF EXISTS t; CREATE TABLE t AS SELECT k, 'row ' || k AS s FROM generate_series(1, " +
            std::to_string(rows) + ") k; ALTER TABLE t ADD PRIMARY KEY (k)");
    }
    std::unique_ptr<Recordset> All() { return Select("SELECT * FROM t WHERE s <> N'' ORDER BY k"); }
    static void Go(Recordset& rows, int steps) {
        for (; steps > 0; --steps) rows.MoveNext();
    }
    static Long Key(Recordset& rows) { return static_cast<Long>(ToDouble(rows.Field("k"))); }
    // Those that come after, each read.
    static int CountUpToTheEnd(Recordset& rows) {
        int count = 0;
        for (; !rows.Eof(); rows.MoveNext(), ++count)
            EXPECT_EQ(rows.Field("s"), Value("row " + ToText(rows.Field("k"))));
        return count;
    }
};

TEST_F(ManyRows, AreReadToTheEnd) {
    for (const int rows : {999, 1000, 1001, 2000, 2001}) {
        SCOPED_TRACE(rows);
        GivenRows(rows);
        const auto all = All();
        EXPECT_FALSE(all->Bof());
        EXPECT_EQ(CountUpToTheEnd(*all), rows);
        EXPECT_FALSE(all->Bof());
        EXPECT_THROW(all->Field(0), RuntimeError);
        EXPECT_THROW(all->MoveNext(), RuntimeError);
    }
}

TEST_F(ManyRows, AreCountedAndBegunAgainFromAnyPlace) {
    const auto all = All();
    for (const int steps : {0, 1, 999, 1000, 1001, 2499}) {
        SCOPED_TRACE(steps);
        all->MoveFirst();
        EXPECT_EQ(Key(*all), 1);
        Go(*all, steps);
        EXPECT_EQ(all->RecordCount(), 2500);
        EXPECT_EQ(Key(*all), steps + 1);
        EXPECT_EQ(CountUpToTheEnd(*all), 2500 - steps);
        EXPECT_EQ(all->RecordCount(), 2500);
    }
}

TEST_F(ManyRows, AreThoseOfTheMomentAtWhichTheyWereAskedFor) {
    const auto all = All();
    Go(*all, 10);
    Run("UPDATE t SET s = N'changed'");
    Run("DELETE FROM t WHERE k > 100");
    EXPECT_EQ(CountUpToTheEnd(*all), 2490);
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("100"));
}

TEST_F(ManyRows, AreDeletedWhereTheyStand) {
    const auto all = All();
    Go(*all, 1700);
    all->Delete();
    all->MoveNext();
    EXPECT_EQ(Key(*all), 1702);
    EXPECT_THAT(Rows("SELECT count(*), sum(k) FROM t"),
                ElementsAre("2499|" + std::to_string(2500 * 2501 / 2 - 1701)));
}

TEST_F(ManyRows, AreReadWhileOthersAreAdded) {
    Run("CREATE TABLE u(k INTEGER)");
    const auto all = All(), added = Select("SELECT * FROM u");
    for (; !all->Eof(); all->MoveNext()) {
        added->AddNew();
        added->SetField(0, all->Field(0));
        added->Update();
    }
    added->Close();
    EXPECT_THAT(Rows("SELECT count(*), sum(k) FROM u"), ElementsAre("2500|" + std::to_string(2500 * 2501 / 2)));
}

TEST_F(ManyRows, LeaveNothingOnTheServerWhenTheyAreClosed) {
    auto all = All();
    EXPECT_THAT(Rows("SELECT count(*) FROM pg_cursors WHERE name <> N''"), ElementsAre("1"));
    all->Close();
    EXPECT_THAT(Rows("SELECT count(*) FROM pg_cursors WHERE name <> N''"), ElementsAre("0"));
}

TEST_F(ManyRows, OfAUnitThatFallsAreClosedWithoutAFurtherError) {
    const std::string error = Raised([&] {
        Db().RunAsUnit([&] {
            Run("UPDATE t SET s = N'changed' WHERE k = 1");
            const auto all = All();
            Raised([&] { Run("INSERT INTO t (k) VALUES (1)"); });
            EXPECT_EQ(Raised([&] { all->Close(); }), "");
            throw RuntimeError(6, "", "the work");
        });
    });
    EXPECT_EQ(error, "the work");
    EXPECT_THAT(Rows("SELECT s FROM t WHERE k = 1"), ElementsAre("row 1"));
}

}  // namespace
}  // namespace iqrx::testing
