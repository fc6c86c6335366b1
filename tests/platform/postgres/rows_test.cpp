// Rows of a trip that go to the server together: the rows, counts and errors that they leave are those that
// they leave one after the other.
#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Told : Answers {
    void Updated(std::int32_t affected) override {
        said += affected == 0 ? "" : "U" + std::to_string(affected);
    }
    void Inserted(std::int32_t affected) override { said += "I" + std::to_string(affected); }
    void Failed(const RuntimeError&) override { said += "F"; }
    std::string said;
};

class RowsTogether : public ServerTest, public ::testing::WithParamInterface<int> {
protected:
    void GivenTables(std::string_view definition) {
        Run(definition);
        connection = Connect(";Rows per Trip=" + std::to_string(GetParam()));
    }
    bool GoOneByOne() const { return GetParam() == 1; }

    void Upsert(const Literal& key, const Literal& text) {
        static constexpr Piece kUpdate[] = {{"UPDATE t SET s = ", Piece::Then::Value},
                                            {" WHERE k = ", Piece::Then::Value}};
        static constexpr Piece kInsert[] = {
            {"INSERT INTO t (k, s) VALUES (", Piece::Then::Value}, {",", Piece::Then::Value}, {")"}};
        std::vector<Literal> values{text, key};
        Db().Upsert(
            Statement({kUpdate}, "", values),
            [&] {
                values = {key, text};
                return Statement({kInsert}, "", values);
            },
            told);
    }
    void Upsert(std::string_view key, std::string_view text) {
        Upsert(Literal::Text(key), Literal::Text(text));
    }

    Told told;
};

TEST_P(RowsTogether, MayHaveAnyText) {
    GivenTables("CREATE TABLE t(k TEXT PRIMARY KEY, s TEXT)");
    const std::vector<std::string> texts{"",       "{}",          "NULL", "a,b", "\"q\"", "back\\slash",
                                         "O'Hara", "caf\xC3\xA9", " "};
    for (const std::string& text : texts) Upsert("key " + text, text);
    Upsert(Literal::Text("none"), Literal());
    Db().AwaitAnswers();
    EXPECT_EQ(told.said, "I1I1I1I1I1I1I1I1I1I1");
    for (const std::string& text : texts) {
        std::string doubled = text;
        if (const auto at = doubled.find('\''); at != std::string::npos) doubled.insert(at, 1, '\'');
        EXPECT_THAT(Rows("SELECT s FROM t WHERE k = N'key " + doubled + "'"), ElementsAre(text));
    }
    EXPECT_THAT(Rows("SELECT s FROM t WHERE k = 'none'"), ElementsAre("NULL"));
}

TEST_P(RowsTogether, AreToldInTheirOrderWhichWereThere) {
    GivenTables("CREATE TABLE t(k TEXT PRIMARY KEY, s TEXT); INSERT INTO t VALUES ('b', ''), ('d', '')");
    for (const char* key : {"a", "b", "c", "d", "e"}) Upsert(key, "new");
    Db().AwaitAnswers();
    EXPECT_EQ(told.said, "I1U1I1U1I1");
    EXPECT_THAT(Rows("SELECT count(*), min(s), max(s) FROM t"), ElementsAre("5|new|new"));
}

// A text of fixed length has blanks at its end for the server only.
TEST_P(RowsTogether, AreOneRowWhereTheServerTakesTheirKeysForEqual) {
    GivenTables("CREATE TABLE t(k CHARACTER(3) PRIMARY KEY, s TEXT)");
    Upsert("a", "first");
    Upsert("a ", "second");
    Upsert("b", "other");
    Db().AwaitAnswers();
    EXPECT_EQ(told.said, "I1U1I1");
    EXPECT_THAT(Rows("SELECT s FROM t WHERE k = 'a'"), ElementsAre("second"));
}

TEST_P(RowsTogether, MayFillATableWithoutAKey) {
    GivenTables("CREATE TABLE t(k TEXT, s TEXT); INSERT INTO t VALUES ('a', ''), ('a', '')");
    Upsert("a", "x");
    Upsert("b", "y");
    Upsert("b", "z");
    Db().AwaitAnswers();
    EXPECT_EQ(told.said, "U2I1U1");
    EXPECT_THAT(Rows("SELECT s FROM t"), ElementsAre("x", "x", "z"));
}

TEST_P(RowsTogether, AreCutAsTheColumnsWantIt) {
    GivenTables("CREATE TABLE t(k NUMERIC(5,1) PRIMARY KEY, s TIMESTAMP)");
    Upsert("1.25", "2026-03-04 05:06:07");
    Upsert("7", "");
    Db().AwaitAnswers();
    EXPECT_THAT(Rows("SELECT k, s FROM t"), ElementsAre("1.3|2026-03-04 05:06:07", "7|1900-01-01 00:00:00"));
}

TEST_P(RowsTogether, FailAtTheOneThatIsTooLongForItsColumn) {
    GivenTables("CREATE TABLE t(k TEXT PRIMARY KEY, s VARCHAR(4))");
    const std::string error = Raised([&] {
        for (const char* text : {"a", "four", "fifth", "b"}) Upsert("key " + std::string(text), text);
        Db().AwaitAnswers();
    });
    EXPECT_THAT(error, AllOf(StartsWith("[22001]"), HasSubstr("key fifth")));
    EXPECT_EQ(told.said, "I1I1F");
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("2"));
}

// What a trigger drops was not inserted, and the rows go one by one from then on.
TEST_P(RowsTogether, AreToldWhichATriggerDropped) {
    GivenTables(
        "CREATE TABLE t(k TEXT PRIMARY KEY, s TEXT);"
        "CREATE FUNCTION dropped() RETURNS trigger LANGUAGE plpgsql AS"
        " $$ BEGIN IF NEW.k = 'b' THEN RETURN NULL; END IF; RETURN NEW; END $$;"
        "CREATE TRIGGER drops BEFORE INSERT ON t FOR EACH ROW EXECUTE FUNCTION dropped()");
    for (int time = 0; time < 2; ++time) {
        for (const char* key : {"a", "b", "c"}) Upsert(key, "x");
        Db().AwaitAnswers();
    }
    EXPECT_EQ(told.said, "I1I0I1U1I0U1");
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("a", "c"));
}

TEST_P(RowsTogether, GoThroughAViewWithRules) {
    GivenTables(
        "CREATE TABLE base(k TEXT PRIMARY KEY, s TEXT); CREATE VIEW t AS SELECT k, s FROM base;"
        "CREATE RULE changes AS ON UPDATE TO t DO INSTEAD UPDATE base SET s = NEW.s WHERE k = OLD.k;"
        "CREATE RULE adds AS ON INSERT TO t DO INSTEAD INSERT INTO base VALUES (NEW.k, NEW.s)");
    for (const char* key : {"a", "b", "a"}) Upsert(key, "x");
    Db().AwaitAnswers();
    EXPECT_EQ(told.said, "I1I1U1");
}

std::string Block(const std::string& number, const std::string& text) {
    const std::string values = "N'" + number + "',N'" + text + "'";
    return " BEGIN \r\n\r\nselect @iCount = count(*)  from t  WHERE k= " + number +
           " IF(@iCount) = 0\r\n BEGIN \r\n\r\nINSERT INTO t (k, s) VALUES(" + values +
           ")\r\n END \r\n ELSE \r\n BEGIN\r\n\r\nUPDATE  t SET  k =N'" + number + "',s =N'" + text +
           "' WHERE k= N'" + number + "'\r\n END \r\n END\r\n\r\n";
}

TEST_P(RowsTogether, OfABatchAreAWait) {
    GivenTables("CREATE TABLE t(k INTEGER PRIMARY KEY, s TEXT); INSERT INTO t VALUES (3, ''), (5, '')");
    const auto batch = [](int from) {
        std::string text = "DECLARE @iCount int\r\n\r\n";
        for (int key = from; key < from + 8; ++key) text += Block(std::to_string(key), "x");
        return text;
    };
    for (int time = 0; time < 2; ++time) EXPECT_EQ(Run(batch(0)), 8);
    const std::size_t before = Waits();
    EXPECT_EQ(Run(batch(4)), 8);
    const std::size_t waits = Waits() - before;
    EXPECT_TRUE(GoOneByOne() ? waits > 8 : waits == 1) << waits;
    EXPECT_THAT(Rows("SELECT count(*), min(s), max(s) FROM t"), ElementsAre("12|x|x"));
}

TEST_P(RowsTogether, OfABatchMayHaveOneKey) {
    GivenTables("CREATE TABLE t(k INTEGER PRIMARY KEY, s TEXT)");
    EXPECT_EQ(Run("DECLARE @iCount int\r\n\r\n" + Block("1", "a") + Block("1", "b") + Block("2", "c")), 3);
    EXPECT_THAT(Rows("SELECT k, s FROM t"), ElementsAre("1|b", "2|c"));
}

TEST_P(RowsTogether, OfABatchStayAwayTogether) {
    GivenTables("CREATE TABLE t(k INTEGER PRIMARY KEY, s VARCHAR(1))");
    EXPECT_THAT(Raised([&] { Run("DECLARE @iCount int\r\n\r\n" + Block("1", "a") + Block("2", "bb")); }),
                StartsWith("[22001]"));
    EXPECT_THAT(Rows("SELECT count(*) FROM t"), ElementsAre("0"));
    EXPECT_EQ(Run("INSERT INTO t (k) VALUES (3)"), 1);
}

INSTANTIATE_TEST_SUITE_P(RowsPerTrip, RowsTogether, ::testing::Values(1, 3, 200));

}  // namespace
}  // namespace iqrx::testing
