#include "journal/run_sheet.h"

#include "journal/journal_fixture.h"

namespace iqrx::journal {
namespace {

using ::testing::ElementsAre;

class RunSheetTest : public JournalTest {
protected:
    SheetText Sheet(const std::string& table = "tssoc200") const {
        return {table,  "20261121-103600",           "qrxctl copy --all --full",
                "full", "2026-11-21T10:36:19+01:00", host.self};
    }
    void LeaveASheet(const std::string& text) const {
        Fill(std::filesystem::path("running") / "tssoc200", text);
    }

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

TEST_F(RunSheetTest, IsPutBackByARunThatFoundTheTableLocked) {
    const std::string before = R"({"run":"20261121-103600","pid":17552,"host":"sched1"})";
    LeaveASheet(before);
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->PutBack();
    }
    EXPECT_EQ(Contents(std::filesystem::path("running") / "tssoc200"), before);
    EXPECT_EQ(sheets.StateOf("tssoc200").holder, Holder::Dead);
}

TEST_F(RunSheetTest, ThatWasNotThereIsNotPutBack) {
    {
        const TakenSheet taken = sheets.Take(Sheet());
        taken.sheet->PutBack();
    }
    EXPECT_TRUE(is_empty(state.Sheets()));
}

TEST_F(RunSheetTest, SheetsAreListedByTable) {
    const TakenSheet second = sheets.Take(Sheet("tssoc210"));
    LeaveASheet("{}");
    Fill(std::filesystem::path("running") / "tssoc220.12-1.new", "about to become a sheet");
    std::vector<std::string> tables;
    for (const SheetState& sheet : sheets.All()) tables.push_back(sheet.sheet.table);
    EXPECT_THAT(tables, ElementsAre("tssoc200", "tssoc210"));
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
