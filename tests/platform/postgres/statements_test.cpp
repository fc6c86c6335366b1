// What the servers' statements become, and values that PostgreSQL takes or refuses.
#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Then = Piece::Then;

class Statements : public ServerTest {
protected:
    Statements() {
        Run("CREATE TABLE one(k INTEGER PRIMARY KEY, t TEXT, r DOUBLE PRECISION, d TIMESTAMP);"
            "INSERT INTO one VALUES(1, 'x', 0, NULL)");
    }
    std::vector<std::string> One() { return Rows("SELECT t, r, d FROM one WHERE k = 1"); }
};

TEST_F(Statements, TakeTheServersLiterals) {
    Run("UPDATE one SET t = N'O''Hara', r = -12.5, d = CONVERT(DATETIME,'2026-3-4 5:06:07',120)WHERE k = 1");
    EXPECT_THAT(One(), ElementsAre("O'Hara|-12.5|2026-03-04 05:06:07"));
    Run("UPDATE one SET t = -7, r = +2, d = TO_DATE('2026/03/04','yyyy/mm/dd') WHERE k = 1");
    EXPECT_THAT(One(), ElementsAre("-7|2|2026-03-04 00:00:00"));
    Run("UPDATE one SET t = NULL, r = NULL, d = NULL WHERE k = 1");
    EXPECT_THAT(One(), ElementsAre("NULL|NULL|NULL"));
}

TEST_F(Statements, ReadTheEmptyTextAsTheZeroOfANumberAndOfADate) {
    Run("UPDATE one SET k = N'', t = N'', r = N'', d = CONVERT(DATETIME,'',120)");
    EXPECT_THAT(Rows("SELECT k, t, r, d FROM one"), ElementsAre("0||0|1900-01-01 00:00:00"));
    Run("UPDATE one SET d = N''");
    EXPECT_THAT(Rows("SELECT d FROM one"), ElementsAre("1900-01-01 00:00:00"));
}

TEST_F(Statements, KeepEachBitOfARealNumber) {
    for (const double number : {0.1, 1.0 / 3, 1e300, -0.0000001, 123456789012345680.0}) {
        const Literal values[] = {Literal::Real(number)};
        constexpr Piece kSet[] = {{"UPDATE one SET r = ", Then::Value}};
        Db().Execute(Statement({kSet}, {}, values));
        EXPECT_EQ(Select("SELECT r FROM one")->Field(0), Value(number));
    }
}

constexpr Piece kSetText[] = {{"UPDATE "}, {"", Then::Table}, {" SET t = ", Then::Value}, {" WHERE k = 1"}};

TEST_F(Statements, GivenAsShapesWriteToTheTableThatTheyAreGiven) {
    Run("CREATE TABLE two(k INTEGER, t TEXT); INSERT INTO two VALUES(1, '')");
    for (const char* table : {"one", "two", "one"}) {
        const Literal values[] = {Literal::Text(table)};
        EXPECT_EQ(Db().Execute(Statement({kSetText}, table, values)), 1);
    }
    EXPECT_THAT(Rows("SELECT t FROM one"), ElementsAre("one"));
    EXPECT_THAT(Rows("SELECT t FROM two"), ElementsAre("two"));
}

// The server keeps only so many as the adapter finds again.
TEST_F(Statements, AreForgottenByTheServerToo) {
    for (int i = 0; i < 200; ++i) {
        std::string names = "k";
        for (int column = 0; column < i; ++column) names += ",k";
        Rows("SELECT " + names + " FROM one");
    }
    Run("CREATE VIEW kept AS SELECT name FROM pg_prepared_statements");
    EXPECT_LT(ToLong(Select("SELECT count(*) FROM kept")->Field(0)), 80);
}

TEST_F(Statements, OrderRowsWithoutAValueFirstAndAUnionByItsResult) {
    Run("INSERT INTO one (k) VALUES (2)");
    Run("CREATE TABLE two(t TEXT); INSERT INTO two VALUES ('a'), ('y')");
    EXPECT_THAT(Rows("SELECT t FROM one ORDER BY t"), ElementsAre("NULL", "x"));
    EXPECT_THAT(Rows("SELECT t FROM one ORDER BY t DESC"), ElementsAre("x", "NULL"));
    EXPECT_THAT(Rows("SELECT DISTINCT one.t FROM one WHERE one.t is NOT NULL UNION SELECT DISTINCT two.t FROM two "
                     "order by one.t asc "),
                ElementsAre("a", "x", "y"));
}

TEST_F(Statements, ReadOnAfterSomebodyHasChangedTheTable) {
    EXPECT_THAT(Rows("SELECT * FROM one"), ElementsAre("1|x|0|NULL"));
    const auto other = Connect();
    other->Execute(std::string_view("ALTER TABLE one ADD more INTEGER DEFAULT 5"));
    EXPECT_THAT(Rows("SELECT * FROM one"), ElementsAre("1|x|0|NULL|5"));
}

TEST_F(Statements, RefuseATextWithANulAndNameTheCauseAndTheRow) {
    const std::string_view text("a\0b", 3);
    const Literal values[] = {Literal::Text(text)};
    const std::string error = Raised([&] { Db().Execute(Statement({kSetText}, "one", values)); });
    EXPECT_THAT(error, StartsWith("[22021] A text holds the character NUL (U+0000)"));
    EXPECT_THAT(error, HasSubstr("(table one, row k = 1)"));
    EXPECT_THAT(One(), ElementsAre("x|0|NULL"));
    EXPECT_EQ(Db().LastErrors().front().sqlState, "22021");
}

TEST_F(Statements, RefuseATextThatIsNotUtf8) {
    const Literal values[] = {Literal::Text("caf\xE9!")};
    EXPECT_THAT(Raised([&] { Db().Execute(Statement({kSetText}, "one", values)); }),
                ::testing::AllOf(StartsWith("[22021] invalid byte sequence"), HasSubstr("0xe9"),
                                 HasSubstr("(table one, row k = 1)")));
    EXPECT_THAT(One(), ElementsAre("x|0|NULL"));
}

TEST_F(Statements, RefuseATextThatIsNoNumberAndNameTheRow) {
    EXPECT_THAT(Raised([&] { Run("UPDATE one SET r = N'abc' WHERE k = 1"); }),
                ::testing::AllOf(StartsWith("[22P02]"), HasSubstr("(table one, row k = 1)")));
}

// The server would take its first 63 letters for it.
TEST_F(Statements, RefuseANameThatTheServerWouldCut) {
    const std::string name(63, 'n');
    Run("CREATE TABLE " + name + "(k INTEGER)");
    EXPECT_EQ(Run("INSERT INTO " + name + " (k) VALUES (1)"), 1);
    EXPECT_THAT(Raised([&] { Run("DELETE FROM " + name + "n"); }), HasSubstr("longer than the database keeps"));
    EXPECT_THAT(Rows("SELECT k FROM " + name), ElementsAre("1"));
}

TEST_F(Statements, TellTheProvidersNumbersAndTheServersState) {
    EXPECT_THAT(Raised([&] { Run("DELETE FROM nowhere"); }), "[42P01] relation \"nowhere\" does not exist");
    EXPECT_EQ(Db().LastErrors().front().number, -2147217865);
    EXPECT_EQ(Db().LastErrors().front().source, "PostgreSQL");
    EXPECT_THAT(Raised([&] { Run("INSERT INTO one (k) VALUES (1)"); }),
                ::testing::AllOf(StartsWith("[23505]"), HasSubstr("Key (k)=(1) already exists.")));
    EXPECT_EQ(Db().LastErrors().front().number, -2147217873);
    EXPECT_THAT(Raised([&] { Run("MERGE INTO one"); }),
                StartsWith("The statement is not understood at \"MERGE"));
    EXPECT_EQ(Db().LastErrors().front().sqlState, "42000");
}

TEST_F(Statements, ThatTakeLongerThanTheirTimeEnd) {
    const auto other = Connect();
    other->RunExclusively([&] {
        other->Execute(std::string_view("UPDATE one SET t = N'y'"));
        Db().SetCommandTimeout(1);
        EXPECT_THAT(Raised([&] { Run("UPDATE one SET t = N'z'"); }), StartsWith("[57014]"));
    });
    Db().SetCommandTimeout(0);
    EXPECT_THAT(One(), ElementsAre("y|0|NULL"));
}

TEST_F(Statements, DeleteOneOfSeveralRowsThatAreAlike) {
    Run("CREATE TABLE loose(a TEXT, b INTEGER) PARTITION BY HASH (a);"
        "CREATE TABLE p0 PARTITION OF loose FOR VALUES WITH (MODULUS 2, REMAINDER 0);"
        "CREATE TABLE p1 PARTITION OF loose FOR VALUES WITH (MODULUS 2, REMAINDER 1);"
        "INSERT INTO loose VALUES ('x', NULL), ('x', NULL), ('y', 1), ('z', 1)");
    Select("SELECT * FROM loose WHERE a = 'x'")->Delete();
    EXPECT_THAT(Rows("SELECT a FROM loose ORDER BY a"), ElementsAre("x", "y", "z"));
}

TEST_F(Statements, AddManyRowsInFewTripsAndNoneOfATripThatFails) {
    auto target = Select("SELECT * FROM one WHERE 1=0");
    const auto add = [&](Long key) {
        target->AddNew();
        target->SetField(0, key);
        target->Update();
    };
    for (Long key = 2; key <= 1800; ++key) add(key);
    target->Close();
    EXPECT_THAT(Rows("SELECT count(*) FROM one"), ElementsAre("1800"));

    target = Select("SELECT * FROM one WHERE 1=0");
    add(1801);
    add(1);
    EXPECT_THAT(Raised([&] { target->Close(); }), StartsWith("[23505]"));
    EXPECT_THAT(Rows("SELECT count(*) FROM one"), ElementsAre("1800"));
}

TEST_F(Statements, ForStatisticsAreNotWaitedFor) {
    const std::size_t before = Waits();
    EXPECT_EQ(Run("UPDATE STATISTICS one"), 0);
    EXPECT_EQ(Waits(), before);
    EXPECT_THAT(Rows("SELECT reltuples FROM pg_class WHERE relname = 'one'"), ElementsAre("1"));
    EXPECT_EQ(Waits(), before + 1);
}

TEST_F(Statements, ForStatisticsThatFailFailNothingElse) {
    EXPECT_EQ(Run("UPDATE STATISTICS nowhere"), 0);
    EXPECT_EQ(Run("UPDATE STATISTICS nowhere"), 0);
    EXPECT_EQ(Run("UPDATE one SET t = N'y'"), 1);
    EXPECT_THAT(One(), ElementsAre("y|0|NULL"));
}

TEST_F(Statements, SayNothingOnStandardErrorWhateverTheServerNotices) {
    ::testing::internal::CaptureStderr();
    Run("DROP TABLE IF EXISTS nowhere");
    Run("UPDATE STATISTICS one");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace iqrx::testing
