// Processes that use one state directory at the same time, and those that end without a word.
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>
#include <thread>

#include "journal/history.h"
#include "journal/journal_fixture.h"
#include "journal/ledger.h"
#include "journal/run_sheet.h"
#include "support/forked_process.h"

namespace iqrx::journal {
namespace {

using iqrx::testing::ForkedProcess;

class ProcessesTest : public JournalTest {
protected:
    using Body = std::function<void(StateDirectory&, int process)>;

    void InProcesses(int count, const Body& body) {
        std::vector<std::unique_ptr<ForkedProcess>> processes;
        for (int process = 0; process < count; ++process)
            processes.push_back(std::make_unique<ForkedProcess>([&, process](const auto&) {
                StateDirectory state = Open();
                body(state, process);
                if (!state.Problem().empty()) throw std::runtime_error(state.Problem());
            }));
        for (const auto& process : processes) EXPECT_EQ(process->Wait(), 0);
    }
    static RunEntry Entry(const std::string& run) {
        return {.run = run, .table = "tssoc200", .ended = "2026-11-21T10:36:19+01:00"};
    }
};

TEST_F(ProcessesTest, NoLineOfTheHistoryIsLostBetweenThem) {
    constexpr int kProcesses = 4, kRuns = 100;
    InProcesses(kProcesses, [](StateDirectory& state, int process) {
        for (int run = 0; run < kRuns; ++run)
            History(state).Append(Entry(std::to_string(process) + "-" + std::to_string(run)));
    });
    StateDirectory state = Open();
    std::set<std::string> runs;
    const Damage damage =
        History(state).ForEach([&](const RunEntry& entry) { return runs.insert(entry.run).second; });
    EXPECT_EQ(runs.size(), std::size_t{kProcesses * kRuns});
    EXPECT_EQ(damage.lines, 0);
}

TEST_F(ProcessesTest, NoLineIsLostByPruningMeanwhile) {
    constexpr int kRuns = 50;
    InProcesses(2, [this](StateDirectory& state, int process) {
        History history(state);
        for (int run = 0; run < kRuns; ++run) {
            if (process == 0) history.Append(Entry("kept" + std::to_string(run)));
            RunEntry old = Entry("old");
            old.ended = "2020-01-01T00:00:00+01:00";
            if (process == 1) history.Append(old);
            if (process == 1) history.Prune({At("2021-01-01 00:00:00"), 60});
        }
    });
    StateDirectory state = Open();
    int kept = 0;
    History(state).ForEach(
        [&](const RunEntry& entry) { return kept += entry.run.starts_with("kept") ? 1 : 0, true; });
    EXPECT_EQ(kept, kRuns);
}

TEST_F(ProcessesTest, NoTwoRunsGetOneId) {
    constexpr int kProcesses = 4, kRuns = 25;
    InProcesses(kProcesses, [this](StateDirectory& state, int) {
        for (int run = 0; run < kRuns; ++run)
            History(state).Append(Entry(History(state).NewRunId(At("10:40:32"))));
    });
    StateDirectory state = Open();
    std::set<std::string> runs;
    History(state).ForEach([&](const RunEntry& entry) { return runs.insert(entry.run), true; });
    EXPECT_EQ(runs.size(), std::size_t{kProcesses * kRuns});
    EXPECT_TRUE(runs.contains("20261121-104032-100"));
}

TEST_F(ProcessesTest, NoEntryOfTheLedgerIsLostBetweenThem) {
    constexpr int kProcesses = 4, kTables = 25;
    InProcesses(kProcesses, [this](StateDirectory& state, int process) {
        Ledger ledger(state);
        for (int table = 0; table < kTables; ++table)
            ledger.ReadInFull(std::to_string(process) + "_" + std::to_string(table), At("10:00:00"),
                              ledger.BeginAt(At("10:00:00")));
    });
    StateDirectory state = Open();
    EXPECT_EQ(Ledger(state).All().size(), std::size_t{kProcesses * kTables});
}

TEST_F(ProcessesTest, ThreadsOfOneProcessDoNotLoseEachOthersEntriesEither) {
    StateDirectory state = Open();
    Ledger ledger(state);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&, thread] {
                for (int table = 0; table < 10; ++table)
                    ledger.ReadInFull(std::to_string(thread) + "_" + std::to_string(table), At("10:00:00"),
                                      ledger.BeginAt(At("10:00:00")));
            });
    }
    EXPECT_EQ(ledger.All().size(), 40U);
    EXPECT_EQ(state.Problem(), "");
}

TEST_F(ProcessesTest, ASheetIsFreeAndSaysWhoItWasWhenItsProcessIsKilled) {
    ForkedProcess copy([&](const auto& ready) {
        StateDirectory state = Open();
        const TakenSheet taken = RunSheets(state).Take({.table = "tssoc200", .run = "killed", .by = host.self});
        taken.sheet->LockIsTaken();
        ready();
        pause();
    });
    ASSERT_TRUE(copy.WaitUntilReady());
    StateDirectory state = Open();
    RunSheets sheets(state);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Living);
    EXPECT_TRUE(sheets.Take({.table = "tssoc200"}).InUse());
    copy.Kill();
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Dead);
    const TakenSheet taken = sheets.Take({.table = "tssoc200"});
    EXPECT_EQ(taken.found.holder, Holder::Dead);
    EXPECT_EQ(taken.found.sheet.run, "killed");
}

TEST_F(ProcessesTest, OnlyOneOfManyThatStartTogetherCopiesTheTable) {
    { const StateDirectory made = Open(); }
    const auto inside = owned.path / "inside";
    InProcesses(4, [&](StateDirectory& state, int) {
        for (int i = 0; i < 200; ++i) {
            const TakenSheet taken = RunSheets(state).Take({.table = "tssoc200"});
            if (!taken.sheet) continue;
            if (taken.found.holder != Holder::Nobody)
                throw std::runtime_error("a living one was taken for dead");
            if (!create_directory(inside)) throw std::runtime_error("two copies at once");
            remove(inside);
        }
    });
}

TEST_F(ProcessesTest, AHistoryThatIsCutByAFullDiskGoesOnWithTheNextRun) {
    ForkedProcess full([&](const auto&) {
        StateDirectory state = Open();
        History(state).Append(Entry("run1"));
        signal(SIGXFSZ, SIG_IGN);
        const auto size = file_size(state.HistoryFile()) + 30;
        const rlimit limit{size, size};
        setrlimit(RLIMIT_FSIZE, &limit);
        History(state).Append(Entry("run2"));
        if (state.Problem().find(PathOf("history.jsonl") + ": File too large") == std::string::npos)
            throw std::runtime_error("unexpected: " + state.Problem());
    });
    EXPECT_EQ(full.Wait(), 0);
    StateDirectory state = Open();
    History(state).Append(Entry("run3"));
    std::vector<std::string> runs;
    const Damage damage =
        History(state).ForEach([&](const RunEntry& entry) { return runs.push_back(entry.run), true; });
    EXPECT_THAT(runs, ::testing::ElementsAre("run1", "run3"));
    EXPECT_EQ(damage.lines, 1);
}

TEST_F(ProcessesTest, WhoMayOnlyReadIsToldSoOnceAndHarmsNothing) {
    StateDirectory state = Open();
    History(state).Append(Entry("run1"));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(owned.path))
        permissions(entry.path(), std::filesystem::perms{entry.is_directory() ? 0755U : 0644U});
    permissions(owned.path, std::filesystem::perms{0755});
    ForkedProcess monitor([&](const auto&) {
        iqrx::testing::GiveUpPrivileges();
        StateDirectory mine = Open();
        if (mine.Problem() != "the state directory cannot be written: " + PathOf("lock") + ": Permission denied")
            throw std::runtime_error(mine.Problem());
        if (RunSheets(mine).Take({.table = "tssoc200"}).InUse()) throw std::runtime_error("in use");
        int runs = 0;
        History(mine).ForEach([&](const RunEntry&) { return ++runs, true; });
        if (runs != 1) throw std::runtime_error("the history was not read");
    });
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST_F(ProcessesTest, AMonitorThatMayOnlyReadSeesWhoCopies) {
    StateDirectory state = Open();
    const TakenSheet taken = RunSheets(state).Take({.table = "tssoc200", .run = "now", .by = host.self});
    permissions(state.Sheets() / "tssoc200", std::filesystem::perms{0644});
    for (const auto& directory : {owned.path, place, state.Sheets()})
        permissions(directory, std::filesystem::perms{0755});
    ForkedProcess monitor([&](const auto&) {
        iqrx::testing::GiveUpPrivileges();
        StateDirectory mine = Open(Use::Reading);
        const SheetState seen = RunSheets(mine).StateOf("tssoc200");
        if (seen.holder != Holder::Living || seen.sheet.run != "now" || !mine.Problem().empty())
            throw std::runtime_error("not seen " + mine.Problem());
    });
    EXPECT_EQ(monitor.Wait(), 0);
}

TEST_F(ProcessesTest, AFifoInThePlaceOfAFileHoldsNobodyUp) {
    StateDirectory state = Open();
    ASSERT_EQ(mkfifo(state.HistoryFile().c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(state.LedgerFile().c_str(), 0600), 0);
    History(state).Append(Entry("run1"));
    EXPECT_THROW(History(state).ForEach([](const RunEntry&) { return true; }), platform::RuntimeError);
    EXPECT_TRUE(Ledger(state).All().empty());
    EXPECT_NE(state.Problem(), "");
}

}  // namespace
}  // namespace iqrx::journal
