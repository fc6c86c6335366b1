// Statements that come as shapes with values, beside texts that look alike.
#include <gmock/gmock.h>

#include "platform/sqlite/fixture.h"

namespace iqrx::platform::sqlite {
namespace {

using testing::ElementsAre;
using Then = Piece::Then;

constexpr Piece kSetA[] = {{"UPDATE "}, {"", Then::Table}, {" SET a = ", Then::Value}, {", f = 0 WHERE k = 1"}};
constexpr Piece kSetAndFlag[] = {
    {"UPDATE "}, {"", Then::Table}, {" SET a = ", Then::Value}, {", f = 7 WHERE k = 1"}};
constexpr Piece kLarge[] = {{"SELECT * FROM many WHERE k > 10 AND f = ", Then::Value}};

class BoundShapes : public DatabaseTest {
protected:
    BoundShapes() {
        Create(R"(CREATE TABLE one(k INTEGER, a TEXT, f INTEGER); INSERT INTO one VALUES(1, '', 9);
                  CREATE TABLE two(k INTEGER, a TEXT, f INTEGER); INSERT INTO two VALUES(1, '', 9);
                  CREATE TABLE many(k INTEGER, f INTEGER);
                  WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 1000)
                  INSERT INTO many SELECT i, 3 FROM n;)");
    }
    void Set(std::span<const Piece> shape, std::string_view table, std::string_view text) {
        const Literal values[] = {Literal::Text(text)};
        EXPECT_EQ(Db().Execute(platform::Statement({shape}, table, values)), 1);
    }
};

TEST_F(BoundShapes, KeepTheirOwnLiteralsWhateverATextOrAnotherShapeBindsInBetween) {
    Set(kSetA, "one", "a");
    Execute("UPDATE one SET a = N'b', f = 5 WHERE k = 1");
    EXPECT_THAT(Rows("SELECT a, f FROM one", 2), ElementsAre("b|5"));
    Set(kSetA, "one", "c");
    EXPECT_THAT(Rows("SELECT a, f FROM one", 2), ElementsAre("c|0"));
    Set(kSetA, "one", "d");
    EXPECT_THAT(Rows("SELECT a, f FROM one", 2), ElementsAre("d|0"));
    Set(kSetAndFlag, "one", "e");
    Set(kSetA, "one", "f");
    EXPECT_THAT(Rows("SELECT a, f FROM one", 2), ElementsAre("f|0"));
}

TEST_F(BoundShapes, AreBoundAnewAfterAStatementThatNeverBegan) {
    Db().SetCommandTimeout(1);
    const auto other = Connect();
    other->RunExclusively([&] {
        other->Execute("UPDATE two SET f = 1 WHERE k = 1");
        EXPECT_THROW(Set(kSetA, "one", "a"), RuntimeError);
    });
    Set(kSetA, "one", "b");
    EXPECT_THAT(Rows("SELECT a, f FROM one", 2), ElementsAre("b|0"));
}

TEST_F(BoundShapes, WriteToTheTableThatTheyAreGiven) {
    Set(kSetA, "one", "first");
    Set(kSetA, "two", "second");
    EXPECT_THAT(Rows("SELECT a FROM one", 1), ElementsAre("first"));
    EXPECT_THAT(Rows("SELECT a FROM two", 1), ElementsAre("second"));
}

TEST_F(BoundShapes, AreForgottenWhenThereAreManyAndFoundAgain) {
    std::vector<std::string> tables;
    for (int i = 0; i < 80; ++i) tables.push_back("t" + std::to_string(i));
    std::string schema;
    for (const std::string& table : tables)
        schema += "CREATE TABLE " + table + "(k INTEGER, a TEXT, f INTEGER); INSERT INTO " + table +
                  " VALUES(1, '', 9);";
    Create(schema);
    for (const char* round : {"first", "second"})
        for (const std::string& table : tables) {
            Set(kSetA, table, round);
            EXPECT_THAT(Rows("SELECT a, f FROM " + table, 2), ElementsAre(std::string(round) + "|0"));
        }
}

TEST_F(BoundShapes, OfALargeResultAreReadAndCountedEachTime) {
    const Literal values[] = {Literal::Whole(3)};
    for (int time = 0; time < 2; ++time) {
        auto rows = Db().CreateRecordset();
        rows->Open(platform::Statement({kLarge}, {}, values), CursorType::Static, LockType::ReadOnly);
        EXPECT_EQ(rows->RecordCount(), 990);
        EXPECT_EQ(ToLong(rows->Field("k")), 11);
    }
}

}  // namespace
}  // namespace iqrx::platform::sqlite
