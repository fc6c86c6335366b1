#include "platform/posix/machine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <ctime>
#include <fstream>

#include "platform/date.h"
#include "platform/error.h"
#include "platform/posix/environment_variable.h"
#include "support/temporary_directory.h"

namespace iqrx::platform::posix {
namespace {

class PosixPorts : public ::testing::Test {
protected:
    std::filesystem::path Write(const std::string& name, std::string_view text) {
        std::ofstream(directory / name, std::ios::binary) << text;
        return directory / name;
    }

    const testing::TemporaryDirectory owned;
    const std::filesystem::path directory = owned.path;
    const std::shared_ptr<const Machine> owner = CreateMachine();
    const Machine& machine = *owner;
};

int BiasOf(const char* zone) {
    const ScopedVariable tz("TZ", zone);
    return CreateMachine()->timeZone.BiasMinutes();
}

TEST_F(PosixPorts, GiveTheLocalTime) {
    const ScopedVariable tz("TZ", "FAR-5:30");
    tzset();
    const std::int64_t local = std::time(nullptr) + (5 * 60 + 30) * 60;
    const std::int64_t shown = machine.clock.Now().secondsSince1970;
    EXPECT_GE(shown, local);
    EXPECT_LT(shown, local + 3600);
}

TEST_F(PosixPorts, BiasIsStandardTimesInBothHemispheres) {
    EXPECT_EQ(BiasOf("CET-1CEST,M3.5.0,M10.5.0/3"), -60);
    EXPECT_EQ(BiasOf("EST5EDT,M3.2.0,M11.1.0"), 300);
    EXPECT_EQ(BiasOf("AEST-10AEDT,M10.1.0,M4.1.0/3"), -600);
    EXPECT_EQ(BiasOf("<-03>3<-02>,M10.1.0,M3.1.0"), 180);
}

TEST_F(PosixPorts, BiasIsTheOffsetOfAZoneWithoutSummerTime) {
    EXPECT_EQ(BiasOf("IST-5:30"), -330);
    EXPECT_EQ(BiasOf("NST3:30"), 210);
    EXPECT_EQ(BiasOf("UTC0"), 0);
}

TEST_F(PosixPorts, BiasIsTheWintersWhereWinterIsTheTimeSetBack) {
    EXPECT_EQ(BiasOf("IST-1GMT0,M10.5.0,M3.5.0/1"), 0);
}

TEST_F(PosixPorts, BiasOfANamedZoneIsItsStandardTimes) {
    if (!std::filesystem::exists("/usr/share/zoneinfo/Europe/Berlin"))
        GTEST_SKIP() << "the machine has no zone data";
    EXPECT_EQ(BiasOf("Europe/Berlin"), -60);
    EXPECT_EQ(BiasOf("Australia/Sydney"), -600);
    EXPECT_EQ(BiasOf("Asia/Kolkata"), -330);
}

// The C library never frees what it reads LOCPATH into, which a leak check at this process's end would report.
void ExpectCommaInAnotherProcess() {
    const auto check = [] {
        const bool comma = CreateMachine()->locale.DecimalSeparator() == ",";
        const bool processUntouched = std::string(std::localeconv()->decimal_point) == ".";
        _exit(comma && processUntouched ? 0 : 1);
    };
    EXPECT_EXIT(check(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PosixPorts, DecimalSeparatorFollowsTheEnvironmentsLocale) {
    const std::string locale = (directory / "xx.UTF-8").string();
    if (std::system(("localedef -i de_DE -f UTF-8 '" + locale + "' >/dev/null 2>&1").c_str()) != 0)
        GTEST_SKIP() << "localedef can make no German locale on this machine";
    const ScopedVariable path("LOCPATH", directory.string());
    {
        const ScopedVariable all("LC_ALL", "");
        const ScopedVariable numeric("LC_NUMERIC", "xx.UTF-8");
        ExpectCommaInAnotherProcess();
    }
    const ScopedVariable all("LC_ALL", "xx.UTF-8");
    const ScopedVariable numeric("LC_NUMERIC", "C");
    ExpectCommaInAnotherProcess();
}

TEST_F(PosixPorts, DecimalSeparatorIsThePointInALocaleThatTheMachineLacks) {
    const ScopedVariable all("LC_ALL", "zz_ZZ.nowhere");
    EXPECT_EQ(CreateMachine()->locale.DecimalSeparator(), ".");
}

TEST_F(PosixPorts, WriteDatesAndTimesInIsoForm) {
    const Date moment = ParseIsoDate("2009-05-07 08:03:09").value();
    EXPECT_EQ(machine.locale.ShortDate(moment), "2009-05-07");
    EXPECT_EQ(machine.locale.LongTime(moment), "08:03:09");
}

TEST_F(PosixPorts, ShowAMessageAsOneLineOfStandardError) {
    ::testing::internal::CaptureStderr();
    machine.messageBox.Show("first\r\nsecond");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "first second\n");
}

TEST_F(PosixPorts, KnowTheProgramsFolder) {
    EXPECT_TRUE(std::filesystem::exists(machine.programFolder / ProgramFile().filename()));
    EXPECT_EQ(machine.pathSeparator, '/');
    EXPECT_EQ(machine.blankDirectory, ".");
}

TEST_F(PosixPorts, FindTextsOfAnXmlDocument) {
    const auto file = Write("I18nText.xml",
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- texts -->\n<I18NTEXT>\n"
                            "  <SLBL0009> Copy of %1 &amp; %2 \xC3\xA4 </SLBL0009>\n  <SLBL0010/>\n"
                            "  <SLBL0009>again</SLBL0009>\n  <STIT0010><![CDATA[a < b]]></STIT0010>\n"
                            "</I18NTEXT>\n");
    const auto document = machine.makeXmlDocument();
    ASSERT_TRUE(document->Load(file));
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL0009"), "Copy of %1 & %2 \xC3\xA4");
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL0010"), "");
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/STIT0010"), "a < b");
    EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL9999"), std::nullopt);
}

TEST_F(PosixPorts, DoNotLoadAMissingOrMalformedDocument) {
    const auto document = machine.makeXmlDocument();
    EXPECT_FALSE(document->Load(directory / "missing.xml"));
    for (const char* text : {"", "no xml", "<I18NTEXT><SLBL0009>text</I18NTEXT>", "<I18NTEXT>", "<a/><b/>"}) {
        EXPECT_FALSE(document->Load(Write("bad.xml", text))) << text;
        EXPECT_EQ(document->SelectSingleNodeText("I18NTEXT/SLBL0009"), std::nullopt);
    }
}

TEST_F(PosixPorts, WriteLinesThatEndInCarriageReturnAndLineFeed) {
    const auto file = Write("codes.txt", "old contents that go");
    const auto stream = machine.files.CreateTextFile(file);
    stream->WriteLine("C01");
    stream->WriteLine("");
    stream->Close();
    std::ifstream written(file, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), "C01\r\n\r\n");
}

TEST_F(PosixPorts, ReadLinesUntilTheEndOfTheStream) {
    const auto stream = machine.files.OpenTextFile(Write("codes.txt", "C01\r\nC02\n\nC03"));
    std::vector<std::string> lines;
    while (!stream->AtEndOfStream()) lines.push_back(stream->ReadLine());
    EXPECT_EQ(lines, (std::vector<std::string>{"C01", "C02", "", "C03"}));
    EXPECT_THROW(stream->ReadLine(), RuntimeError);
    stream->Close();
    EXPECT_TRUE(machine.files.OpenTextFile(Write("empty.txt", ""))->AtEndOfStream());
}

TEST_F(PosixPorts, RaiseWhenATextFileIsMissingOrCannotBeMade) {
    try {
        machine.files.OpenTextFile(directory / "missing.txt");
        FAIL();
    } catch (const RuntimeError& error) {
        EXPECT_EQ(error.number, kFileNotFound);
    }
    EXPECT_THROW(machine.files.CreateTextFile(directory / "none" / "codes.txt"), RuntimeError);
}

}  // namespace
}  // namespace iqrx::platform::posix
