#include <gmock/gmock.h>

#include "fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int kManyRows = 2000;  // more than a recordset reads at once

class Recordsets : public DatabaseTest {
protected:
    Recordsets() {
        Create(R"(
            CREATE TABLE typed(i INTEGER, big INTEGER, r REAL, f FLOAT, d DATETIME, s VARCHAR(10), Mixed TEXT);
            INSERT INTO typed VALUES(1, 3000000000, 2, 2.5, '2009-05-07 08:00:00', '12', 'x');
            INSERT INTO typed VALUES(NULL, NULL, NULL, NULL, NULL, NULL, NULL);
            CREATE TABLE tssoc206(orno TEXT, asln INTEGER, acln INTEGER, PRIMARY KEY(orno, asln)) WITHOUT ROWID;
            INSERT INTO tssoc206 VALUES('O1', 1, 10), ('O1', 2, 20), ('O2', 1, 30);
            CREATE TABLE tcccp030(ccal TEXT, ustm DATETIME);
            CREATE TABLE tcccp031(ccal TEXT, ract TEXT, ustm DATETIME, uftm DATETIME, note TEXT DEFAULT 'none');
        )");
    }

    void FillCalendars() {
        for (int i = 0; i < kManyRows; ++i)
            Execute("INSERT INTO tcccp030(ccal,ustm) VALUES(N'" + std::to_string(i) +
                    "',CONVERT(DATETIME,'2009-05-07 08:00:00',120))");
    }
};

TEST_F(Recordsets, GiveValuesOfTheColumnsTypes) {
    auto rows = Select("SELECT * FROM typed");
    EXPECT_EQ(rows->Field("i"), Value(Long{1}));
    EXPECT_EQ(rows->Field("big"), Value(3e9));
    EXPECT_EQ(rows->Field("r"), Value(2.0));
    EXPECT_EQ(rows->Field("f"), Value(2.5));
    EXPECT_EQ(rows->Field("d"), Value(*ParseIsoDate("2009-05-07 08:00:00")));
    EXPECT_EQ(rows->Field("s"), Value(std::string("12")));
    EXPECT_EQ(rows->Field("MIXED"), Value(std::string("x")));
    EXPECT_EQ(rows->Field(0), Value(Long{1}));
    rows->MoveNext();
    for (int i = 0; i < 7; ++i) EXPECT_TRUE(rows->Field(i).Is<Null>()) << i;
}

TEST_F(Recordsets, KnowTheirBeginningAndEnd) {
    auto rows = Select("SELECT * FROM tssoc206 WHERE orno= N'O1'");
    EXPECT_FALSE(rows->Bof());
    EXPECT_FALSE(rows->Eof());
    EXPECT_EQ(rows->RecordCount(), 2);
    rows->MoveNext();
    EXPECT_EQ(rows->Field("acln"), Value(Long{20}));
    rows->MoveNext();
    EXPECT_TRUE(rows->Eof());
    EXPECT_FALSE(rows->Bof());
    rows->MoveFirst();
    EXPECT_EQ(rows->Field("acln"), Value(Long{10}));
}

TEST_F(Recordsets, OfNoRowsAreAtBothEnds) {
    auto rows = Select("SELECT * FROM tssoc206 WHERE orno= N'none'");
    EXPECT_TRUE(rows->Bof());
    EXPECT_TRUE(rows->Eof());
    EXPECT_EQ(rows->RecordCount(), 0);
    EXPECT_THROW(rows->MoveFirst(), RuntimeError);
    EXPECT_THROW(rows->Field(0), RuntimeError);
    EXPECT_EQ(Db().LastErrors().at(0).description, "There is no current record");
}

TEST_F(Recordsets, NameTheColumnThatIsMissing) {
    auto rows = Select("SELECT * FROM tssoc206");
    EXPECT_THROW(rows->Field("elsewhere"), RuntimeError);
    EXPECT_EQ(Db().LastErrors().at(0).description, "The result has no column \"elsewhere\"");
}

TEST_F(Recordsets, AreOpenedOnSelectsAlone) {
    EXPECT_THROW(Select("DELETE FROM tssoc206"), RuntimeError);
    EXPECT_THAT(Rows("SELECT acln FROM tssoc206", 1), ElementsAre("10", "20", "30"));
}

TEST_F(Recordsets, DeleteTheCurrentRowAndNoOther) {
    auto rows = Select("SELECT * FROM tssoc206 WHERE orno= N'O1' AND   asln= 2");
    ASSERT_EQ(rows->RecordCount(), 1);
    EXPECT_EQ(rows->Field("acln"), Value(Long{20}));
    rows->Delete();
    EXPECT_THROW(rows->Field("acln"), RuntimeError);
    rows->Close();
    EXPECT_THAT(Rows("SELECT acln FROM tssoc206", 1), ElementsAre("10", "30"));
}

TEST_F(Recordsets, DeleteFromATableWithoutAKeyByAllColumns) {
    Select("SELECT * FROM typed")->Delete();
    auto rows = Select("SELECT * FROM typed");
    EXPECT_EQ(rows->RecordCount(), 1);
    rows->Delete();
    EXPECT_THAT(Rows("SELECT * FROM typed", 1), IsEmpty());
}

TEST_F(Recordsets, SayThatTheRowToDeleteIsGone) {
    auto rows = Select("SELECT * FROM tssoc206 WHERE orno= N'O2'");
    Execute("DELETE FROM tssoc206 WHERE orno= N'O2'");
    EXPECT_THROW(rows->Delete(), RuntimeError);
}

TEST_F(Recordsets, AddRowsByPosition) {
    auto rows = Select("select * from tcccp031 WHERE  1=0");
    EXPECT_TRUE(rows->Eof());
    for (int day : {7, 8}) {
        rows->AddNew();
        rows->SetField(0, std::string("C'1"));
        rows->SetField(1, Null{});
        rows->SetField(2, *ParseIsoDate("2009-05-0" + std::to_string(day) + " 08:00:00"));
        rows->SetField(3, *ParseIsoDate("2009-05-0" + std::to_string(day) + " 17:00:00"));
        rows->Update();
    }
    rows->Close();
    EXPECT_THAT(Rows("select * from tcccp031", 5),
                ElementsAre("C'1|NULL|2009-05-07 08:00:00|2009-05-07 17:00:00|none",
                            "C'1|NULL|2009-05-08 08:00:00|2009-05-08 17:00:00|none"));
}

TEST_F(Recordsets, CountAndRewindLargeResults) {
    FillCalendars();
    auto rows = Select("select * from tcccp030 WHERE ccal <> N'7'");
    EXPECT_EQ(rows->RecordCount(), kManyRows - 1);
    int count = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++count;
    EXPECT_EQ(count, kManyRows - 1);
    EXPECT_FALSE(rows->Bof());
    rows->MoveFirst();
    EXPECT_EQ(rows->Field(0), Value(std::string("0")));
}

TEST_F(Recordsets, OfWhichARowCannotBeReadDoNotLookComplete) {
    static constexpr int kUnreadable = 400;  // not among those that are read at once
    Create("CREATE TABLE numbers(n INTEGER); CREATE VIEW distances AS SELECT abs(n) AS n FROM numbers;");
    for (int i = 0; i < kManyRows; ++i) Execute("INSERT INTO numbers(n) VALUES(" + std::to_string(i) + ")");
    connection.reset();
    Create("UPDATE numbers SET n = -9223372036854775808 WHERE n = " + std::to_string(kUnreadable));
    auto rows = Select("SELECT * FROM distances");
    const auto readToTheEnd = [&rows] {
        for (; !rows->Eof(); rows->MoveNext()) EXPECT_LT(ToLong(rows->Field("n")), kUnreadable);
    };
    EXPECT_THROW(readToTheEnd(), RuntimeError);
    EXPECT_TRUE(rows->Eof());
    EXPECT_THROW(rows->MoveNext(), RuntimeError);
}

TEST_F(Recordsets, GoOnWhileTheConnectionWritesAndCommits) {
    FillCalendars();
    auto source = Select("select * from tcccp030");
    Execute("truncate table tcccp031 ");
    auto target = Select("select * from tcccp031 WHERE  1=0");
    auto other = Connect();
    for (source->MoveFirst(); !source->Eof(); source->MoveNext()) {
        target->AddNew();
        target->SetField(0, source->Field("ccal"));
        target->SetField(2, source->Field("ustm"));
        target->Update();
        if (source->Field("ccal") == Value(std::string("1000"))) {
            Execute("DELETE FROM tcccp030");
            Db().Execute("INSERT INTO tcccp030(ccal,ustm) VALUES(N'late',NULL)");
            EXPECT_NE(ErrorOf("INSERT INTO nowhere(a) VALUES(1)"), "");  // commits the group
            other->Execute("INSERT INTO tcccp030(ccal,ustm) VALUES(N'later',NULL)");
            other->Close();
        }
    }
    EXPECT_EQ(Select("select * from tcccp031")->RecordCount(), kManyRows);
    EXPECT_THAT(Rows("SELECT ccal FROM tcccp030", 1), ElementsAre("late", "later"));
}

TEST_F(Recordsets, KeepTheirViewWhateverOthersDoMeanwhile) {
    FillCalendars();
    auto rows = Select("SELECT * FROM tcccp030");
    auto other = Connect();
    other->Execute("DELETE FROM tcccp030");
    other->Close();

    int read = 0;
    for (; !rows->Eof(); rows->MoveNext()) ++read;
    EXPECT_EQ(read, kManyRows);
    EXPECT_EQ(rows->RecordCount(), kManyRows);
    rows->MoveFirst();
    EXPECT_EQ(rows->Field("ccal"), Value("0"));
}

TEST_F(Recordsets, SeeWhatTheConnectionWroteBeforeTheyWereOpened) {
    FillCalendars();
    Execute("UPDATE tcccp030 SET ustm = NULL");
    for (auto rows = Select("select * from tcccp030"); !rows->Eof(); rows->MoveNext())
        ASSERT_TRUE(rows->Field("ustm").Is<Null>());
}

}  // namespace
}  // namespace iqrx::platform::sqlite
