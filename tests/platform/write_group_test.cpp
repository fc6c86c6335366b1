#include "platform/write_group.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <stdexcept>
#include <string>

namespace iqrx::platform {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

const RuntimeError kDiskFull(13, "test", "disk full");

constexpr auto kLong = 1h;
constexpr auto kPatience = 20s;  // until a test that hangs fails

WriteGroupLimits Limits(std::chrono::milliseconds time, std::int64_t writes, bool timer) {
    WriteGroupLimits limits;
    limits.time = time;
    limits.writes = writes;
    limits.timer = timer;
    return limits;
}

class WriteGroups : public testing::Test {
protected:
    WriteGroup::Action Note(char what) {
        return [this, what] { calls += what; };
    }
    static void Write(WriteGroup& group) {
        const auto turn = group.Lock();
        group.BeforeWrite();
        group.AfterWrite();
    }
    std::string calls;  // b: begun, c: committed
};

TEST_F(WriteGroups, HoldWritesUpToTheirCount) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 3, false));
    for (int i = 0; i < 7; ++i) Write(group);
    EXPECT_EQ(calls, "bcbcb");
}

TEST_F(WriteGroups, EndWithTheWriteAfterWhichTheirTimeIsOver) {
    WriteGroup group(Note('b'), Note('c'), Limits(0ms, 100, false));
    Write(group);
    Write(group);
    EXPECT_EQ(calls, "bcbc");
}

TEST_F(WriteGroups, AreCommittedOnDemandAndOnceOnly) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 100, true));
    const auto turn = group.Lock();
    group.Commit();
    group.BeforeWrite();
    group.AfterWrite();
    group.Commit();
    group.Commit();
    EXPECT_EQ(calls, "bc");
}

TEST_F(WriteGroups, AreNotCommittedWhenTheDatabaseHasGivenThemUp) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 100, false));
    const auto turn = group.Lock();
    group.BeforeWrite();
    group.Abandon(kDiskFull);
    group.Commit();
    EXPECT_EQ(calls, "b");
}

TEST_F(WriteGroups, LoseNothingWhenTheirFirstWriteEndsThem) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 100, false));
    const auto turn = group.Lock();
    group.BeforeWrite();
    group.Abandon(kDiskFull);
    EXPECT_NO_THROW(group.RaiseLoss());
    EXPECT_NO_THROW(group.Settle());
}

TEST_F(WriteGroups, LoseWhatWasReportedDoneWhenTheDatabaseGivesThemUp) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 100, false));
    Write(group);
    const auto turn = group.Lock();
    group.BeforeWrite();
    group.Abandon(kDiskFull);
    EXPECT_THAT([&] { group.RaiseLoss(); }, ThrowsMessage<WritesLost>(HasSubstr("disk full")));
}

TEST_F(WriteGroups, RaiseALossAtEveryCallUntilItIsSettled) {
    WriteGroup group(
        Note('b'), [] { throw kDiskFull; }, Limits(kLong, 2, false));
    Write(group);
    EXPECT_THROW(Write(group), WritesLost);
    const auto turn = group.Lock();
    EXPECT_THROW(group.RaiseLoss(), WritesLost);
    EXPECT_THROW(group.RaiseLoss(), WritesLost);
    EXPECT_THROW(group.Settle(), WritesLost);
    EXPECT_NO_THROW(group.RaiseLoss());
    EXPECT_NO_THROW(group.Settle());
}

TEST_F(WriteGroups, AreCommittedWhenTheyAreSettled) {
    WriteGroup group(Note('b'), Note('c'), Limits(kLong, 100, false));
    Write(group);
    const auto turn = group.Lock();
    group.Settle();
    EXPECT_EQ(calls, "bc");
}

TEST_F(WriteGroups, AreNotCommittedByALimitWhileTheyAreHeld) {
    WriteGroup group(Note('b'), Note('c'), Limits(0ms, 1, false));
    {
        const auto turn = group.Lock();
        group.BeforeWrite();
        group.Hold();
        group.AfterWrite();
    }
    Write(group);
    EXPECT_EQ(calls, "b");
    group.Release();
    Write(group);
    EXPECT_EQ(calls, "bc");
}

TEST_F(WriteGroups, AreNotCommittedByTheTimerWhileTheyAreHeld) {
    WriteGroup group(Note('b'), Note('c'), Limits(1ms, 100, true));
    {
        const auto turn = group.Lock();
        group.BeforeWrite();
        group.Hold();
        group.AfterWrite();
    }
    std::this_thread::sleep_for(50ms);
    const auto turn = group.Lock();
    EXPECT_EQ(calls, "b");
}

TEST_F(WriteGroups, AreNotOpenWhenTheirBeginningFailed) {
    WriteGroup group([] { throw std::runtime_error("locked"); }, Note('c'), Limits(kLong, 100, false));
    const auto turn = group.Lock();
    EXPECT_THROW(group.BeforeWrite(), std::runtime_error);
    EXPECT_FALSE(group.IsOpen());
}

TEST_F(WriteGroups, AreNotOpenWhenTheirCommitFailed) {
    WriteGroup group(
        Note('b'), [] { throw std::runtime_error("full"); }, Limits(kLong, 1, false));
    EXPECT_THROW(Write(group), WritesLost);
    EXPECT_FALSE(group.IsOpen());
}

TEST_F(WriteGroups, AreCommittedInTimeWhenNoFurtherCallComes) {
    std::promise<void> committed;
    WriteGroup group(
        Note('b'), [&] { committed.set_value(); }, Limits(10ms, 100, true));
    Write(group);
    EXPECT_EQ(committed.get_future().wait_for(kPatience), std::future_status::ready);
}

TEST_F(WriteGroups, AreCommittedByABusyWriterItself) {
    const auto writer = std::this_thread::get_id();
    std::atomic<bool> byItself = false;
    WriteGroup group(
        Note('b'),
        [&] {
            if (std::this_thread::get_id() == writer) byItself = true;
        },
        Limits(5ms, std::int64_t{1} << 60, true));
    const auto giveUp = std::chrono::steady_clock::now() + kPatience;
    while (!byItself && std::chrono::steady_clock::now() < giveUp) Write(group);
    EXPECT_TRUE(byItself);
}

TEST_F(WriteGroups, RaiseAtTheNextCallWhatTheTimersCommitLost) {
    std::promise<void> tried;
    WriteGroup group(
        Note('b'),
        [&] {
            tried.set_value();
            throw kDiskFull;
        },
        Limits(10ms, 100, true));
    Write(group);
    ASSERT_EQ(tried.get_future().wait_for(kPatience), std::future_status::ready);
    const auto turn = group.Lock();
    EXPECT_THROW(group.RaiseLoss(), WritesLost);
    EXPECT_THROW(group.Settle(), WritesLost);
}

}  // namespace
}  // namespace iqrx::platform
