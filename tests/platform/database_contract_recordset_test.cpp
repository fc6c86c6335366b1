// The rows of a recordset: walking, finding fields, adding and deleting.
#include "platform/database_contract.h"
#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::testing {
namespace {

using namespace iqrx::platform;
using ::testing::ElementsAre;
using ::testing::SizeIs;

const Date kMoment = FromCivil({2009, 5, 7, 8, 30, 15});

TEST_P(RecordsetContract, FindsFieldsByNameInAnyCase) {
    GivenItems({Item(7, "name")});

    auto row = Open("SELECT * FROM items");

    EXPECT_EQ(row->Field("name"), Value("name"));
    EXPECT_EQ(row->Field("Id"), Value(Long{7}));
    EXPECT_EQ(row->Field("NAME"), Value("name"));
    EXPECT_THROW(row->Field("nothing"), RuntimeError);
    EXPECT_THROW(row->Field(5), RuntimeError);
    EXPECT_THROW(row->Field(-1), RuntimeError);
}

TEST_P(RecordsetContract, NamesItsFieldsByPosition) {
    GivenItems({});

    EXPECT_THAT(Open("SELECT * FROM items")->FieldNames(), ElementsAre("id", "name", "note", "made", "ratio"));
}

TEST_P(RecordsetContract, AnEmptyRecordsetIsAtBothEnds) {
    GivenItems({});

    auto none = Open("SELECT * FROM items");

    EXPECT_TRUE(none->Bof());
    EXPECT_TRUE(none->Eof());
    EXPECT_EQ(none->RecordCount(), 0);
    EXPECT_THROW(none->Field(0), RuntimeError);
    EXPECT_THROW(none->MoveFirst(), RuntimeError);
}

TEST_P(RecordsetContract, WalksItsRowsForwardToTheEnd) {
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

TEST_P(RecordsetContract, GoesBackToTheFirstRowFromAnyPlace) {
    GivenItems({Item(1), Item(2), Item(3)});
    auto all = Open("SELECT id, name, note, made, ratio FROM items ORDER BY id");

    for (int steps = 0; steps <= 3; ++steps) {
        all->MoveFirst();
        EXPECT_EQ(all->Field(0), Value(Long{1}));
        for (int i = 0; i < steps; ++i) all->MoveNext();
    }

    EXPECT_TRUE(all->Eof());
}

TEST_P(RecordsetContract, KnowsTheCountOfItsRowsInEveryPlace) {
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

TEST_P(RecordsetContract, AddsRowsByPosition) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);

    target->AddNew();
    target->SetField(0, Long{1});
    target->SetField(1, "it's one");
    target->SetField(2, "a note");
    target->SetField(3, kMoment);
    target->SetField(4, 0.125);
    target->Update();
    target->AddNew();
    target->SetField(0, Long{2});
    target->SetField(1, Null());
    target->Update();
    target->Close();

    EXPECT_THAT(Items(), ElementsAre(Item(1, "it's one", "a note", kMoment, 0.125), Item(2)));
}

TEST_P(RecordsetContract, AddsManyRowsWhileItReadsOthers) {
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

TEST_P(RecordsetContract, RefusesToChangeWhatIsOpenForReading) {
    GivenItems({Item(1)});

    auto row = Open("SELECT * FROM items");

    EXPECT_THROW(row->AddNew(), RuntimeError);
    EXPECT_THROW(row->Delete(), RuntimeError);
    EXPECT_THROW(row->Update(), RuntimeError);
    EXPECT_THROW(row->SetField(0, Long{2}), RuntimeError);
    row->Close();
    EXPECT_THAT(Items(), SizeIs(1));
}

TEST_P(RecordsetContract, DeletesTheCurrentRowOnly) {
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

TEST_P(RecordsetContract, IsOfNoUseWhenItIsClosed) {
    GivenItems({Item(1)});
    auto row = Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);

    row->Close();

    EXPECT_THROW(row->RecordCount(), RuntimeError);
    EXPECT_THROW(row->Field(0), RuntimeError);
    EXPECT_THROW(row->MoveNext(), RuntimeError);
    EXPECT_THROW(row->Delete(), RuntimeError);
    EXPECT_THAT(Items(), SizeIs(1));
}

}  // namespace
}  // namespace iqrx::testing
