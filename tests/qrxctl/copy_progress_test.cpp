// How far a copy is, as a log file and somebody who asks are told.
#include "qrxctl/copy_progress.h"

#include <gmock/gmock.h>

#include <sstream>

namespace iqrx::qrxctl {
namespace {

using namespace std::chrono_literals;

class Progress : public ::testing::Test {
protected:
    CopyProgress::Clock::time_point now{};
    platform::watch::RowCounts counts;
    std::ostringstream talk;

    CopyProgress Shown(Showing showing) {
        return {talk, showing, 19, [this] { return now; }};
    }
    std::string Told() {
        const std::string told = talk.str();
        talk.str("");
        return told;
    }
};

TEST_F(Progress, OnAPipeIsALineEveryHalfMinuteForATableThatTakesLong) {
    CopyProgress progress = Shown(Showing::Lines);
    progress.Begin("tssoc200", 10, counts, 10'000'000);
    now += 29'900ms;
    counts.copied = 2'700'000;
    progress.Refresh();
    EXPECT_EQ(Told(), "");
    now += 100ms;
    counts.copied = 2'793'000;
    progress.Refresh();
    EXPECT_EQ(Told(), "tssoc200 2793000 rows, 27 %, 93100/s\n");
    now += 200ms;
    progress.Refresh();
    EXPECT_EQ(Told(), "");
    now += 29'800ms;
    counts.copied = 3'000'000;
    progress.Refresh();
    EXPECT_EQ(Told(), "tssoc200 3000000 rows, 30 %, 50000/s\n");
}

TEST_F(Progress, IsToldAtOnceWhenSomebodyAsks) {
    for (const Showing showing : {Showing::Lines, Showing::Nothing}) {
        CopyProgress progress = Shown(showing);
        counts.copied = 0;
        progress.Begin("tssoc200", 10, counts, 1'000'000);
        now += 5s;
        counts.copied = 412'300;
        progress.Answer();
        EXPECT_EQ(Told(), "tssoc200 412300 rows, 41 %, 82460/s\n");
    }
}

TEST_F(Progress, OfEveryTableUnderWayIsTold) {
    platform::watch::RowCounts others;
    CopyProgress progress = Shown(Showing::Lines);
    progress.Begin("tssoc200", 10, counts, 0);
    progress.Begin("tssoc210", 11, others, 200);
    now += 2s;
    counts.copied = 10;
    others.copied = 100;
    others.waitedSeconds = 4;
    progress.Answer();
    EXPECT_EQ(Told(),
              "tssoc200 10 rows, 5/s\n"
              "tssoc210 100 rows, 50 %, 50/s, waiting 4 s for the database: another program writes\n");
}

TEST_F(Progress, OnATerminalIsToldAboveTheLinesThatAreRewritten) {
    CopyProgress progress = Shown(Showing::Live);
    progress.Begin("tssoc200", 10, counts, 1'000'000);
    now += 5s;
    counts.copied = 412'300;
    progress.Refresh();
    Told();
    progress.Answer();
    EXPECT_EQ(Told(),
              "\x1b[A\x1b[2Ktssoc200 412300 rows, 41 %, 82460/s\n"
              "10/19 tssoc200  412,300 of about 1,000,000 rows  41 %  82,460/s  0:07 left\n");
}

TEST_F(Progress, HasNothingToTellBetweenTables) {
    CopyProgress progress = Shown(Showing::Lines);
    progress.Answer();
    progress.Begin("tssoc200", 10, counts, 0);
    progress.End("tssoc200", "copied 1", 0.1);
    Told();
    progress.Answer();
    EXPECT_EQ(Told(), "");
}

}  // namespace
}  // namespace iqrx::qrxctl
