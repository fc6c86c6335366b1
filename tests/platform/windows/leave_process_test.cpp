#include "platform/windows/apartment.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace iqrx::platform::windows {
namespace {

struct Late {
    ~Late() { std::_Exit(98); }
};

TEST(LeavingAProcessDeathTest, KeepsTheExitCodeAndTearsNothingDown) {
    EXPECT_EXIT(
        {
            std::atexit([] { std::_Exit(99); });
            thread_local Late late;
            [[maybe_unused]] const void* used = &late;
            LeaveProcess(2);
        },
        ::testing::ExitedWithCode(2), "");
}

TEST(LeavingAProcessDeathTest, WritesWhatTheStreamsHold) {
    EXPECT_EXIT(
        {
            static char buffer[4096];
            std::setvbuf(stderr, buffer, _IOFBF, sizeof buffer);
            std::fputs("the last words", stderr);
            LeaveProcess(0);
        },
        ::testing::ExitedWithCode(0), "the last words");
}

}  // namespace
}  // namespace iqrx::platform::windows
