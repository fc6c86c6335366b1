// Rows that a sweep takes are told before it is sent, as statements that bring them back.
#include <gmock/gmock.h>

#include "platform/date.h"
#include "platform/watch/watched_database.h"
#include "support/recording_database.h"

namespace iqrx::platform::watch {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kSweepOfTypes = "DELETE FROM tsmdm030 WHERE upd_flag = 1";
constexpr const char* kDoomedTypes = "SELECT * FROM tsmdm030 WHERE upd_flag = 1";

struct Sink : RemovedRows {
    std::vector<std::string> told;
    bool isFull = false;
    void Begin(std::string_view table) override { told.push_back("begin " + std::string(table)); }
    void Row(std::string_view statement) override {
        if (isFull) throw RuntimeError(kDeviceIoError, "undo", "No space left on device");
        told.emplace_back(statement);
    }
    void End() override { told.emplace_back("end"); }
};

std::string Moment(Date moment) { return "CONVERT(DATETIME,'" + IsoDateTime(moment) + "',120)"; }

class RowsOfASweep : public ::testing::Test {
protected:
    RowsOfASweep() { connection->Open("x"); }

    testing::RecordingDatabase database;
    Sink sink;
    std::unique_ptr<DatabaseProvider> provider = KeepRemovedRows(database, sink, Moment);
    std::unique_ptr<Connection> connection = provider->CreateConnection("x");
};

TEST_F(RowsOfASweep, AreToldAsInsertsBeforeItIsSent) {
    database.WhenOpened(kDoomedTypes, {{"cstp", "dsca", "UPD_FLAG", "dahe"},
                                       {{std::string("A"), std::string("Owner's"), Long{1}, Integer{2}},
                                        {std::string("B"), Null(), Long{1}, Null()}}});
    connection->Execute(kSweepOfTypes);
    EXPECT_THAT(sink.told,
                ElementsAre("begin tsmdm030",
                            "INSERT INTO tsmdm030(cstp,dsca,UPD_FLAG,dahe) VALUES(N'A',N'Owner''s',0,2)",
                            "INSERT INTO tsmdm030(cstp,dsca,UPD_FLAG,dahe) VALUES(N'B',NULL,0,NULL)", "end"));
    EXPECT_EQ(database.calls.back(), std::string("Execute ") + kSweepOfTypes);
}

TEST_F(RowsOfASweep, KeepNumbersAndMoments) {
    database.WhenOpened(kDoomedTypes,
                        {{"a", "b", "c", "d", "e", "f"},
                         {{0.1, Single{0.1f}, -12.5, 1e20, true, *ParseIsoDate("2026-03-04 05:06:07")}}});
    connection->Execute(kSweepOfTypes);
    EXPECT_EQ(sink.told.at(1),
              "INSERT INTO tsmdm030(a,b,c,d,e,f) VALUES(0.1,0.1,-12.5,1e+20,1,"
              "CONVERT(DATETIME,'2026-03-04 05:06:07',120))");
}

TEST_F(RowsOfASweep, AreNotLookedForWhereNothingWasMarked) {
    database.WhenExecuted("UPDATE tsmdm030 SET upd_flag = 1 ", 0);
    connection->Execute("UPDATE tsmdm030 SET upd_flag = 1 ");
    connection->Execute(kSweepOfTypes);
    EXPECT_THAT(sink.told, IsEmpty());
    EXPECT_THAT(database.calls, Not(Contains(::testing::StartsWith("Open "))));
}

TEST_F(RowsOfASweep, ThatTakesNoneAreNotTold) {
    connection->Execute(kSweepOfTypes);
    EXPECT_THAT(sink.told, IsEmpty());
}

TEST_F(RowsOfASweep, ThatCannotBeKeptStay) {
    sink.isFull = true;
    database.WhenOpened(kDoomedTypes, {{"cstp"}, {{std::string("A")}}});
    EXPECT_THAT([&] { connection->Execute(kSweepOfTypes); },
                ::testing::ThrowsMessage<RuntimeError>("No space left on device"));
    EXPECT_THAT(database.executed, IsEmpty());
}

TEST_F(RowsOfASweep, ThatTheGuardRefusesAreNotTold) {
    RemovalLimits limits;
    std::optional<RefusedRemoval> refused;
    const auto guarded = GuardRemovals(*provider, limits, refused)->CreateConnection("x");
    guarded->Open("x");
    database.WhenOpened(kDoomedTypes, {{"cstp"}, {{std::string("A")}}});
    database.WhenOpened("SELECT count(*) FROM tsmdm030 WHERE upd_flag = 1", {{"n"}, {{Long{1}}}});
    database.WhenOpened("SELECT count(*) FROM tsmdm030", {{"n"}, {{Long{1}}}});
    EXPECT_THROW(guarded->Execute(kSweepOfTypes), RuntimeError);
    EXPECT_TRUE(refused);
    EXPECT_THAT(sink.told, IsEmpty());
}

}  // namespace
}  // namespace iqrx::platform::watch
