// Statements, values, errors and connections.
#include "platform/database_contract.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::testing {
namespace {

using namespace iqrx::platform;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::ThrowsMessage;

const Date kMoment = FromCivil({2009, 5, 7, 8, 30, 15});
const std::string kUnicode = "Z\u00fcrich, \u6771\u4eac, \U0001F600\U0001D518, \u0130\u0131";

// Text in which every second character needs two UTF-16 units, so that pieces of any size split one.
std::string LargeText(std::size_t characters) {
    std::string text = "-";
    for (std::size_t i = 0; i < characters / 2; ++i) text += "\U0001F600x";
    return text;
}

TEST_P(DatabaseContract, CountsTheRowsThatAStatementAffected) {
    GivenItems({Item(1, "a"), Item(2, "a"), Item(3, "b")});

    EXPECT_EQ(connection->Execute("UPDATE items SET note = 'x' WHERE name = 'a'"), 2);
    EXPECT_EQ(connection->Execute("UPDATE items SET note = 'x' WHERE name = 'c'"), 0);
    EXPECT_EQ(connection->Execute("INSERT INTO items (id, name) VALUES (4, 'd')"), 1);
    EXPECT_EQ(connection->Execute("DELETE FROM items WHERE id > 1"), 3);
    EXPECT_EQ(connection->Execute("DELETE FROM items WHERE id > 1"), 0);
}

TEST_P(DatabaseContract, CountsNothingWhereAStatementHasNoCount) {
    GivenItems({Item(1), Item(2)});

    for (const std::string& text : adapter->GetQuirks().uncounted)
        EXPECT_EQ(connection->Execute(text), 0) << text;
}

TEST_P(DatabaseContract, LeavesNoResultOpenBehindAnExecution) {
    GivenItems({Item(1), Item(2)});

    for (int i = 0; i < 3; ++i) connection->Execute("SELECT id FROM items");

    EXPECT_EQ(connection->Execute("DELETE FROM items"), 2);
    EXPECT_NO_THROW(Define("DROP TABLE items"));
}

TEST_P(DatabaseContract, ReadsValuesInTheTypesOfTheirColumns) {
    GivenItems({Item(7, "name", "it's a note", kMoment, 2.5)});

    auto row = Open("SELECT * FROM items");

    EXPECT_EQ(row->Field(0), Value(Long{7}));
    EXPECT_EQ(row->Field(1), Value("name"));
    EXPECT_EQ(row->Field(2), Value("it's a note"));
    EXPECT_EQ(row->Field(3), Value(kMoment));
    EXPECT_EQ(row->Field(4), Value(2.5));
}

TEST_P(DatabaseContract, ReadsMissingValuesAsNull) {
    GivenItems({Item(7)});

    auto row = Open("SELECT * FROM items");

    for (int i = 1; i < 5; ++i) EXPECT_EQ(row->Field(i), Value(Null())) << i;
}

TEST_P(DatabaseContract, TellsTheEmptyTextFromNull) {
    GivenItems({Item(7, "", "")});

    auto row = Open("SELECT * FROM items");

    EXPECT_EQ(row->Field(1), Value(""));
    EXPECT_EQ(row->Field(2), Value(""));
}

TEST_P(DatabaseContract, ReadsOnWhileOtherStatementsRun) {
    GivenItems({Item(1), Item(2), Item(3)});
    Define("CREATE TABLE others (id INTEGER)");
    auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");

    Long sum = 0;
    for (; !all->Eof(); all->MoveNext()) {
        EXPECT_EQ(connection->Execute("INSERT INTO others (id) VALUES (1)"), 1);
        sum += all->Field("id").As<Long>();
    }

    EXPECT_EQ(sum, 6);
}

TEST_P(DatabaseContract, AddedRowsAreThereForTheNextStatement) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    target->AddNew();
    target->SetField(0, Long{1});
    target->Update();

    EXPECT_EQ(connection->Execute("UPDATE items SET name = 'x' WHERE id = 1"), 1);
}

TEST_P(DatabaseContract, DeletesARowOfATableWithoutAKey) {
    GivenItems({});
    Define("CREATE TABLE loose (id INTEGER, name VARCHAR(40), made " + adapter->GetQuirks().momentType + ")");
    connection->Execute("INSERT INTO loose (id, name, made) VALUES (1, 'one', NULL)");
    connection->Execute("INSERT INTO loose (id, name, made) VALUES (2, NULL, '2009-05-07 08:30:15')");
    auto loose = Open("SELECT * FROM loose", CursorType::Keyset, LockType::Optimistic);

    loose->MoveNext();
    loose->Delete();
    loose->Close();

    auto left = Open("SELECT * FROM loose");
    EXPECT_EQ(left->RecordCount(), 1);
    EXPECT_EQ(left->Field("id"), Value(Long{1}));
}

TEST_P(DatabaseContract, RaisesWhatADatabaseSaysOfAFailedStatement) {
    GivenItems({Item(1)});

    try {
        connection->Execute("UPDATE nowhere SET id = 1");
        FAIL() << "the statement went through";
    } catch (const RuntimeError& error) {
        EXPECT_NE(error.number, 0);
        EXPECT_THAT(error.source, Not(IsEmpty()));
        EXPECT_THAT(error.description, HasSubstr("nowhere"));
        ASSERT_THAT(connection->LastErrors(), Not(IsEmpty()));
        EXPECT_EQ(connection->LastErrors().front().description, error.description);
        EXPECT_EQ(connection->LastErrors().front().number, error.number);
        EXPECT_EQ(connection->LastErrors().front().source, error.source);
    }
    EXPECT_EQ(connection->Execute("UPDATE items SET name = 'x'"), 1) << "the connection is of no more use";
}

TEST_P(DatabaseContract, RaisesWhatADatabaseSaysOfAFailedOpening) {
    GivenItems({Item(1)});

    EXPECT_THROW(Open("SELECT * FROM nowhere"), RuntimeError);

    ASSERT_THAT(connection->LastErrors(), Not(IsEmpty()));
    EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("nowhere"));
    EXPECT_EQ(Open("SELECT * FROM items")->RecordCount(), 1);
}

TEST_P(DatabaseContract, RaisesAKeyConflict) {
    GivenItems({Item(1)});

    EXPECT_THROW(connection->Execute("INSERT INTO items (id) VALUES (1)"), RuntimeError);
    EXPECT_THAT(connection->LastErrors(), Not(IsEmpty()));
    EXPECT_EQ(connection->Execute("INSERT INTO items (id) VALUES (2)"), 1);
}

TEST_P(DatabaseContract, KeepsErrorsUntilTheyAreCleared) {
    GivenItems({Item(1)});
    EXPECT_THROW(connection->Execute("UPDATE nowhere SET id = 1"), RuntimeError);

    connection->Execute("UPDATE items SET name = 'x'");
    EXPECT_THAT(connection->LastErrors(), Not(IsEmpty()));
    connection->LastErrors().clear();

    EXPECT_THAT(connection->LastErrors(), IsEmpty());
}

TEST_P(DatabaseContract, KeepsTextsOfAnyScript) {
    GivenItems({Item(1, kUnicode, kUnicode)});

    EXPECT_THAT(Items(), ElementsAre(Item(1, kUnicode, kUnicode)));
    EXPECT_EQ(connection->Execute("UPDATE items SET note = 'x' WHERE name = '" + kUnicode + "'"), 1);
}

TEST_P(DatabaseContract, KeepsLargeTextsThatAStatementHolds) {
    GivenItems({Item(0)});
    for (const std::size_t characters : {1023, 1024, 70000, 300000}) {
        const std::string text = LargeText(characters);
        EXPECT_EQ(connection->Execute("UPDATE items SET note = '" + text + "'"), 1);

        EXPECT_TRUE(Items().at(0).at(2) == Value(text)) << characters;
    }
}

TEST_P(DatabaseContract, KeepsLargeTextsThatAreAdded) {
    GivenItems({});
    const std::string text = LargeText(300000);
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    target->AddNew();
    target->SetField(0, Long{1});
    target->SetField(2, text);
    target->Update();
    target->Close();

    EXPECT_TRUE(Items().at(0).at(2) == Value(text));
}

TEST_P(DatabaseContract, TwoConnectionsSeeEachOthersRows) {
    GivenItems({Item(1)});
    auto second = Connect();

    EXPECT_EQ(second->Execute("INSERT INTO items (id, name) VALUES (2, 'second')"), 1);
    second->Close();

    EXPECT_THAT(Items(), ElementsAre(Item(1), Item(2, "second")));
}

TEST_P(DatabaseContract, TwoConnectionsReadAtOnce) {
    GivenItems({Item(1), Item(2)});
    connection->Close();  // what it wrote is there for others now
    connection = Connect();
    auto second = Connect();

    auto here = Open("SELECT * FROM items");
    auto there = second->CreateRecordset();
    there->Open("SELECT * FROM items", CursorType::ForwardOnly, LockType::ReadOnly);
    here->MoveNext();

    EXPECT_EQ(here->Field(0), Value(Long{2}));
    EXPECT_EQ(there->Field(0), Value(Long{1}));
}

TEST_P(DatabaseContract, RaisesWhenTheDatabaseCannotBeOpened) {
    auto other = adapter->CreateConnection();

    EXPECT_THROW(other->Open(adapter->UnusableConnectionString()), RuntimeError);

    ASSERT_THAT(other->LastErrors(), Not(IsEmpty()));
    EXPECT_THAT(other->LastErrors().front().description, Not(IsEmpty()));
    EXPECT_THROW(other->Execute("SELECT 1"), RuntimeError);
}

TEST_P(DatabaseContract, IsClosedOnceAndForAll) {
    GivenItems({Item(1)});

    connection->Close();

    EXPECT_THROW(connection->Execute("UPDATE items SET name = 'x'"), RuntimeError);
    connection->Close();
    connection->Open(adapter->ConnectionString());
    EXPECT_EQ(connection->Execute("UPDATE items SET name = 'x'"), 1);
}

TEST_P(DatabaseContract, StaysInTheDatabaseThatItIsIn) {
    const std::string before = connection->DefaultDatabase();

    connection->SetDefaultDatabase(before);

    EXPECT_EQ(connection->DefaultDatabase(), before);
}

std::string BatchOf(const Quirks& quirks, int blocks, int failing = 0) {
    std::string batch = quirks.batchHead;
    for (int block = 1; block <= blocks; ++block)
        batch += quirks.block(block == failing ? "nowhere" : "items", block);
    return batch;
}

TEST_P(BatchContract, AddsAndNamesTheItemsOfFifteenBlocks) {
    GivenItems({Item(3, "old"), Item(15, "old")});
    std::vector<std::vector<Value>> after;
    for (int id = 1; id <= 15; ++id) after.push_back(Item(id, "new"));
    const std::string batch = BatchOf(adapter->GetQuirks(), 15);

    EXPECT_NO_THROW(connection->Execute(batch));
    EXPECT_EQ(Items(), after);
    EXPECT_NO_THROW(connection->Execute(batch)) << "the same items a second time";
    EXPECT_EQ(Items(), after);
}

TEST_P(BatchContract, RaisesTheErrorOfAnyBlockAndLeavesNothingOfTheOthers) {
    GivenItems({Item(3, "old")});
    for (int failing = 1; failing <= 3; ++failing) {
        EXPECT_THROW(connection->Execute(BatchOf(adapter->GetQuirks(), 3, failing)), RuntimeError) << failing;
        EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("nowhere"));
        EXPECT_THAT(Items(), ElementsAre(Item(3, "old"))) << failing;
    }
    EXPECT_EQ(connection->Execute("DELETE FROM items"), 1) << "the connection is of no more use";
}

TEST_P(NoBatchContract, RefusesATextOfSeveralStatements) {
    GivenItems({Item(3, "old")});

    EXPECT_THROW(connection->Execute("UPDATE items SET name = 'a' WHERE id = 3; DELETE FROM items"),
                 RuntimeError);

    EXPECT_THAT(Items(), ElementsAre(Item(3, "old")));
}

TEST_P(AnyNameContract, TakesEveryNameForItsDatabase) {
    connection->SetDefaultDatabase("elsewhere");
    EXPECT_EQ(connection->DefaultDatabase(), "elsewhere");
}

TEST_P(OneNameContract, RefusesADatabaseThatItCannotChangeTo) {
    const std::string before = connection->DefaultDatabase();
    EXPECT_THROW(connection->SetDefaultDatabase("elsewhere"), RuntimeError);
    EXPECT_EQ(connection->DefaultDatabase(), before);
}

TEST_P(ServerContract, NamesTheRowOfATextThatIsTooLongForItsColumn) {
    GivenItems({Item(1)});
    const std::string tooLong(41, 'x');

    EXPECT_THAT([&] { connection->Execute("UPDATE items SET name = '" + tooLong + "' WHERE id = 1"); },
                ThrowsMessage<RuntimeError>(HasSubstr("(table items, row id = 1)")));

    EXPECT_EQ(connection->LastErrors().front().sqlState, "22001");
}

TEST_P(ServerContract, ReportsALostConnectionAndCloses) {
    GivenItems({Item(1), Item(2)});
    connection->Commit();
    auto source = Open("SELECT * FROM items");
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);
    target->AddNew();
    target->SetField(0, Long{3});
    target->Update();

    adapter->StopServer();

    EXPECT_THROW(target->Close(), RuntimeError);
    ASSERT_THAT(connection->LastErrors(), Not(IsEmpty()));
    EXPECT_EQ(connection->LastErrors().front().sqlState, "08S01");
    EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("connection"));
    EXPECT_THROW(connection->Execute("UPDATE items SET name = 'x'"), RuntimeError);
    EXPECT_EQ(connection->LastErrors().front().sqlState, "08S01");
    EXPECT_THROW(Open("SELECT * FROM items"), RuntimeError);
    source->Close();
    EXPECT_NO_THROW(connection->Close());
}

}  // namespace
}  // namespace iqrx::testing
