#include "journal/history.h"

#include "journal/journal_fixture.h"

namespace iqrx::journal {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class HistoryTest : public JournalTest {
protected:
    static RunEntry Entry(const std::string& run) {
        RunEntry entry;
        entry.run = run;
        entry.table = "tssoc200";
        entry.method = "full";
        entry.program = "qrxctl copy --all --full";
        entry.by = "tty1, anna";
        entry.outcome = "ok";
        entry.began = entry.ended = "2026-11-21T10:36:19+01:00";
        entry.copied = 40;
        entry.removed = 0;
        entry.seconds = 0.05;
        return entry;
    }
    static RunEntry EndedAt(const std::string& run, const std::string& ended) {
        RunEntry entry = Entry(run);
        entry.ended = ended;
        return entry;
    }
    std::vector<std::string> Runs(Damage* damage = nullptr) const {
        std::vector<std::string> runs;
        const Damage found = history.ForEach([&](const RunEntry& entry) {
            runs.push_back(entry.run);
            return true;
        });
        if (damage != nullptr) *damage = found;
        return runs;
    }
    void Cut(std::uintmax_t bytes) const {
        resize_file(state.HistoryFile(), file_size(state.HistoryFile()) - bytes);
    }

    StateDirectory state = Open();
    History history{state};
};

TEST_F(HistoryTest, IsEmptyBeforeTheFirstRun) {
    EXPECT_THAT(Runs(), IsEmpty());
    EXPECT_FALSE(exists(state.HistoryFile()));
}

TEST_F(HistoryTest, ARunIsALineOfJsonWithItsKeysInOrder) {
    history.Append(Entry("20261121-103600"));
    EXPECT_EQ(Contents("history.jsonl"),
              R"({"schema":1,"run":"20261121-103600","table":"tssoc200","method":"full",)"
              R"("program":"qrxctl copy --all --full","by":"tty1, anna","outcome":"ok","cause":"",)"
              R"("began":"2026-11-21T10:36:19+01:00","ended":"2026-11-21T10:36:19+01:00",)"
              R"("copied":40,"removed":0,"rows":null,"seconds":0.05})"
              "\n");
}

TEST_F(HistoryTest, ARunComesBackAsItWasAppended) {
    RunEntry entry = Entry("20261121-103600");
    entry.cause = "line 1\nline 2 \"quoted\" \xC3\xBC";
    entry.seconds = 12;
    history.Append(entry);
    history.ForEach([&](const RunEntry& read) {
        EXPECT_EQ(read, entry);
        return true;
    });
}

TEST_F(HistoryTest, BytesThatAreNotUtf8DoNotLoseTheRun) {
    RunEntry entry = Entry("20261121-103600");
    entry.cause = "B\xFCla";
    history.Append(entry);
    EXPECT_THAT(Runs(), ElementsAre("20261121-103600"));
    EXPECT_EQ(state.Problem(), "");
}

TEST_F(HistoryTest, ALineThatACrashHasCutIsClosedByTheNextRunAndPassedOver) {
    history.Append(Entry("run1"));
    history.Append(Entry("run2"));
    Cut(10);
    Damage damage;
    EXPECT_THAT(Runs(&damage), ElementsAre("run1"));
    EXPECT_THAT(damage.places, ElementsAre(2));
    history.Append(Entry("run3"));
    EXPECT_THAT(Runs(&damage), ElementsAre("run1", "run3"));
    EXPECT_EQ(damage.lines, 1);
}

TEST_F(HistoryTest, ALineThatLacksItsEndOnlyIsRead) {
    history.Append(Entry("run1"));
    Cut(1);
    EXPECT_THAT(Runs(), ElementsAre("run1"));
    history.Append(Entry("run2"));
    EXPECT_THAT(Runs(), ElementsAre("run1", "run2"));
}

TEST_F(HistoryTest, DamagedLinesArePassedOverAndCounted) {
    history.Append(Entry("run1"));
    std::ofstream(state.HistoryFile(), std::ios::app | std::ios::binary)
        << "garbage\n{}\n[]\n\n{\"schema\":2,\"run\":\"x\",\"table\":\"y\"}\n{\"schema\":1,\"run\":\"x\"}\n"
        << std::string(50, '\0') << "\n{\"schema\":1,\"run\":\"run2\",\"table\":\"t\"} more\n";
    history.Append(Entry("run3"));
    Damage damage;
    EXPECT_THAT(Runs(&damage), ElementsAre("run1", "run3"));
    EXPECT_THAT(damage.places, ElementsAre(2, 3, 4, 6, 7, 8, 9));
    EXPECT_EQ(damage.lines, 7);
}

TEST_F(HistoryTest, ManyDamagedLinesAreCountedAndTheFirstTenNamed) {
    for (int i = 0; i < 100; ++i) std::ofstream(state.HistoryFile(), std::ios::app) << "garbage\n";
    Damage damage;
    EXPECT_THAT(Runs(&damage), IsEmpty());
    EXPECT_EQ(damage.lines, 100);
    EXPECT_EQ(damage.places.size(), 10U);
}

TEST_F(HistoryTest, ALineWithoutEndDoesNotFillTheMemory) {
    history.Append(Entry("run1"));
    std::ofstream(state.HistoryFile(), std::ios::app | std::ios::binary) << std::string(5 << 20, 'x') << '\n';
    history.Append(Entry("run2"));
    Damage damage;
    EXPECT_THAT(Runs(&damage), ElementsAre("run1", "run2"));
    EXPECT_GT(damage.lines, 0);
}

TEST_F(HistoryTest, LinesOverTheReadersBufferAreRead) {
    RunEntry entry = Entry("");
    entry.cause = std::string(1000, 'c');
    std::vector<std::string> runs;
    for (int i = 0; i < 3000; ++i) {
        entry.run = "run" + std::to_string(i);
        history.Append(entry);
        runs.push_back(entry.run);
    }
    EXPECT_EQ(Runs(), runs);
}

TEST_F(HistoryTest, ReadingEndsWhenTheReaderHasEnough) {
    history.Append(Entry("run1"));
    history.Append(Entry("run2"));
    int read = 0;
    history.ForEach([&](const RunEntry&) {
        ++read;
        return false;
    });
    EXPECT_EQ(read, 1);
}

TEST_F(HistoryTest, WhichCannotBeReadIsAnErrorThatNamesIt) {
    create_directory(state.HistoryFile());
    try {
        Runs();
        FAIL();
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.description, PathOf("history.jsonl") + ": it is not a regular file");
    }
    history.Append(Entry("run1"));
    EXPECT_NE(state.Problem().find(PathOf("history.jsonl")), std::string::npos) << state.Problem();
}

TEST_F(HistoryTest, RunIdsAreTheLocalTimeAndDifferWithinASecond) {
    EXPECT_EQ(history.NewRunId(At("10:40:32")), "20261121-104032");
    EXPECT_EQ(history.NewRunId(At("10:40:32")), "20261121-104032-2");
    EXPECT_EQ(history.NewRunId(At("10:40:32")), "20261121-104032-3");
    EXPECT_EQ(history.NewRunId(At("10:40:33")), "20261121-104033");
}

TEST_F(HistoryTest, ARunIdIsNotGivenTwiceWhenTheClockWasSetBack) {
    history.Append(Entry(history.NewRunId(At("10:40:32"))));
    history.Append(Entry(history.NewRunId(At("10:40:33"))));
    history.Append(Entry(history.NewRunId(At("11:00:00"))));
    EXPECT_EQ(history.NewRunId(At("10:40:32")), "20261121-104032-2");
    EXPECT_EQ(history.NewRunId(At("10:40:33")), "20261121-104033-2");
    EXPECT_EQ(history.NewRunId(At("11:00:00")), "20261121-110000-2");
}

TEST_F(HistoryTest, ARunIdIsNotGivenTwiceWhenOnlyTheHistoryKnowsIt) {
    history.Append(Entry("20261121-104032"));
    history.Append(Entry("20261121-104032-2"));
    for (const char* text : {"", "garbage\n", "20261121-104032-x\n\n"}) {
        Fill("last-run", text);
        EXPECT_EQ(history.NewRunId(At("10:40:32")), "20261121-104032-3") << text;
    }
}

TEST_F(HistoryTest, PruningRemovesWhatEndedBeforeTheMomentWhateverItsZone) {
    history.Append(EndedAt("old", "2026-11-21T10:00:00+01:00"));
    history.Append(EndedAt("older by its zone", "2026-11-21T10:30:00+02:00"));
    history.Append(EndedAt("at the moment", "2026-11-21T09:30:00+00:00"));
    history.Append(EndedAt("new", "2026-11-21T11:00:00+01:00"));
    const auto pruned = history.Prune({At("10:30:00"), 60});
    EXPECT_EQ(pruned.removed, 2);
    EXPECT_EQ(pruned.kept, 2);
    EXPECT_THAT(Runs(), ElementsAre("at the moment", "new"));
}

TEST_F(HistoryTest, PruningRemovesWhatIsDamagedAmongTheOldAndLeavesItAmongTheNew) {
    std::ofstream(state.HistoryFile()) << "old garbage\n";
    history.Append(EndedAt("new", "2026-11-21T11:00:00+01:00"));
    std::ofstream(state.HistoryFile(), std::ios::app) << "new garbage\n";
    history.Prune({At("10:30:00"), 60});
    Damage damage;
    EXPECT_THAT(Runs(&damage), ElementsAre("new"));
    EXPECT_THAT(damage.places, ElementsAre(2));
}

TEST_F(HistoryTest, PruningThatRemovesNothingWritesNothing) {
    history.Append(Entry("run1"));
    host.diskIsFull = true;
    EXPECT_EQ(history.Prune({At("2020-01-01 00:00:00"), 60}).kept, 1);
    EXPECT_EQ(state.Problem(), "");
}

TEST_F(HistoryTest, PruningThatFailsTellsItAndRemovesNothing) {
    history.Append(Entry("run1"));
    host.diskIsFull = true;
    EXPECT_THROW(history.Prune({At("2027-01-01 00:00:00"), 60}), platform::RuntimeError);
    EXPECT_THAT(Runs(), ElementsAre("run1"));
}

}  // namespace
}  // namespace iqrx::journal
