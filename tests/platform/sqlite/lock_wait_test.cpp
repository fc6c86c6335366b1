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
    std::vector<std::string> told;
    LockWait wait{"/site/local.db", [this](const std::string& text) { told.push_back(text); }};
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

TEST_F(LockWaits, AreToldAfterEachMinuteInOneLineThatNamesTheFile) {
    for (auto waited = 0ms; waited <= 125s; waited += 500ms) wait.GoesOn(start + waited);
    EXPECT_THAT(
        told, ElementsAre("waiting for 60 s for the database, which another program holds: /site/local.db",
                          "waiting for 120 s for the database, which another program holds: /site/local.db"));
}

TEST_F(LockWaits, CountTheirMinutesFromTheirOwnBeginning) {
    wait.GoesOn(start + 50s);
    wait.Begin(start + 55s);
    wait.GoesOn(start + 100s);
    EXPECT_THAT(told, IsEmpty());
}

TEST(LockWait, NeedsNobodyToTell) {
    LockWait wait("local.db", {});
    wait.Begin(LockWait::Moment{});
    EXPECT_TRUE(wait.GoesOn(LockWait::Moment{} + 61s));
}

}  // namespace
}  // namespace iqrx::platform::sqlite
