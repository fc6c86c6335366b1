#include "platform/sqlite/lock_wait.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace iqrx::platform::sqlite {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

struct LockWaits : testing::Test {
    LockWaits() { wait.Begin(start); }

    const LockWait::Moment start{};
    std::vector<long> heard;
    bool goesOn = true;
    LockWait wait{"/site/local.db", [this](std::chrono::seconds waited, const std::filesystem::path& file) {
                      EXPECT_EQ(file, "/site/local.db");
                      heard.push_back(static_cast<long>(waited.count()));
                      return goesOn;
                  }};
};

TEST_F(LockWaits, WithoutALimitGoOnForDays) {
    EXPECT_TRUE(wait.GoesOn(start));
    EXPECT_TRUE(wait.GoesOn(start + 72h));
}

TEST_F(LockWaits, EndAtTheirLimit) {
    wait.SetLimit(5s);
    EXPECT_TRUE(wait.GoesOn(start + 4999ms));
    EXPECT_FALSE(wait.GoesOn(start + 5s));
    wait.SetLimit(0s);
    EXPECT_TRUE(wait.GoesOn(start + 5s));
}

TEST_F(LockWaits, AreHeardOfAfterThreeSecondsAndEachSecondThen) {
    for (auto waited = 0ms; waited <= 6s; waited += 500ms) EXPECT_TRUE(wait.GoesOn(start + waited));
    EXPECT_THAT(heard, ElementsAre(3, 4, 5, 6));
}

TEST_F(LockWaits, AreHeardOfOnceAfterAPauseOfTheMachine) {
    wait.GoesOn(start + 2s);
    wait.GoesOn(start + 100s);
    wait.GoesOn(start + 100500ms);
    wait.GoesOn(start + 101s);
    EXPECT_THAT(heard, ElementsAre(100, 101));
}

TEST_F(LockWaits, EndWhenTheListenerSaysSo) {
    goesOn = false;
    EXPECT_TRUE(wait.GoesOn(start + 2999ms));
    EXPECT_FALSE(wait.GoesOn(start + 3s));
}

TEST_F(LockWaits, CountFromTheirOwnBeginning) {
    wait.GoesOn(start + 2s);
    wait.Begin(start + 2500ms);
    wait.GoesOn(start + 5s);
    EXPECT_THAT(heard, IsEmpty());
    wait.GoesOn(start + 5500ms);
    EXPECT_THAT(heard, ElementsAre(3));
}

struct LinesOfWaits : testing::Test {
    void Wait(std::chrono::seconds from, std::chrono::seconds to) {
        for (auto waited = from; waited <= to; ++waited) EXPECT_TRUE(listener(waited, "/site/local.db"));
    }
    std::vector<std::string> told;
    const WaitListener listener = TellingEachMinute([this](const std::string& text) { told.push_back(text); });
};

TEST_F(LinesOfWaits, TellAfterEachMinuteAndNameTheFile) {
    Wait(3s, 125s);
    EXPECT_THAT(
        told, ElementsAre("waiting for 60 s for the database, which another program holds: /site/local.db",
                          "waiting for 120 s for the database, which another program holds: /site/local.db"));
}

TEST_F(LinesOfWaits, BeginAnewWithEachWait) {
    Wait(3s, 70s);
    Wait(3s, 59s);
    EXPECT_EQ(told.size(), 1u);
    Wait(60s, 61s);
    EXPECT_EQ(told.size(), 2u);
}

TEST(LockWait, NeedsNobodyToTell) {
    LockWait wait("local.db", {});
    wait.Begin(LockWait::Moment{});
    EXPECT_TRUE(wait.GoesOn(LockWait::Moment{} + 61s));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
