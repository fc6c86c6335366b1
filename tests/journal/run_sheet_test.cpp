#include "journal/run_sheet.h"

#include <atomic>
#include <thread>
#include <utility>

#include "journal/heartbeat.h"
#include "journal/journal_fixture.h"
#include "journal/timestamp.h"

namespace iqrx::journal {
namespace {

class RunSheetTest : public JournalTest {
protected:
    SheetText Sheet(const std::string& table = "tssoc200") const {
        return {table,  "20261121-103600",           "qrxctl copy --all --full",
                "full", "2026-11-21T10:36:19+01:00", host.self};
    }
    void LeaveASheet(const std::string& text) const {
        Fill(std::filesystem::path("running") / "tssoc200", text);
    }

    std::string SheetFile() const { return Contents(std::filesystem::path("running") / "tssoc200"); }

    StateDirectory state = Open();
    RunSheets sheets{state};
};

TEST_F(RunSheetTest, OfATableThatNobodyCopiesDoesNotExist) {
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Nobody);
    EXPECT_EQ(sheets.StateOf("tssoc200").sheet.table, "tssoc200");
    EXPECT_TRUE(is_empty(state.Sheets()));
}

TEST_F(RunSheetTest, TellsWhoCopiesTheTable) {
    const TakenSheet taken = sheets.Take(Sheet());
    taken.sheet->LockIsTaken();
    EXPECT_EQ(taken.found.holder, Holder::Nobody);
    const SheetState now = sheets.StateOf("tssoc200");
    EXPECT_EQ(now.holder, Holder::Living);
    EXPECT_EQ(now.sheet, Sheet());
    EXPECT_EQ(Contents(std::filesystem::path("running") / "tssoc200"),
              R"({"schema":1,"table":"tssoc200","run":"20261121-103600","program":"qrxctl copy --all --full",)"
              R"("method":"full","since":"2026-11-21T10:36:19+01:00","pid":4711,"user":"anna","host":"sched1",)"
              R"("terminal":"tty1"})"
              "\n");
}

TEST_F(RunSheetTest, KeepsASecondCopyAwayAndTellsItWhoWasFirst) {
    const TakenSheet first = sheets.Take(Sheet());
    first.sheet->LockIsTaken();
    const TakenSheet second = sheets.Take({.table = "tssoc200", .run = "another"});
    EXPECT_EQ(second.sheet, nullptr);
    EXPECT_TRUE(second.InUse());
    EXPECT_EQ(second.found.sheet, Sheet());
    EXPECT_FALSE(sheets.Take(Sheet("tssoc210")).InUse());
}

TEST_F(RunSheetTest, GoesWithTheRun) {
    { const TakenSheet taken = sheets.Take(Sheet()); }
    EXPECT_TRUE(is_empty(state.Sheets()));
    EXPECT_FALSE(sheets.Take(Sheet()).InUse());
}

TEST_F(RunSheetTest, ThatNobodyHoldsWasLeftByADeadProcessOfThisHost) {
    LeaveASheet(R"({"schema":1,"run":"20261121-103600","pid":17552,"host":"sched1"})");
    const SheetState found = sheets.StateOf("tssoc200");
    EXPECT_EQ(found.holder, Holder::Dead);
    EXPECT_EQ(found.sheet.by.pid, 17552);
    const TakenSheet taken = sheets.Take(Sheet());
    EXPECT_EQ(taken.found.holder, Holder::Dead);
    EXPECT_EQ(taken.found.sheet.run, "20261121-103600");
    EXPECT_EQ(sheets.StateOf("tssoc200").sheet, Sheet());
}

TEST_F(RunSheetTest, OfAnotherHostProvesNothing) {
    LeaveASheet(R"({"schema":1,"pid":1,"host":"sched2"})");
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Elsewhere);
    EXPECT_EQ(sheets.Take(Sheet()).found.holder, Holder::Elsewhere);
}

TEST_F(RunSheetTest, ThatIsCutTellsWhatCanBeRead) {
    LeaveASheet(R"({"schema":1,"table":"tssoc200","run":"20261121-103600","program":"qrxctl co)");
    const SheetState found = sheets.StateOf("tssoc200");
    EXPECT_EQ(found.holder, Holder::Dead);
    EXPECT_EQ(found.sheet.run, "20261121-103600");
    EXPECT_EQ(found.sheet.program, "");
}

TEST_F(RunSheetTest, ThatIsEmptyOrNoSheetIsThatOfADeadProcess) {
    for (const char* text :
         {"", "[]", "[{\"run\":\"x\"}]", "garbage", "{\"run\":7,\"pid\":\"x\",\"host\":{}}"}) {
        LeaveASheet(text);
        const SheetState found = sheets.StateOf("tssoc200");
        EXPECT_EQ(found.holder, Holder::Dead) << text;
        EXPECT_EQ(found.sheet, SheetText{.table = "tssoc200"}) << text;
    }
    EXPECT_EQ(sheets.Take(Sheet()).found.holder, Holder::Dead);
}

TEST_F(RunSheetTest, IsPutBackByARunThatNeverHadTheTablesLock) {
    const std::string before = R"({"run":"20261121-103600","pid":17552,"host":"sched1"})";
    LeaveASheet(before);
    { const TakenSheet taken = sheets.Take(Sheet()); }
    EXPECT_EQ(SheetFile(), before);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Dead);
}

TEST_F(RunSheetTest, IsNotPutBackOnceTheLockThatItSpokeOfIsGone) {
    for (const auto& know : {&RunSheet::LockIsFree, &RunSheet::LockIsTaken}) {
        LeaveASheet(R"({"run":"20261121-103600","pid":17552,"host":"sched1"})");
        {
            const TakenSheet taken = sheets.Take(Sheet());
            (*taken.sheet.*know)();
        }
        EXPECT_TRUE(is_empty(state.Sheets()));
    }
}

TEST_F(RunSheetTest, OfAProcessThatEndedBeforeItHadTheLockProvesNothing) {
    std::string waiting, holding;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        waiting = SheetFile();
        taken.sheet->LockIsTaken();
        holding = SheetFile();
    }
    LeaveASheet(waiting);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Nobody);
    EXPECT_EQ(sheets.Take(Sheet()).found.holder, Holder::Nobody);
    LeaveASheet(holding);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Dead);
}

TEST_F(RunSheetTest, ThatTookThePlaceOfADeadOneProvesAsMuch) {
    LeaveASheet(R"({"run":"20261121-103600","pid":17552,"host":"sched1"})");
    std::string waiting;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        waiting = SheetFile();
    }
    LeaveASheet(waiting);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Dead);
}

TEST_F(RunSheetTest, TellsTheLastSignOfItsCopy) {
    const TakenSheet taken = sheets.Take(Sheet());
    taken.sheet->LockIsTaken();
    EXPECT_EQ(sheets.StateOf("tssoc200").sign, std::nullopt);
    for (const std::int64_t rows : {0, 41'200, 999, 1'000'000'000}) {
        const SignOfLife sign{rows, 8012, "2026-11-21T10:36:27+01:00"};
        taken.sheet->Tell(sign);
        const SheetState now = sheets.StateOf("tssoc200");
        EXPECT_EQ(now.holder, Holder::Living);
        EXPECT_EQ(now.sheet, Sheet());
        EXPECT_EQ(now.sign, sign);
    }
    EXPECT_EQ(sheets.Take(Sheet()).found.sign->rows, 1'000'000'000);
}

TEST_F(RunSheetTest, KeepsTheLastSignOfACopyOfAnotherHost) {
    const SignOfLife sign{41'200, 8012, "2026-11-21T10:36:27+01:00"};
    host.self.host = "sched2";
    std::string left;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->Tell(sign);
        left = SheetFile();
    }
    LeaveASheet(left);
    host.self.host = "sched1";
    const SheetState found = sheets.StateOf("tssoc200");
    EXPECT_EQ(found.holder, Holder::Elsewhere);
    EXPECT_EQ(found.sheet.by.host, "sched2");
    EXPECT_EQ(found.sign, sign);
}

// Whoever reads while a sign is written finds some of its bytes new and the others old.
TEST_F(RunSheetTest, NeverShowsASignThatIsHalfWritten) {
    const SignOfLife first{999'999, 8999, "2026-11-21T10:36:59+01:00"};
    const SignOfLife second{1'000'000, 9000, "2026-11-21T10:37:00+01:00"};
    std::string none, before, after;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->LockIsTaken();
        none = SheetFile();
        taken.sheet->Tell(first);
        before = SheetFile();
        taken.sheet->Tell(second);
        after = SheetFile();
    }
    ASSERT_EQ(before.size(), after.size());
    for (std::size_t size = none.size(); size < before.size(); ++size) {
        LeaveASheet(before.substr(0, size));
        EXPECT_EQ(sheets.StateOf("tssoc200").sign, std::nullopt) << size;
    }
    int unclear = 0;
    for (std::size_t written = none.size(); written <= after.size(); ++written)
        for (const auto& [begin, end] : {std::pair(after, before), std::pair(before, after)}) {
            LeaveASheet(begin.substr(0, written) + end.substr(written));
            const SheetState found = sheets.StateOf("tssoc200");
            EXPECT_EQ(found.sheet, Sheet());
            EXPECT_TRUE(!found.sign || found.sign == first || found.sign == second) << found.sign->rows;
            unclear += found.sign ? 0 : 1;
        }
    EXPECT_GT(unclear, 0);
}

TEST_F(RunSheetTest, DoesNotTakeTheSignOfAFormerCopyForItsOwn) {
    const SignOfLife sign{41'200, 8012, "2026-11-21T10:36:27+01:00"};
    std::string own, line;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->LockIsTaken();
        own = SheetFile();
        taken.sheet->Tell(sign);
        line = SheetFile().substr(own.size());
    }
    std::string other = own;
    other.replace(other.find("103600"), 6, "103601");
    LeaveASheet(other + line);
    EXPECT_EQ(sheets.StateOf("tssoc200").sign, std::nullopt);
    LeaveASheet(own + line);
    EXPECT_EQ(sheets.StateOf("tssoc200").sign, sign);
}

TEST_F(RunSheetTest, LosesNothingWhenTheDiskIsFullAsASignIsWritten) {
    const TakenSheet taken = sheets.Take(Sheet());
    taken.sheet->LockIsTaken();
    host.diskIsFull = true;
    taken.sheet->Tell({41'200, 8012, "2026-11-21T10:36:27+01:00"});
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Living);
    EXPECT_EQ(sheets.StateOf("tssoc200").sheet, Sheet());
}

TEST_F(RunSheetTest, IsPutBackWithTheSignThatItHad) {
    const SignOfLife sign{41'200, 8012, "2026-11-21T10:36:27+01:00"};
    std::string before;
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->LockIsTaken();
        taken.sheet->Tell(sign);
        before = SheetFile();
    }
    LeaveASheet(before);
    {
        const TakenSheet taken = sheets.Take({.table = "tssoc200", .run = "another"});
        taken.sheet->Tell({1, 1, "2026-11-21T10:40:00+01:00"});
    }
    EXPECT_EQ(SheetFile(), before);
    EXPECT_EQ(sheets.StateOf("tssoc200").sign, sign);
}

class AHeartbeat : public RunSheetTest {
protected:
    // The rows that the sheet tells, read until it tells as many.
    bool TellsSoon(std::int64_t rows) const {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < end) {
            const auto sign = sheets.StateOf("tssoc200").sign;
            if (sign && sign->rows == rows) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
    }

    std::atomic<std::int64_t> copied{0};
};

TEST_F(AHeartbeat, WritesHowFarTheCopyIsAndForHowLong) {
    const TakenSheet taken = sheets.Take(Sheet());
    const auto begin = std::chrono::steady_clock::now();
    const Heartbeat heartbeat(
        taken.sheet.get(), host, [this] { return copied.load(); }, std::chrono::milliseconds(5));
    EXPECT_TRUE(TellsSoon(0));
    copied = 41'200;
    EXPECT_TRUE(TellsSoon(41'200));
    const SignOfLife sign = sheets.StateOf("tssoc200").sign.value();
    const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(sign.milliseconds, 5);
    EXPECT_LE(static_cast<double>(sign.milliseconds), passed.count());
    EXPECT_TRUE(ParseRfc3339(sign.at)) << sign.at;
    EXPECT_EQ(sign.at.substr(sign.at.size() - 6), "+01:00");
}

TEST_F(AHeartbeat, WritesNothingWithinItsPeriodAndEndsAtOnce) {
    const TakenSheet taken = sheets.Take(Sheet());
    const std::string before = SheetFile();
    const auto begin = std::chrono::steady_clock::now();
    {
        const Heartbeat heartbeat(
            taken.sheet.get(), host, [this] { return copied.load(); }, std::chrono::hours(1));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::minutes(1));
    EXPECT_EQ(SheetFile(), before);
}

TEST_F(AHeartbeat, WithoutASheetIsNone) {
    const Heartbeat heartbeat(
        nullptr, host, [this] { return copied.load(); }, std::chrono::milliseconds(1));
    EXPECT_TRUE(is_empty(state.Sheets()));
}

TEST_F(RunSheetTest, OfANameThatLeavesTheDirectoryIsNotKept) {
    EXPECT_EQ(sheets.Take(Sheet("../tssoc200")).sheet, nullptr);
    EXPECT_FALSE(exists(place / "tssoc200"));
    EXPECT_NE(state.Problem().find("no table has the name ../tssoc200"), std::string::npos) << state.Problem();
}

TEST_F(RunSheetTest, ThatCannotBeLookedAtProvesNothing) {
    create_directory(state.Sheets() / "tssoc200");
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Elsewhere);
    EXPECT_EQ(sheets.Take(Sheet()).sheet, nullptr);
    EXPECT_NE(state.Problem(), "");
}

}  // namespace
}  // namespace iqrx::journal
