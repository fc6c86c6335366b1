#include "platform/posix/machine.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/posix/environment_variable.h"
#include "support/forked_process.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::posix {
namespace {

using iqrx::testing::ForkedProcess;

class HostTest : public ::testing::Test {
protected:
    std::string Contents() const {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::size_t FilesInDirectory() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(directory.path), {}));
    }
    template <class Call>
    static std::string ErrorOf(Call call) {
        try {
            call();
        } catch (const RuntimeError& error) {
            return error.description;
        }
        return "(no error)";
    }

    const testing::TemporaryDirectory directory;
    const std::filesystem::path file = directory.path / "sheet";
    const std::unique_ptr<Host> created = CreateHost();
    Host& host = *created;
};

TEST_F(HostTest, TellsWhoThisProcessIs) {
    std::array<char, 256> name{};
    ASSERT_EQ(gethostname(name.data(), name.size()), 0);
    EXPECT_EQ(host.Self().pid, getpid());
    EXPECT_EQ(host.Self().host, name.data());
    EXPECT_FALSE(host.Self().user.empty());
}

TEST_F(HostTest, LocalTimeIsThatOfTheMomentsOwnSeason) {
    const ScopedVariable tz("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
    tzset();
    const auto at = [](const char* utc) {
        return std::chrono::system_clock::from_time_t(ParseIsoDate(utc)->secondsSince1970);
    };
    EXPECT_EQ(IsoDateTime(host.LocalTime(at("2026-07-01 12:00:00"))), "2026-07-01 14:00:00");
    EXPECT_EQ(IsoDateTime(host.LocalTime(at("2026-12-01 12:00:00"))), "2026-12-01 13:00:00");
}

TEST_F(HostTest, TheOffsetIsPositiveEastOfGreenwichAndNegativeWest) {
    for (const auto& [zone, minutes] : {std::pair{"FAR-5:30", 330}, std::pair{"WEST5", -300}}) {
        const ScopedVariable tz("TZ", zone);
        tzset();
        EXPECT_EQ(host.UtcOffsetMinutes(), minutes) << zone;
    }
}

TEST_F(HostTest, TheUptimeIsTheSystems) {
    double seconds = 0;
    std::ifstream("/proc/uptime") >> seconds;
    EXPECT_NEAR(static_cast<double>(host.Uptime().count()), seconds, 2);
}

TEST_F(HostTest, TheBootIsTheSameUntilTheMachineStartsAnew) {
    EXPECT_EQ(host.Boot().size(), 36U);
    EXPECT_EQ(host.Boot(), CreateHost()->Boot());
}

TEST_F(HostTest, AFileIsHeldByOneOnlyUntilItLetsGo) {
    auto held = host.TryHold(file);
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(host.TryHold(file), nullptr);
    EXPECT_TRUE(host.IsHeld(file));
    held.reset();
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_FALSE(host.IsHeld(file));
    EXPECT_NE(host.TryHold(file), nullptr);
}

TEST_F(HostTest, KnowsWhetherItMadeTheFile) {
    EXPECT_TRUE(host.TryHold(file)->IsNew());
    EXPECT_FALSE(host.TryHold(file)->IsNew());
    EXPECT_EQ(FilesInDirectory(), 1U);
}

TEST_F(HostTest, AskingWhetherAFileIsHeldCreatesNone) {
    EXPECT_FALSE(host.IsHeld(file));
    EXPECT_EQ(FilesInDirectory(), 0U);
}

TEST_F(HostTest, OthersReadAHeldFile) {
    const auto held = host.TryHold(file);
    held->Write("a longer text");
    EXPECT_EQ(Contents(), "a longer text");
    held->Write("short");
    EXPECT_EQ(Contents(), "short");
}

TEST_F(HostTest, ARemovedFileIsGoneAndTheNextOneIsNew) {
    const auto held = host.TryHold(file);
    held->Remove();
    EXPECT_EQ(FilesInDirectory(), 0U);
    EXPECT_TRUE(host.TryHold(file)->IsNew());
}

TEST_F(HostTest, RemovingLeavesAFileThatSomebodyElseHasPutInItsPlace) {
    const auto held = host.TryHold(file);
    std::filesystem::remove(file);
    std::ofstream(file) << "another";
    held->Remove();
    EXPECT_EQ(Contents(), "another");
}

TEST_F(HostTest, AProcessThatIsKilledLetsGo) {
    ForkedProcess other([&](const auto& ready) {
        const auto held = host.TryHold(file);
        held->Write("who");
        ready();
        pause();
    });
    ASSERT_TRUE(other.WaitUntilReady());
    EXPECT_TRUE(host.IsHeld(file));
    EXPECT_EQ(host.TryHold(file), nullptr);
    other.Kill();
    EXPECT_FALSE(host.IsHeld(file));
    EXPECT_EQ(Contents(), "who");
}

TEST_F(HostTest, QuestionsDoNotKeepAnybodyFromHoldingAFile) {
    std::ofstream(file) << "free";
    std::atomic<bool> stop = false;
    std::vector<std::jthread> askers;
    for (int asker = 0; asker < 3; ++asker)
        askers.emplace_back([&] {
            while (!stop) host.IsHeld(file);
        });
    int refused = 0;
    for (int i = 0; i < 2000; ++i) refused += host.TryHold(file) == nullptr ? 1 : 0;
    stop = true;
    EXPECT_EQ(refused, 0);
}

// Each that goes removes the file under the feet of those who wait for it.
TEST_F(HostTest, OnlyOneHoldsAFileThatComesAndGoes) {
    std::atomic<int> inside = 0, together = 0, times = 0;
    {
        std::vector<std::jthread> workers;
        for (int worker = 0; worker < 4; ++worker)
            workers.emplace_back([&] {
                while (times < 2000) {
                    const auto held = host.TryHold(file);
                    if (!held) continue;
                    if (++inside > 1) ++together;
                    std::this_thread::yield();  // long enough to be met inside
                    ++times;
                    --inside;
                    held->Remove();
                }
            });
    }
    EXPECT_EQ(together, 0);
    EXPECT_EQ(FilesInDirectory(), 0U);
}

TEST_F(HostTest, ANewFileIsNeverFoundFree) {
    std::atomic<bool> stop = false;
    std::atomic<int> foundFree = 0;
    std::jthread looker([&] {
        while (!stop) {
            const auto found = host.TryHold(file);
            if (found && !found->IsNew()) ++foundFree;
            if (found) found->Remove();
        }
    });
    for (int i = 0; i < 2000; ++i)
        if (const auto held = host.TryHold(file)) held->Remove();
    stop = true;
    looker.join();
    EXPECT_EQ(foundFree, 0);
}

TEST_F(HostTest, WhatIsNoPlainFileIsNotHeld) {
    std::ofstream(directory.path / "other") << "other";
    std::filesystem::create_symlink(directory.path / "other", file);
    EXPECT_EQ(ErrorOf([&] { host.TryHold(file); }), file.string() + ": it is a link");
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(ErrorOf([&] { host.TryHold(file); }), file.string() + ": it is not a regular file");
    EXPECT_EQ(ErrorOf([&] { host.IsHeld(file); }), file.string() + ": it is not a regular file");
}

TEST_F(HostTest, AMissingDirectoryIsNamedWithItsCause) {
    const auto missing = directory.path / "below" / "sheet";
    EXPECT_EQ(ErrorOf([&] { host.TryHold(missing); }), missing.string() + ": No such file or directory");
    EXPECT_EQ(ErrorOf([&] { host.Replace(missing, "x"); }), missing.string() + ": No such file or directory");
}

TEST_F(HostTest, AReplacedFileKeepsItsPermissions) {
    host.Replace(file, "first");
    EXPECT_EQ(std::filesystem::status(file).permissions() & std::filesystem::perms::others_all,
              std::filesystem::perms::none);
    std::filesystem::permissions(file, std::filesystem::perms{0644});
    host.Replace(file, "second");
    EXPECT_EQ(Contents(), "second");
    EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0644});
    EXPECT_EQ(FilesInDirectory(), 1U);
}

TEST_F(HostTest, AReaderFindsTheOldTextOrTheNewOne) {
    const std::string texts[] = {std::string(100'000, 'a'), std::string(100'000, 'b')};
    host.Replace(file, texts[0]);
    std::jthread writer([&] {
        for (int i = 0; i < 100; ++i) host.Replace(file, texts[i % 2]);
    });
    for (int i = 0; i < 100; ++i) {
        const std::string found = Contents();
        ASSERT_TRUE(found == texts[0] || found == texts[1]) << found.size();
    }
}

TEST_F(HostTest, AFileThatCannotBeReplacedStaysAsItWas) {
    host.Replace(file, "before");
    ForkedProcess other([&](const auto&) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit tiny{10, 10};
        setrlimit(RLIMIT_FSIZE, &tiny);
        const std::string error = ErrorOf([&] { host.Replace(file, "more than ten bytes"); });
        if (error != file.string() + ": File too large") throw std::runtime_error(error);
    });
    EXPECT_EQ(other.Wait(), 0);
    EXPECT_EQ(Contents(), "before");
    EXPECT_EQ(FilesInDirectory(), 1U);
}

}  // namespace
}  // namespace iqrx::platform::posix
