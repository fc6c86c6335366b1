#include "platform/windows/machine.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/windows/text.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::windows {
namespace {

constexpr const wchar_t* kHeldFile = L"IQRX_TEST_HELD_FILE";

class WindowsHostTest : public ::testing::Test {
protected:
    std::string Contents() const {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::size_t FilesInDirectory() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory.path), {}));
    }

    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "sheet";
    const std::unique_ptr<Host> created = CreateHost();
    Host& host = *created;
};

// This test program, as a process that holds a file until it is ended.
class Holder {
public:
    explicit Holder(const std::filesystem::path& file) {
        SetEnvironmentVariableW(kHeldFile, file.c_str());
        std::wstring command =
            L"\"" + ProgramFile().native() +
            L"\" --gtest_also_run_disabled_tests --gtest_filter=*DISABLED_HoldsAFileUntilItIsEnded";
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                 &startup, &process_) != 0;
        SetEnvironmentVariableW(kHeldFile, nullptr);
    }
    ~Holder() {
        End();
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    void End() {  // as a crash: nothing of the process runs
        TerminateProcess(process_.hProcess, 1);
        WaitForSingleObject(process_.hProcess, INFINITE);
    }
    bool HasEnded() const { return WaitForSingleObject(process_.hProcess, 0) == WAIT_OBJECT_0; }

    bool started = false;

private:
    PROCESS_INFORMATION process_{};
};

TEST_F(WindowsHostTest, TellsWhoThisProcessIs) {
    EXPECT_EQ(host.Self().pid, static_cast<long>(GetCurrentProcessId()));
    EXPECT_FALSE(host.Self().user.empty());
    EXPECT_FALSE(host.Self().host.empty());
}

TEST_F(WindowsHostTest, LocalTimeIsThatOfTheClock) {
    const auto now = std::chrono::system_clock::now();
    SYSTEMTIME local;
    GetLocalTime(&local);
    const Date clock =
        FromCivil({local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond});
    EXPECT_NEAR(static_cast<double>(host.LocalTime(now).secondsSince1970),
                static_cast<double>(clock.secondsSince1970), 2);
}

TEST_F(WindowsHostTest, TheUptimeGoesOn) {
    const auto before = host.Uptime();
    EXPECT_GT(before.count(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    EXPECT_GT(host.Uptime(), before);
}

TEST_F(WindowsHostTest, TheBootIsTheSameUntilTheMachineStartsAnew) {
    EXPECT_EQ(host.Boot(), CreateHost()->Boot());
}

TEST_F(WindowsHostTest, AFileIsHeldByOneOnlyUntilItLetsGo) {
    auto held = host.TryHold(file);
    ASSERT_NE(held, nullptr);
    EXPECT_TRUE(held->IsNew());
    EXPECT_EQ(host.TryHold(file), nullptr);
    EXPECT_TRUE(host.IsHeld(file));
    held.reset();
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_FALSE(host.IsHeld(file));
    held = host.TryHold(file);
    ASSERT_NE(held, nullptr);
    EXPECT_FALSE(held->IsNew());
    held->Remove();
    EXPECT_EQ(FilesInDirectory(), 0U);
}

TEST_F(WindowsHostTest, AskingWhetherAFileIsHeldCreatesNone) {
    EXPECT_FALSE(host.IsHeld(file));
    EXPECT_FALSE(host.IsHeld(directory.path / "missing" / "sheet"));
    EXPECT_EQ(FilesInDirectory(), 0U);
}

TEST_F(WindowsHostTest, OthersReadAHeldFile) {
    const auto held = host.TryHold(file);
    held->Write("a longer text");
    EXPECT_EQ(Contents(), "a longer text");
    held->Write("short");
    EXPECT_EQ(Contents(), "short");
}

// Not a test: the process that the next one starts.
TEST_F(WindowsHostTest, DISABLED_HoldsAFileUntilItIsEnded) {
    std::wstring name(1000, L'\0');
    name.resize(GetEnvironmentVariableW(kHeldFile, name.data(), static_cast<DWORD>(name.size())));
    if (name.empty()) return;
    const auto held = host.TryHold(name);
    ASSERT_NE(held, nullptr);
    held->Write("who");
    Sleep(INFINITE);
}

TEST_F(WindowsHostTest, AProcessThatIsEndedLetsGo) {
    Holder other(file);
    ASSERT_TRUE(other.started);
    while (Contents() != "who" && !other.HasEnded())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_TRUE(host.IsHeld(file));
    EXPECT_EQ(host.TryHold(file), nullptr);
    other.End();
    EXPECT_FALSE(host.IsHeld(file));
    EXPECT_EQ(Contents(), "who");
}

TEST_F(WindowsHostTest, QuestionsDoNotKeepAnybodyFromHoldingAFile) {
    std::ofstream(file) << "free";
    std::atomic<bool> stop = false;
    std::vector<std::jthread> askers;
    for (int asker = 0; asker < 2; ++asker)
        askers.emplace_back([&] {
            while (!stop) host.IsHeld(file);
        });
    int refused = 0;
    for (int i = 0; i < 200; ++i) refused += host.TryHold(file) == nullptr ? 1 : 0;
    stop = true;
    EXPECT_EQ(refused, 0);
}

TEST_F(WindowsHostTest, OnlyOneHoldsAFileThatComesAndGoes) {
    std::atomic<int> inside = 0, together = 0, times = 0;
    {
        std::vector<std::jthread> workers;
        for (int worker = 0; worker < 3; ++worker)
            workers.emplace_back([&] {
                while (times < 200) {
                    const auto held = host.TryHold(file);
                    if (!held) continue;
                    if (++inside > 1) ++together;
                    ++times;
                    --inside;
                    held->Remove();
                }
            });
    }
    EXPECT_EQ(together, 0);
}

TEST_F(WindowsHostTest, AFileIsReplacedWhileSomebodyReadsIt) {
    const std::string texts[] = {std::string(100'000, 'a'), std::string(100'000, 'b')};
    host.Replace(file, texts[0]);
    std::atomic<bool> failed = false;
    {
        std::jthread writer([&] {
            try {
                for (int i = 0; i < 50; ++i) host.Replace(file, texts[i % 2]);
            } catch (const RuntimeError&) {
                failed = true;
            }
        });
        for (int i = 0; i < 50; ++i) {
            const std::string found = Contents();
            EXPECT_TRUE(found == texts[0] || found == texts[1] || found.empty()) << found.size();
        }
    }
    EXPECT_FALSE(failed);
    EXPECT_EQ(FilesInDirectory(), 1U);
}

TEST_F(WindowsHostTest, AMissingDirectoryIsNamedWithItsCause) {
    const auto missing = directory.path / "below" / "sheet";
    for (const bool hold : {true, false}) try {
            if (hold)
                host.TryHold(missing);
            else
                host.Replace(missing, "x");
            FAIL();
        } catch (const RuntimeError& error) {
            EXPECT_TRUE(error.description.starts_with(Utf8(missing.native()) + ": ")) << error.description;
        }
}

}  // namespace
}  // namespace iqrx::platform::windows
