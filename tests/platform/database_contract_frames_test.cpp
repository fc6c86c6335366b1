// Commit, units and exclusive sections: what stands or falls together, and what others see of it.
#include <array>
#include <barrier>
#include <future>
#include <stdexcept>

#include "platform/conversions.h"
#include "platform/database_contract.h"

namespace iqrx::testing {
namespace {

using namespace iqrx::platform;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::ThrowsMessage;

TEST_P(FrameContract, CommitKeepsWhatWasReportedDone) {
    GivenItems({});
    connection->Execute(Insert(1));

    connection->Commit();

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
}

TEST_P(FrameContract, CommitKeepsRowsThatWereAdded) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);
    target->AddNew();
    target->SetField(0, Long{1});
    target->Update();

    connection->Commit();

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
}

TEST_P(FrameContract, AnExclusiveSectionIsKeptWhenItReturns) {
    GivenItems({});
    connection->Execute(Insert(1));

    connection->RunExclusively([&] { connection->Execute(Insert(2)); });

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 2));
}

TEST_P(FrameContract, AnExclusiveSectionFindsAndKeepsRowsThatItAdds) {
    GivenItems({});

    connection->RunExclusively([&] {
        Add(1);
        EXPECT_EQ(connection->Execute("UPDATE items SET name = 'x' WHERE id = 1"), 1);
        Add(2);
    });

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 2));
}

TEST_P(FrameContract, AFailingExclusiveSectionLeavesNothing) {
    GivenItems({});
    connection->Execute(Insert(1));

    EXPECT_THROW(connection->RunExclusively([&] {
        connection->Execute("UPDATE items SET name = 'changed'");
        connection->Execute(Insert(2));
        Add(3);
        connection->Execute("UPDATE nowhere SET id = 1");
    }),
                 RuntimeError);

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("nowhere"));
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1)) << "what stands before the section is no part of it";
    EXPECT_EQ(Items().at(0).at(1), Value("old"));
    EXPECT_EQ(connection->Execute(Insert(4)), 1) << "the connection is of no more use";
    connection->Commit();
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 4));
}

TEST_P(FrameContract, AnExclusiveSectionRaisesWhatItsWorkRaisedAndRunsItOnce) {
    GivenItems({});
    int runs = 0;

    EXPECT_THROW(connection->RunExclusively([&] {
        ++runs;
        connection->Execute(Insert(1));
        throw std::logic_error("the work's own");
    }),
                 std::logic_error);

    EXPECT_EQ(runs, 1);
    EXPECT_THAT(KeysThatOthersSee(), IsEmpty());
}

TEST_P(FrameContract, RowsThatWaitBeforeAFailingExclusiveSectionAreNoPartOfIt) {
    GivenItems({});
    auto target = Open("SELECT * FROM items WHERE 1=0", CursorType::Keyset, LockType::Optimistic);
    target->AddNew();
    target->SetField(0, Long{1});
    target->Update();

    EXPECT_THROW(connection->RunExclusively([] { throw std::logic_error("the work's own"); }),
                 std::logic_error);
    target->Close();
    connection->Commit();

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
}

// What keeps two processes off the same table: a row is tested, and set when it is free. One that is not
// there is added. Whether this connection set it.
bool Take(Connection& connection, int row) {
    bool taken = false;
    const std::string where = " WHERE id = " + std::to_string(row);
    connection.RunExclusively([&] {
        const auto rows = connection.CreateRecordset();
        rows->Open("SELECT * FROM items" + where, CursorType::ForwardOnly, LockType::ReadOnly);
        taken = rows->Eof() || ToText(rows->Field("name")) == "free";
        if (!taken || connection.Execute("UPDATE items SET name = 'taken'" + where) > 0) return;
        connection.Execute("INSERT INTO items (id, name) VALUES (" + std::to_string(row) + ", 'taken')");
    });
    return taken;
}

// How many of two connections that try at the same moment take the row.
int TakenByTwo(const std::array<std::unique_ptr<Connection>, 2>& two, int row) {
    std::barrier start(2);
    const auto run = [&](Connection& connection) {
        start.arrive_and_wait();
        return Take(connection, row) ? 1 : 0;
    };
    auto other = std::async(std::launch::async, run, std::ref(*two[1]));
    const int taken = run(*two[0]);
    return taken + other.get();
}

TEST_P(LockContract, OneOfTwoThatTestARowAtTheSameMomentSetsIt) {
    GivenItems({Item(1, "taken")});
    const std::array two{Connect(), Connect()};

    for (int round = 0; round < 200; ++round) {
        connection->Execute("UPDATE items SET name = 'free' WHERE id = 1");
        connection->Commit();
        ASSERT_EQ(TakenByTwo(two, 1), 1) << "round " << round;
    }
}

TEST_P(LockContract, OneOfTwoThatMissARowAtTheSameMomentAddsIt) {
    GivenItems({});
    connection->Commit();
    const std::array two{Connect(), Connect()};

    for (int round = 1; round <= 50; ++round) ASSERT_EQ(TakenByTwo(two, round), 1) << "round " << round;

    EXPECT_THAT(KeysThatOthersSee(), SizeIs(50));
}

TEST_P(UnitContract, AFailingUnitLeavesNothing) {
    GivenItems({Item(1, "old")});
    connection->Commit();

    EXPECT_THROW(connection->RunAsUnit([&] {
        connection->Execute("DELETE FROM items WHERE id = 1");
        Add(2);
        connection->Execute("UPDATE nowhere SET id = 1");
    }),
                 RuntimeError);

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("nowhere"));
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
    EXPECT_EQ(connection->Execute(Insert(3)), 1) << "the connection is of no more use";
    connection->Commit();
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 3));
}

TEST_P(UnitContract, AUnitBeginsWithTheRowThatARecordsetDeletes) {
    GivenItems({Item(1, "old")});
    connection->Commit();

    EXPECT_THROW(connection->RunAsUnit([&] {
        Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic)->Delete();
        connection->Execute("UPDATE nowhere SET id = 1");
    }),
                 RuntimeError);

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
}

TEST_P(UnitContract, AUnitIsNotKeptInParts) {
    GivenItems({});
    connection->Commit();

    connection->RunAsUnit([&] {
        connection->Execute(Insert(1));
        std::this_thread::sleep_for(std::chrono::milliseconds(300));  // longer than a group stays open
        EXPECT_THAT(KeysThatOthersSee(), IsEmpty());
        connection->Execute(Insert(2));
    });
    connection->Commit();

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 2));
}

TEST_P(NoGroupContract, EachWriteIsKeptWhenItIsReportedDone) {
    GivenItems({});

    connection->Execute(Insert(1));
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
    Add(2);
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1, 2));
}

TEST_P(NoUnitContract, EachWriteOfAUnitStandsByItself) {
    GivenItems({});

    EXPECT_THROW(connection->RunAsUnit([&] {
        connection->Execute(Insert(1));
        connection->Execute("UPDATE nowhere SET id = 1");
    }),
                 RuntimeError);

    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(1));
}

// A commit fails where a child has no parent then.
class Families {
public:
    explicit Families(Connection& connection) : connection_(connection) {
        connection.Execute("CREATE TABLE parents (id INTEGER PRIMARY KEY)");
        connection.Execute(
            "CREATE TABLE children (parent INTEGER REFERENCES parents DEFERRABLE INITIALLY DEFERRED)");
    }
    void AddOrphan() { EXPECT_EQ(connection_.Execute("INSERT INTO children (parent) VALUES (99)"), 1); }

private:
    Connection& connection_;
};

void ExpectLoss(Connection& connection, const std::function<void()>& call) {
    connection.LastErrors().clear();
    EXPECT_THAT(call, ThrowsMessage<WritesLost>(HasSubstr("foreign key")));
    ASSERT_FALSE(connection.LastErrors().empty());
    EXPECT_THAT(connection.LastErrors().front().description, HasSubstr("reported done before are lost"));
    EXPECT_THAT(connection.LastErrors().front().sqlState, "23503");
}

TEST_P(LateFailureContract, CommitRaisesThatItsGroupIsLost) {
    GivenItems({});
    connection->Commit();
    Families families(*connection);
    connection->Execute(Insert(1));
    families.AddOrphan();

    ExpectLoss(*connection, [&] { connection->Commit(); });

    EXPECT_THAT(KeysThatOthersSee(), IsEmpty());
    connection->Execute(Insert(2));
    EXPECT_NO_THROW(connection->Commit());
    EXPECT_THAT(KeysThatOthersSee(), ElementsAre(2));
}

TEST_P(LateFailureContract, EveryCallRaisesALossUntilCommitHas) {
    GivenItems({});
    connection->Commit();
    Families families(*connection);
    auto open = Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);
    families.AddOrphan();

    ExpectLoss(*connection, [&] { connection->Execute("CREATE TABLE others (id INTEGER)"); });
    ExpectLoss(*connection, [&] { connection->Execute(Insert(1)); });
    ExpectLoss(*connection, [&] { connection->RunExclusively([] { FAIL() << "on lost writes"; }); });
    ExpectLoss(*connection, [&] { connection->RunAsUnit([] { FAIL() << "on lost writes"; }); });
    ExpectLoss(*connection, [&] { Open("SELECT * FROM items"); });
    ExpectLoss(*connection, [&] { open->RecordCount(); });
    ExpectLoss(*connection, [&] { open->Close(); });
    ExpectLoss(*connection, [&] { connection->Commit(); });

    EXPECT_EQ(connection->Execute(Insert(1)), 1);
}

TEST_P(LateFailureContract, ClosingLeavesALossInTheErrors) {
    Families families(*connection);
    families.AddOrphan();

    EXPECT_NO_THROW(connection->Close());

    ASSERT_FALSE(connection->LastErrors().empty());
    EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("foreign key"));
}

TEST_P(LateFailureContract, AnExclusiveSectionWhoseCommitFailsLeavesNothing) {
    GivenItems({});
    connection->Commit();
    Families families(*connection);

    EXPECT_THAT(
        [&] {
            connection->RunExclusively([&] {
                connection->Execute(Insert(1));
                families.AddOrphan();
            });
        },
        ThrowsMessage<RuntimeError>(HasSubstr("foreign key")));

    EXPECT_THAT(connection->LastErrors().at(0).description, HasSubstr("foreign key"));
    EXPECT_THAT(KeysThatOthersSee(), IsEmpty());
    EXPECT_NO_THROW(connection->Commit()) << "nothing else was lost";
}

TEST_P(LateFailureContract, ALostConnectionLosesItsGroupAndIsToldAtEveryCall) {
    GivenItems({});
    connection->Commit();
    auto open = Open("SELECT * FROM items", CursorType::Keyset, LockType::Optimistic);
    connection->Execute(Insert(1));
    const auto expectLost = [&](const std::function<void()>& call) {
        connection->LastErrors().clear();
        EXPECT_THROW(call(), RuntimeError);
        ASSERT_FALSE(connection->LastErrors().empty());
        EXPECT_EQ(connection->LastErrors().front().sqlState, "08S01");
        EXPECT_THAT(connection->LastErrors().front().description, HasSubstr("connection"));
    };

    adapter->StopServer();

    expectLost([&] { connection->Execute(Insert(2)); });
    expectLost([&] { open->RecordCount(); });
    expectLost([&] { open->Close(); });
    open.reset();
    expectLost([&] { connection->Execute(Insert(2)); });
    expectLost([&] { connection->Commit(); });
    expectLost([&] { connection->Execute(Insert(2)); });
    expectLost([&] { connection->RunExclusively([&] { connection->Execute(Insert(2)); }); });
    EXPECT_NO_THROW(connection->Commit()) << "nothing was reported done since";
    EXPECT_NO_THROW(connection->Close());
}

}  // namespace
}  // namespace iqrx::testing
