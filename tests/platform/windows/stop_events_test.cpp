// What console events come to: one by one, and in a process that is sent them.
#include "platform/windows/machine.h"

#include <gmock/gmock.h>
#include <windows.h>

namespace iqrx::platform::windows {
namespace {

constexpr int kPatience = 5;

class AConsoleEvent : public ::testing::Test {
protected:
    AConsoleEvent() {
        conversation = &own;
        pauses = 0;
        overAfter = kPatience + 1;
    }
    // The process goes on meanwhile, and comes to its end after so many pauses.
    static void Pause() { conversation->isOver = ++pauses >= overAfter; }
    bool Take(unsigned long event) { return TakeConsoleEvent(own, event, Pause, kPatience); }

    StopConversation own;
    inline static StopConversation* conversation = nullptr;
    inline static int pauses = 0, overAfter = 0;
};

TEST_F(AConsoleEvent, OfAKeyAsksAndReturnsAtOnce) {
    EXPECT_TRUE(Take(CTRL_C_EVENT));
    EXPECT_STREQ(own.askedBy, "Ctrl-C");
    EXPECT_EQ(pauses, 0);
}

TEST_F(AConsoleEvent, OfAKeyThatComesAgainIsLeftToTheSystem) {
    EXPECT_TRUE(Take(CTRL_C_EVENT));
    EXPECT_FALSE(Take(CTRL_BREAK_EVENT));
    EXPECT_STREQ(own.askedBy, "Ctrl-C");
}

TEST_F(AConsoleEvent, OfTheEndAsksBeforeItWaitsForTheProcessToComeToItsEnd) {
    overAfter = 3;
    EXPECT_TRUE(Take(CTRL_CLOSE_EVENT));
    EXPECT_STREQ(own.askedBy, "close");
    EXPECT_EQ(pauses, 3);
}

TEST_F(AConsoleEvent, OfTheEndWaitsAlsoAfterAKey) {
    overAfter = 2;
    Take(CTRL_C_EVENT);
    EXPECT_TRUE(Take(CTRL_SHUTDOWN_EVENT));
    EXPECT_STREQ(own.askedBy, "Ctrl-C");
    EXPECT_EQ(pauses, 2);
}

TEST_F(AConsoleEvent, OfTheEndDoesNotWaitForever) {
    EXPECT_TRUE(Take(CTRL_LOGOFF_EVENT));
    EXPECT_STREQ(own.askedBy, "logoff");
    EXPECT_EQ(pauses, kPatience);
}

TEST_F(AConsoleEvent, ThatIsUnknownIsLeftToTheSystem) {
    EXPECT_FALSE(Take(77));
    EXPECT_EQ(own.askedBy, nullptr);
}

// In a console of its own, so that nobody else is sent the event.
DWORD ExitCodeOfChild(const std::string& argument) {
    std::string line = "\"" IQRX_CONSOLE_CHILD "\" " + argument;
    STARTUPINFOA start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION child{};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, CREATE_NEW_CONSOLE, nullptr, nullptr,
                        &start, &child))
        return GetLastError();
    constexpr DWORD kPatienceMilliseconds = 30'000;
    WaitForSingleObject(child.hProcess, kPatienceMilliseconds);
    DWORD code = 0;
    GetExitCodeProcess(child.hProcess, &code);
    CloseHandle(child.hThread);
    CloseHandle(child.hProcess);
    return code;
}

TEST(ACtrlBreak, AsksAProcessToStop) { EXPECT_EQ(ExitCodeOfChild("once"), 42u); }

TEST(ACtrlBreak, EndsAProcessAtOnceWhenItComesAgain) {
    // Wine's own handler ends it with 0.
    EXPECT_THAT(ExitCodeOfChild("twice"), ::testing::AnyOf(0u, static_cast<DWORD>(STATUS_CONTROL_C_EXIT)));
}

}  // namespace
}  // namespace iqrx::platform::windows
