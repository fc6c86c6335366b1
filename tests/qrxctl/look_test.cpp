// The tool's own questions about a table, and the connections that they take.
#include "qrxctl/look.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "platform/date.h"
#include "platform/error.h"
#include "support/recording_database.h"
#include "support/test_process.h"

namespace iqrx::qrxctl {
namespace {

using platform::Long;

class ALook : public ::testing::Test {
protected:
    ALook() {
        options.connection = "server";
        database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'",
                            {{"lutm"}, {{platform::ParseIsoDate("2026-11-21 10:50:00").value()}}});
        database.WhenOpened(kRows, {{"count"}, {{Long{5}}}});
    }
    auto Opened() const { return std::ranges::count(database.calls, "OpenConnection server"); }

    static constexpr const char* kRows = "SELECT count(*) FROM tsmdm030";

    testing::TestProcess site;
    testing::RecordingDatabase database;
    Options options;
};

TEST_F(ALook, AsksEverythingOverOneConnectionAndLeavesNoneOpen) {
    {
        Look look(site.process.machine, database, options);
        EXPECT_EQ(Opened(), 0);
        EXPECT_EQ(platform::IsoDateTime(look.LastUpdate("tsmdm030")), "2026-11-21 10:50:00");
        EXPECT_EQ(look.Count(std::string(kRows)), 5);
        EXPECT_EQ(look.Count(std::string(kRows)), 5);
        EXPECT_EQ(Opened(), 1);
        EXPECT_EQ(database.openRecordsets, 0);
    }
    EXPECT_EQ(database.openConnections, 0);
}

TEST_F(ALook, LeavesNoTransactionOpenForTheRequestThatFollows) {
    Look look(site.process.machine, database, options);
    look.LastUpdate("tsmdm030");
    EXPECT_EQ(database.calls.back(), "Commit");
}

TEST_F(ALook, OpensAConnectionOnceMoreThatWasLostDuringTheRequest) {
    Look look(site.process.machine, database, options);
    look.LastUpdate("tsmdm030");
    database.FailStatement(1, {10054, "server", "Connection reset by peer"});
    EXPECT_EQ(look.Count(std::string(kRows)), 5);
    EXPECT_EQ(Opened(), 2);
}

TEST_F(ALook, TellsAFailureOfTheFirstQuestionAtOnceAndMayBeAskedAgain) {
    Look look(site.process.machine, database, options);
    database.FailStatement(1, {208, "server", "Invalid object name"});
    EXPECT_THROW(look.Count(std::string(kRows)), platform::RuntimeError);
    EXPECT_EQ(Opened(), 1);
    EXPECT_EQ(look.Count(std::string(kRows)), 5);
    EXPECT_EQ(Opened(), 2);
}

}  // namespace
}  // namespace iqrx::qrxctl
