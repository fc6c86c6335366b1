#include "runtime/run_log.h"

#include <gtest/gtest.h>

#include "runtime/event_log.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

class Logs : public TestProcess, public ::testing::Test {
protected:
    Logs() {
        xml.texts = {{"SLBL0143", "On %1 at %2"},
                     {"SLBL0374", "Request failed"},
                     {"SLBL0375", "Inserted %1"},
                     {"SLBL0376", "Updated %1"},
                     {"SLBL0377", "Deleted %1"}};
        process.runLog.SetLogFileName((directory.path / "run.log").string());
    }
};

TEST_F(Logs, WriteTheCountsOfOneTable) {
    process.runLog.LogTableCounts("tsmdm030", 12, 3, 4);
    EXPECT_EQ(RunLog(),
              "On 2026-03-04 at 05:06:07\n"
              "\"Inserted tsmdm030 -  12\"\n"
              "\"Updated tsmdm030 -  3\"\n"
              "\"Deleted tsmdm030 -  4\"\n");
}

TEST_F(Logs, LeaveOutSecondAndThirdCountsOfZero) {
    process.runLog.LogTableCounts("tsmdm030", 0, 0, 0);
    process.runLog.LogTableCounts("tsmdm030", -1, -2, 5);
    EXPECT_EQ(RunLog(),
              "On 2026-03-04 at 05:06:07\n\"Inserted tsmdm030 -  0\"\n"
              "On 2026-03-04 at 05:06:07\n\"Inserted tsmdm030 - -1\"\n\"Deleted tsmdm030 -  5\"\n");
}

TEST_F(Logs, WriteANoticeAfterTheTime) {
    process.runLog.LogNotice("3 records lie outside");
    EXPECT_EQ(RunLog(), "On 2026-03-04 at 05:06:07\n3 records lie outside\n");
    EXPECT_EQ(process.runLog.FirstError(), "");
}

TEST_F(Logs, AppendTheRunsOfADayInOrder) {
    process.runLog.LogTableCounts("a", 1, 0, 0);
    process.runLog.SetLogFileName((directory.path / "run.log").string());
    process.runLog.LogTableCounts("a", 2, 0, 0);
    const std::string text = RunLog();
    EXPECT_LT(text.find("a -  1"), text.find("a -  2"));
}

TEST_F(Logs, WriteAnErrorWithWhatTheProviderSaidAndClearThat) {
    platform::Errors errors{{-1, "SQLite", "disk I/O error", "HY000"}, {0, "SQLite", "a warning", ""}};
    process.runLog.KeepErrors(&errors);
    process.runLog.LogError("", {5, "the source", "the description"});
    EXPECT_EQ(RunLog(),
              "\"Date-Time :2026-03-04 : 05:06:07\"\n"
              "\"-1 - SQLite - disk I/O error\"\n"
              "\"the source\",\"the description\"\n");
    EXPECT_TRUE(errors.empty());
}

TEST_F(Logs, PutTheCallersTextBehindTheTime) {
    process.runLog.LogError(" while copying", {5, "s", "d"});
    EXPECT_EQ(RunLog(), "\"Date-Time :2026-03-04 : 05:06:07 while copying\"\n\"s\",\"d\"\n");
}

TEST_F(Logs, RememberTheFirstErrorOfARun) {
    process.runLog.LogError("", {5, "s", "the cause"});
    process.runLog.LogError("", {5, "s", "what followed"});
    EXPECT_EQ(process.runLog.FirstError(), "the cause");
    process.runLog.SetLogFileName("next");
    EXPECT_EQ(process.runLog.FirstError(), "");
}

TEST_F(Logs, StopNobodyWhenTheyCannotBeWritten) {
    process.runLog.SetLogFileName((directory.path / "missing" / "run.log").string());
    process.runLog.LogTableCounts("a", 1, 0, 0);
    process.runLog.LogError("", {5, "s", "d"});
    process.eventLog.Start((directory.path / "missing" / "event.txt").string());
    process.eventLog.LogEvent("x");
    LogHandlerError(process.machine, process.messages, (directory.path / "missing").string(), {5, "s", "d"});
    EXPECT_FALSE(std::filesystem::exists(directory.path / "missing"));
}

TEST_F(Logs, KeepTheRequestErrorLogInTheTrimmedDirectory) {
    LogHandlerError(process.machine, process.messages, "  " + directory.path.string() + " ",
                    {91, "s", "not set"});
    EXPECT_EQ(Contents(directory.path / "iQRXyDBSync.log"),
              "On 2026-03-04 at 05:06:07\nRequest failed\nError is - 91: not set\n");
}

TEST_F(Logs, PutTheRequestErrorLogInTheDefaultPlaceWhenTheDirectoryIsBlank) {
    process.machine.defaultLogDirectory = directory.path.string();
    LogHandlerError(process.machine, process.messages, "  ", {91, "s", "not set"});
    EXPECT_TRUE(std::filesystem::exists(directory.path / "iQRXyDBSync.log"));
}

TEST_F(Logs, BeginTheEventLogWithTheTextHandedIn) {
    process.eventLog.Start((directory.path / "QRXevtLG.txt").string());
    process.eventLog.LogEvent("Service started");
    EXPECT_EQ(Contents(directory.path / "QRXevtLG.txt"),
              "2026-03-04 05:06:07 Information Application iQRXyQRXSync: Service started\n");
}

TEST(DiagnosticLines, AreOneLine) {
    EXPECT_EQ(runtime::DiagnosticLine("Too few arguments. \r\nWhy"), "iQRXyQRXSync: Too few arguments.  Why");
}

}  // namespace
}  // namespace iqrx::testing
