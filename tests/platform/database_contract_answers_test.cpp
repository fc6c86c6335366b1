// Statements whose sender does not wait for their counts.
#include "platform/database_contract.h"
#include "platform/error.h"

namespace iqrx::testing {
namespace {

using namespace iqrx::platform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_P(AnswersContract, AreTheCountsInTheOrderOfTheStatements) {
    GivenItems({Item(1, "a"), Item(2, "a")});

    Send("UPDATE items SET note = 'x' WHERE name = 'a'");
    Send("DELETE FROM items WHERE id = 2");
    Send("UPDATE items SET note = 'x' WHERE id = 2");
    connection->AwaitAnswers();

    EXPECT_THAT(heard.said, ElementsAre("executed 2", "executed 1", "executed 0"));
}

TEST_P(AnswersContract, OfAnUpsertTellWhetherTheRowWasThere) {
    GivenItems({Item(1, "a")});

    Upsert(1, "b");
    Upsert(5, "c");
    Upsert(5, "d");
    connection->AwaitAnswers();

    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 0", "inserted 1", "updated 1"));
    EXPECT_THAT(Names(), ElementsAre("b", "d"));
}

TEST_P(AnswersContract, AreAllThereBeforeAnythingElseIsAsked) {
    GivenItems({Item(1, "a")});

    Upsert(1, "b");
    Send("DELETE FROM items WHERE name = 'none'");
    EXPECT_EQ(connection->Execute("UPDATE items SET note = 'x' WHERE name = 'b'"), 1);
    EXPECT_THAT(heard.said, SizeIs(2));

    Upsert(2, "c");
    EXPECT_EQ(Open("SELECT * FROM items WHERE id = 2")->Field(1), Value("c"));
    EXPECT_THAT(heard.said, SizeIs(4));

    Upsert(3, "d");
    connection->Commit();
    EXPECT_THAT(heard.said, SizeIs(6));

    Upsert(4, "e");
    connection->Close();
    EXPECT_THAT(heard.said, SizeIs(8));
}

TEST_P(AnswersContract, EndAtAnErrorThatIsRaisedOnceAndKeepsWhatWasBeforeIt) {
    GivenItems({Item(1, "a")});

    const auto sendAll = [&] {
        Upsert(2, "b");
        Send("INSERT INTO items (id, name) VALUES (1, 'twice')");
        Upsert(3, "c");
        connection->AwaitAnswers();
    };

    EXPECT_THROW(sendAll(), RuntimeError);
    ASSERT_THAT(heard.said, SizeIs(::testing::Ge(3U)));
    EXPECT_THAT(std::vector(heard.said.begin(), heard.said.begin() + 3),
                ElementsAre("updated 0", "inserted 1", "failed"));
    EXPECT_THAT(std::vector(heard.said.begin() + 3, heard.said.end()), ::testing::Each("not sent"));
    EXPECT_FALSE(connection->LastErrors().empty());
    EXPECT_NO_THROW(connection->AwaitAnswers());
    EXPECT_THAT(Names(), ElementsAre("a", "b"));
}

TEST_P(AnswersContract, OfAnInsertThatCannotBeMadeMatterOnlyWhereTheRowIsMissing) {
    GivenItems({Item(1, "a")});
    const auto unmakable = []() -> Statement { RaiseRuntimeError(kTypeMismatch); };

    connection->Upsert("UPDATE items SET name = 'b' WHERE id = 1", unmakable, heard);
    EXPECT_THROW(connection->Upsert("UPDATE items SET name = 'b' WHERE id = 2", unmakable, heard),
                 RuntimeError);
    connection->AwaitAnswers();

    EXPECT_THAT(heard.said, ElementsAre("updated 1", "updated 0", "not sent"));
    EXPECT_THAT(Names(), ElementsAre("b"));
}

TEST_P(AnswersContract, OfAUnitFallWithIt) {
    GivenItems({Item(1, "a")});

    EXPECT_THROW(connection->RunAsUnit([&] {
        Upsert(1, "b");
        RaiseRuntimeError(kOverflow);
    }),
                 RuntimeError);
    try {
        connection->Commit();
    } catch (const WritesLost&) {
        // Where it took others with it.
    }
    connection->RunAsUnit([&] { Upsert(2, "c"); });
    connection->AwaitAnswers();

    EXPECT_EQ(Names().back(), "c");
}

TEST_P(AnswersContract, MayBeAskedForWhereNothingWasSent) {
    connection->AwaitAnswers();
    EXPECT_THAT(heard.said, IsEmpty());
}

}  // namespace
}  // namespace iqrx::testing
