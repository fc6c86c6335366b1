#include "hosting/sub_main.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "hosting/command_line.h"
#include "support/test_process.h"

namespace iqrx::testing {
namespace {

using namespace std::string_literals;
using hosting::CommandLine;
using platform::Long;
using platform::RuntimeError;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class CommandLines : public TestProcess, public ::testing::Test {
protected:
    CommandLines() {
        xml.texts = {{"SLBL0232", "Too few: %1"},
                     {"SLBL0234", "Platform: %1"},
                     {"SLBL0235", "Method: %1"},
                     {"SLBL0237", "Status key: %1"},
                     {"SLBL0026", " Reason:"},
                     {"SLBL0321", "No catalog."},
                     {"SLBL0504", "The service has started"}};
    }
    RuntimeError ErrorOf(const std::string& commandLine) {
        try {
            CommandLine(commandLine).Request(process.messages, process.settings);
        } catch (const RuntimeError& error) {
            return error;
        }
        return {0, "", ""};
    }
    void GivenACatalog() {
        database.WhenOpened(
            "SELECT a.ERPTableID,a.tableid, a.tablename, c.text from tstables a, tstreenodes b, tsi18ntext c where a.productid = N'1028' AND b.groupid = N'SYNC' AND a.tableid = b.tableid AND b.label = c.label",
            Rows{{"ERPTableID", "tableid", "tablename", "text"}, {{"e"s, Long{2}, "tsmdm030"s, "T"s}}});
    }
    // A request with these arguments instead of good ones, that fails.
    void Fail(const std::string& table, const std::string& method, const std::string& statusKey = "0",
              const std::string& platformNumber = "1") {
        database.calls.clear();
        diagnostics.str({});
        EXPECT_EQ(
            hosting::SubMain(process, "string{}db{}" + table + "{}" + method + "{}" + directory.path.string() +
                                          "{}bus{}" + statusKey + "{}{}" + platformNumber + "{}3{}SYNC{}"),
            hosting::kFailed);
    }
    std::string Valid(const std::string& count12Extra = "{}extra") {
        return "string{}db{}2{}1{} " + directory.path.string() + " {}bus{}0{}{}1{}3{} SYNC " + count12Extra;
    }
};

TEST_F(CommandLines, AreSplitAtTheirSeparatorAlone) {
    const CommandLine line("a b{}{}{c}{}");
    EXPECT_EQ(line.Count(), 4U);
    EXPECT_EQ(line.At(hosting::kConnectionString), "a b");
    EXPECT_EQ(line.At(hosting::kDatabaseName), "");
    EXPECT_EQ(line.At(hosting::kTableId), "{c}");
    EXPECT_EQ(CommandLine("").Count(), 0U);
}

TEST_F(CommandLines, NeedSevenArguments) {
    const RuntimeError error = ErrorOf("a{}b{}2{}1{}log{}bus");
    EXPECT_EQ(error.description, "Too few: a{}b{}2{}1{}log{}bus Reason:\r\n");
    EXPECT_EQ(error.source, "iQRX Data Copy - Start");
}

TEST_F(CommandLines, AreShownWithoutTheirPasswordsAndInOneLine) {
    EXPECT_EQ(ErrorOf("Driver=X;Pwd=secret{}db").description, "Too few: Driver=X;Pwd=*** Reason:\r\n");
    EXPECT_EQ(ErrorOf("a{}b\r\n\"forged\"").description, "Too few: a{}b\\x0D\\x0A\"forged\" Reason:\r\n");
}

TEST_F(CommandLines, FailOnATextForMethodOrPlatformWithTheConversionsOwnError) {
    EXPECT_EQ(ErrorOf("a{}b{}2{}full{}log{}bus{}0{}{}1{}0{}g{}x").number, platform::kTypeMismatch);
    EXPECT_EQ(ErrorOf("a{}b{}2{}1{}log{}bus{}0{}{}oracle{}0{}g{}x").number, platform::kTypeMismatch);
}

TEST_F(CommandLines, LetAnyNumberPassForMethodAndPlatform) {
    EXPECT_EQ(ErrorOf("a{}b{}2{}77{}log{}bus{}0{}{}-3.5{}0{}g{}x").number, 0);
}

TEST_F(CommandLines, NeedANumericStatusKey) {
    const RuntimeError error = ErrorOf("a{}b{}2{}1{}log{}bus{}key{}{}1{}0{}g{}x");
    EXPECT_EQ(error.description, "Status key: key Reason:\r\n");
    EXPECT_EQ(error.source, "iQrx Data Copy - Start");
}

TEST_F(CommandLines, CheckTheMethodBeforeTheStatusKeyAndThatBeforeThePlatform) {
    EXPECT_EQ(ErrorOf("a{}b{}2{}x{}log{}bus{}key{}{}y").number, platform::kTypeMismatch);
    EXPECT_EQ(ErrorOf("a{}b{}2{}1{}log{}bus{}key{}{}y").source, "iQrx Data Copy - Start");
}

TEST_F(CommandLines, NameAnArgumentThatIsMissingBehindTheSeventh) {
    EXPECT_THAT(ErrorOf("a{}b{}2{}1{}log{}bus{}0").description, HasSubstr("argument 8 is missing"));
}

TEST_F(CommandLines, AreStandaloneWithTwelveArgumentsExactly) {
    const auto standalone = [&](const std::string& commandLine) {
        CommandLine(commandLine).Request(process.messages, process.settings);
        return process.settings.standalone;
    };
    EXPECT_TRUE(standalone(Valid()));
    EXPECT_FALSE(standalone(Valid("")));
    EXPECT_FALSE(standalone(Valid("{}x{}y")));
}

TEST_F(CommandLines, FillTheSettingsAndTheRequest) {
    control::Settings settings;
    const CommandLine first(" s {} d {}99{}1{} log {} bus {}42{} E1 {}2{}3{} SYNC ");
    control::CopyRequest request = first.Request(process.messages, settings);
    first.AddTableAndMethod(request);
    EXPECT_FALSE(settings.standalone);
    EXPECT_EQ(settings.currentInstanceNumber, 3);
    EXPECT_EQ(settings.treeGroup, "SYNC");
    EXPECT_EQ(request.connectionString, "s");
    EXPECT_EQ(request.localDatabase, "d");
    EXPECT_EQ(request.tableId, control::kCalendarOfEmployee);
    EXPECT_EQ(request.syncMethod, control::kFull);
    EXPECT_EQ(request.logFilePath, "log");
    EXPECT_EQ(request.busComponent, "bus");
    EXPECT_EQ(request.databasePlatform, 2);
    EXPECT_EQ(request.calendarParameter, " E1 ");
    EXPECT_EQ(request.statusKey, 42);
    EXPECT_EQ(first.LogDirectory(), " log ");

    const CommandLine second("s{}d{}98{}1{}log{}bus{}42{}C1{}1{}none{}SYNC{}x");
    request = second.Request(process.messages, settings);
    EXPECT_EQ(request.statusKey, std::nullopt) << "a standalone start has nobody to tell";
    EXPECT_EQ(request.calendarParameter, "C1");
    EXPECT_EQ(settings.currentInstanceNumber, 3) << "kept when the argument is no number";
}

TEST_F(CommandLines, WantNoTableStatusWithTheKeyZeroAndNoCalendarForAnotherTable) {
    const auto request =
        CommandLine("s{}d{}18{}1{}log{}bus{}0{}C1{}1{}1{}SYNC").Request(process.messages, process.settings);
    EXPECT_EQ(request.statusKey, std::nullopt);
    EXPECT_EQ(request.calendarParameter, "");
}

TEST_F(CommandLines, WantTableStatusWithAnyKeyThatIsNotZero) {
    const auto request =
        CommandLine("s{}d{}18{}1{}log{}bus{}0.4{}{}1{}1{}SYNC").Request(process.messages, process.settings);
    EXPECT_EQ(request.statusKey, 0) << "the key is a whole number, whether there is one is not asked of it";
}

TEST_F(CommandLines, ThatFailGoToTheRequestErrorLogAndToStandardErrorInOneLine) {
    const auto code = hosting::SubMain(process, "a{}b{}2{}1{}" + directory.path.string() + "{}bus");
    EXPECT_EQ(code, hosting::kFailed);
    EXPECT_THAT(Contents(directory.path / "iQRXyDBSync.log"),
                HasSubstr("Error is - 1001: Too few: a{}b{}2{}1{}"));
    EXPECT_THAT(diagnostics.str(), StartsWith("iQRXyQRXSync: Too few: "));
    EXPECT_EQ(std::ranges::count(diagnostics.str(), '\n'), 1);
}

TEST_F(CommandLines, ThatFindNoCatalogSaySo) {
    EXPECT_EQ(hosting::SubMain(process, Valid()), hosting::kFailed);
    EXPECT_EQ(diagnostics.str(),
              "iQRXyQRXSync: No catalog. Reason: tstables or tstreenodes table is empty .. Cannot Proceed\n");
    EXPECT_FALSE(std::filesystem::exists(directory.path / "QRXevtLG.txt"));
}

TEST_F(CommandLines, TellOfATableOrMethodThatDoesNotConvertWhenTheEventLogHasItsLine) {
    GivenACatalog();
    const std::pair<const char*, const char*> wrong[] = {{"x", "1"}, {"2", "70000"}};
    const char* const told[] = {"iQRXyQRXSync: Type mismatch: argument 2, the table id, is \"x\"\n",
                                "iQRXyQRXSync: Overflow: argument 3, the method, is \"70000\"\n"};
    for (int i = 0; i < 2; ++i) {
        std::filesystem::remove(directory.path / "QRXevtLG.txt");
        Fail(wrong[i].first, wrong[i].second);
        EXPECT_EQ(diagnostics.str(), told[i]);
        EXPECT_THAT(Contents(directory.path / "QRXevtLG.txt"), HasSubstr("The service has started"));
        EXPECT_THAT(database.calls, ::testing::Contains(StartsWith("Open SELECT a.ERPTableID")));
    }
    Fail("x", "70000");
    EXPECT_EQ(diagnostics.str(), told[1]) << "the method is looked at first";
}

TEST_F(CommandLines, TellOfAStatusKeyOrPlatformThatDoesNotConvertBeforeTheCatalogIsRead) {
    Fail("x", "1", "99999999999", "70000");
    EXPECT_EQ(diagnostics.str(), "iQRXyQRXSync: Overflow: argument 6, the status key, is \"99999999999\"\n");
    Fail("x", "1", "0", "70000");
    EXPECT_EQ(diagnostics.str(), "iQRXyQRXSync: Overflow: argument 8, the platform, is \"70000\"\n");
    EXPECT_THAT(database.calls, ::testing::IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(directory.path / "QRXevtLG.txt"));
}

TEST_F(CommandLines, RunTheirRequestAndAnswerItsExitCode) {
    GivenACatalog();
    database.WhenOpened("SELECT tvkparam FROM tsparameters", Rows{{"tvkparam"}, {{Long{0}}}});
    EXPECT_EQ(hosting::SubMain(process, Valid()), hosting::kCompleted);
    EXPECT_THAT(Contents(directory.path / "QRXevtLG.txt"), HasSubstr("The service has started"));

    database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'", Rows{{"in_use"}, {{Long{1}}}});
    EXPECT_EQ(hosting::SubMain(process, Valid()), hosting::kTableInUse);

    database.WhenOpened("SELECT * FROM tstables WHERE tablename = N'tsmdm030'",
                        RuntimeError(1, "db", "no such table"));
    EXPECT_EQ(hosting::SubMain(process, Valid()), hosting::kFailed);
    EXPECT_EQ(diagnostics.str(), "iQRXyQRXSync: no such table\n");
}

}  // namespace
}  // namespace iqrx::testing
