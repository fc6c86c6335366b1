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
using ::testing::SizeIs;

const Date kMoment = FromCivil({2009, 5, 7, 8, 30, 15});
const std::string kUnicode = "Z\u00fcrich, \u6771\u4eac, \U0001F600\U0001D518, \u0130\u0131";

std::vector<Value> Item(Long id, const Value& name = Null(), const Value& note = Null(),
                        const Value& made = Null(), const Value& ratio = Null()) {
    return {id, name, note, made, ratio};
}

// Text in which every second character needs two UTF-16 units, so that pieces of any size split one.
std::string LargeText(std::size_t characters) {
    std::string text = "-";
    for (std::size_t i = 0; i < characters / 2; ++i) text += "\U0001F600x";
    return text;
}

TEST_P(DatabaseContract, CountsTheRowsThatAStatementAffected) {
    GivenItems({Item(1, "a"), Item(2, "a"), Item(3, "b")});

    EXPECT_EQ(Execute("UPDATE items SET note = 'x' WHERE name = 'a'", 2), 2);
    EXPECT_EQ(Execute("UPDATE items SET note = 'x' WHERE name = 'c'", 0), 0);
    EXPECT_EQ(Execute("INSERT INTO items (id, name) VALUES (4, 'd')", 1), 1);
    EXPECT_EQ(Execute("DELETE FROM items WHERE id > 1", 3), 3);
    EXPECT_EQ(Execute("DELETE FROM items WHERE id > 1", 0), 0);
}

TEST_P(DatabaseContract, CountsNothingWhereAStatementHasNoCount) {
    GivenItems({Item(1), Item(2)});

    for (const std::string& text : adapter->GetQuirks().uncounted) EXPECT_EQ(Execute(text, 0), 0) << text;
}

TEST_P(DatabaseContract, LeavesNoResultOpenBehindAnExecution) {
    GivenItems({Item(1), Item(2)});

    for (int i = 0; i < 3; ++i) Execute("SELECT id FROM items", 0);

    EXPECT_EQ(Execute("DELETE FROM items", 2), 2);
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

TEST_P(DatabaseContract, FindsFieldsByNameInAnyCase) {
    GivenItems({Item(7, "name")});

    auto row = Open("SELECT * FROM items");

    EXPECT_EQ(row->Field("name"), Value("name"));
    EXPECT_EQ(row->Field("Id"), Value(Long{7}));
    EXPECT_EQ(row->Field("NAME"), Value("name"));
    EXPECT_THROW(row->Field("nothing"), RuntimeError);
    EXPECT_THROW(row->Field(5), RuntimeError);
    EXPECT_THROW(row->Field(-1), RuntimeError);
}

TEST_P(DatabaseContract, AnEmptyRecordsetIsAtBothEnds) {
    GivenItems({});

    auto none = Open("SELECT * FROM items");

    EXPECT_TRUE(none->Bof());
    EXPECT_TRUE(none->Eof());
    EXPECT_EQ(none->RecordCount(), 0);
    EXPECT_THROW(none->Field(0), RuntimeError);
    EXPECT_THROW(none->MoveFirst(), RuntimeError);
}

TEST_P(DatabaseContract, WalksItsRowsForwardToTheEnd) {
    GivenItems({Item(1), Item(2), Item(3)});

    auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");

    for (Long id = 1; id <= 3; ++id, all->MoveNext()) {
        ASSERT_FALSE(all->Eof());
        EXPECT_FALSE(all->Bof());
        EXPECT_EQ(all->Field(0), Value(id));
    }
    EXPECT_TRUE(all->Eof());
    EXPECT_THROW(all->Field(0), RuntimeError);
    EXPECT_THROW(all->MoveNext(), RuntimeError);
}

TEST_P(DatabaseContract, GoesBackToTheFirstRowFromAnyPlace) {
    GivenItems({Item(1), Item(2), Item(3)});
    auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");

    for (int steps = 0; steps <= 3; ++steps) {
        all->MoveFirst();
        EXPECT_EQ(all->Field(0), Value(Long{1}));
        for (int i = 0; i < steps; ++i) all->MoveNext();
    }

    EXPECT_TRUE(all->Eof());
}

TEST_P(DatabaseContract, KnowsTheCountOfItsRowsInEveryPlace) {
    GivenItems({Item(1), Item(2), Item(3)});

    auto untouched = Open("SELECT * FROM items");
    EXPECT_EQ(untouched->RecordCount(), 3);
    EXPECT_EQ(untouched->Field(0), Value(Long{1}));

    auto walked = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");
    walked->MoveNext();
    EXPECT_EQ(walked->RecordCount(), 3);
    EXPECT_EQ(walked->Field(0), Value(Long{2}));
    walked->MoveNext();
    walked->MoveNext();
    EXPECT_TRUE(walked->Eof());
    EXPECT_EQ(walked->RecordCount(), 3);
}

TEST_P(DatabaseContract, ReadsOnWhileOtherStatementsRun) {
    GivenItems({Item(1), Item(2), Item(3)});
    Define("CREATE TABLE others (id INTEGER)");
    auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");

    Long sum = 0;
    for (; !all->Eof(); all->MoveNext()) {
        EXPECT_EQ(Execute("INSERT INTO others (id) VALUES (1)", 1), 1);
        sum += all->Field("id").As<Long>();
    }

    EXPECT_EQ(sum, 6);
}

TEST_P(DatabaseContract, AddsRowsByPosition) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    target->AddNew();
    target->SetField(0, Long{1});
    target->SetField(1, "it's one");
    target->SetField(2, kUnicode);
    target->SetField(3, kMoment);
    target->SetField(4, 0.125);
    target->Update();
    target->AddNew();
    target->SetField(0, Long{2});
    target->SetField(1, Null());
    target->Update();
    target->Close();

    EXPECT_THAT(Items(), ElementsAre(Item(1, "it's one", kUnicode, kMoment, 0.125), Item(2)));
}

TEST_P(DatabaseContract, AddsManyRowsWhileItReadsOthers) {
    constexpr Long kRows = 1234;
    GivenItems({Item(kRows + 1), Item(kRows + 2)});
    auto source = Open("SELECT * FROM items", CursorType::ForwardOnly, LockType::Optimistic);
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    for (Long id = 1; id <= kRows; ++id) {
        target->AddNew();
        target->SetField(0, id);
        target->SetField(3, id % 2 ? Value(AddMinutes(kMoment, id)) : Value(Null()));
        target->Update();
    }
    source->Close();
    target->Close();

    auto all = Open("SELECT * FROM items");
    EXPECT_EQ(all->RecordCount(), kRows + 2);
}

TEST_P(DatabaseContract, AddedRowsAreThereForTheNextStatement) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    target->AddNew();
    target->SetField(0, Long{1});
    target->Update();

    EXPECT_EQ(Execute("UPDATE items SET name = 'x' WHERE id = 1", 1), 1);
}

TEST_P(DatabaseContract, RefusesToChangeWhatIsOpenForReading) {
    GivenItems({Item(1)});

    auto row = Open("SELECT * FROM items");

    EXPECT_THROW(row->AddNew(), RuntimeError);
    EXPECT_THROW(row->Delete(), RuntimeError);
    EXPECT_THROW(row->Update(), RuntimeError);
    EXPECT_THROW(row->SetField(0, Long{2}), RuntimeError);
    row->Close();
    EXPECT_THAT(Items(), SizeIs(1));
}

TEST_P(DatabaseContract, DeletesTheCurrentRowAlone) {
    GivenItems({Item(1), Item(2, "it's", "note", kMoment, 0.1), Item(3)});
    auto all = Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);
    all->MoveNext();
    EXPECT_EQ(all->Field(0), Value(Long{2}));

    all->Delete();

    EXPECT_THROW(all->Field(0), RuntimeError);
    all->MoveNext();
    EXPECT_EQ(all->Field(0), Value(Long{3}));
    all->Close();
    EXPECT_THAT(Items(), ElementsAre(Item(1), Item(3)));
}

TEST_P(DatabaseContract, DeletesARowOfATableWithoutAKey) {
    GivenItems({});
    Define("CREATE TABLE loose (id INTEGER, name VARCHAR(40), made " + adapter->GetQuirks().momentType + ")");
    Execute("INSERT INTO loose (id, name, made) VALUES (1, 'one', NULL)", 1);
    Execute("INSERT INTO loose (id, name, made) VALUES (2, NULL, '2009-05-07 08:30:15')", 1);
    const auto rows = std::make_shared<Rows>(
        Rows{{"id", "name", "made"}, {{Long{1}, "one", Null()}, {Long{2}, Null(), kMoment}}});
    adapter->Tell("SELECT * FROM loose", OpenAnswer(rows));
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
        Execute("UPDATE nowhere SET id = 1", RuntimeError{kDatabaseError, "fake", "no table nowhere"});
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
    EXPECT_EQ(Execute("UPDATE items SET name = 'x'", 1), 1) << "the connection is of no more use";
}

TEST_P(DatabaseContract, RaisesWhatADatabaseSaysOfAFailedOpening) {
    GivenItems({Item(1)});
    adapter->Tell("SELECT * FROM nowhere",
                  OpenAnswer(RuntimeError{kDatabaseError, "fake", "no table nowhere"}));

    EXPECT_THROW(Open("SELECT * FROM nowhere"), RuntimeError);

    ASSERT_THAT(connection->LastErrors(), Not(IsEmpty()));
    EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("nowhere"));
    EXPECT_EQ(Open("SELECT * FROM items")->RecordCount(), 1);
}

TEST_P(DatabaseContract, RaisesAKeyConflict) {
    GivenItems({Item(1)});

    EXPECT_THROW(Execute("INSERT INTO items (id) VALUES (1)", RuntimeError{kDatabaseError, "fake", "key 1"}),
                 RuntimeError);
    EXPECT_THAT(connection->LastErrors(), Not(IsEmpty()));
    EXPECT_EQ(Execute("INSERT INTO items (id) VALUES (2)", 1), 1);
}

TEST_P(DatabaseContract, KeepsErrorsUntilTheyAreCleared) {
    GivenItems({Item(1)});
    EXPECT_THROW(Execute("UPDATE nowhere SET id = 1", RuntimeError{kDatabaseError, "fake", "nowhere"}),
                 RuntimeError);

    Execute("UPDATE items SET name = 'x'", 1);
    EXPECT_THAT(connection->LastErrors(), Not(IsEmpty()));
    connection->LastErrors().clear();

    EXPECT_THAT(connection->LastErrors(), IsEmpty());
}

TEST_P(DatabaseContract, KeepsTextsOfAnyScript) {
    GivenItems({Item(1, kUnicode, kUnicode)});

    EXPECT_THAT(Items(), ElementsAre(Item(1, kUnicode, kUnicode)));
    EXPECT_EQ(Execute("UPDATE items SET note = 'x' WHERE name = '" + kUnicode + "'", 1), 1);
}

TEST_P(DatabaseContract, KeepsLargeTextsThatAStatementHolds) {
    for (const std::size_t characters : {1023, 1024, 70000, 300000}) {
        const std::string text = LargeText(characters);
        if (characters == 1023) GivenItems({Item(0)});
        items->rows = {Item(0, Null(), text)};
        EXPECT_EQ(Execute("UPDATE items SET note = '" + text + "'", 1), 1);

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

TEST_P(DatabaseContract, RunsBatchesOfFifteenBlocksOrRefusesThem) {
    GivenItems({Item(3, "old"), Item(15, "old")});
    const auto before = Items();
    const Quirks& quirks = adapter->GetQuirks();
    if (!quirks.block) {
        EXPECT_THROW(connection->Execute("UPDATE items SET name = 'a' WHERE id = 3; DELETE FROM items"),
                     RuntimeError);
        EXPECT_EQ(Items(), before);
        return;
    }
    std::string batch = quirks.batchHead;
    items->rows.clear();
    for (int id = 1; id <= 15; ++id) {
        batch += quirks.block("items", id);
        items->rows.push_back(Item(id, "new"));
    }

    const auto after = items->rows;
    EXPECT_NO_THROW(Execute(batch, 1));
    EXPECT_EQ(Items(), after);
    EXPECT_NO_THROW(Execute(batch, 1)) << "the same items a second time";
    EXPECT_EQ(Items(), after);
}

TEST_P(DatabaseContract, RaisesTheErrorOfAnyBlockOfABatch) {
    GivenItems({});
    const Quirks& quirks = adapter->GetQuirks();
    if (!quirks.block) return;

    for (int failing = 1; failing <= 3; ++failing) {
        std::string batch = quirks.batchHead;
        for (int block = 1; block <= 3; ++block)
            batch += quirks.block(block == failing ? "nowhere" : "items", block);
        EXPECT_THROW(Execute(batch, RuntimeError{kDatabaseError, "fake", "no table nowhere"}), RuntimeError)
            << "block " << failing;
        EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("nowhere"));
    }
}

TEST_P(DatabaseContract, TwoConnectionsSeeEachOthersRows) {
    GivenItems({Item(1)});
    auto second = Connect();

    const std::string text = "INSERT INTO items (id, name) VALUES (2, 'second')";
    adapter->Tell(text, ExecuteAnswer([&] {
                      items->rows.push_back(Item(2, "second"));
                      return 1;
                  }));
    EXPECT_EQ(second->Execute(text), 1);
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

TEST_P(DatabaseContract, ReadsBackTheDefaultDatabase) {
    const std::string before = connection->DefaultDatabase();
    connection->SetDefaultDatabase(before);
    EXPECT_EQ(connection->DefaultDatabase(), before);

    if (adapter->GetQuirks().anyDatabase) {
        connection->SetDefaultDatabase("elsewhere");
        EXPECT_EQ(connection->DefaultDatabase(), "elsewhere");
    } else {
        EXPECT_THROW(connection->SetDefaultDatabase("elsewhere"), RuntimeError);
        EXPECT_EQ(connection->DefaultDatabase(), before);
    }
}

TEST_P(DatabaseContract, RaisesWhenTheDatabaseCannotBeOpened) {
    adapter->Tell("", ExecuteAnswer(0));
    auto other = adapter->CreateConnection();

    EXPECT_THROW(other->Open(adapter->UnusableConnectionString()), RuntimeError);

    ASSERT_THAT(other->LastErrors(), Not(IsEmpty()));
    EXPECT_THAT(other->LastErrors().front().description, Not(IsEmpty()));
    EXPECT_THROW(other->Execute("SELECT 1"), RuntimeError);
}

TEST_P(DatabaseContract, IsClosedOnceAndForAll) {
    GivenItems({Item(1)});
    auto row = Open("SELECT * FROM items");
    row->Close();
    EXPECT_THROW(row->RecordCount(), RuntimeError);

    connection->Close();

    EXPECT_THROW(connection->Execute("UPDATE items SET name = 'x'"), RuntimeError);
    connection->Close();
    connection->Open(adapter->ConnectionString());
    EXPECT_EQ(Execute("UPDATE items SET name = 'x'", 1), 1);
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
