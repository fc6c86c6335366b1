// What the tool says when it cannot go on: the cause, and what to do about it.
#include <unistd.h>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

// Row by row the errors of which an administrator had to ask somebody.
class AnError : public Site {
protected:
    AnError() { GivenExtract("tsmdm030.csv", kServiceTypes); }

    static void ExpectStep(const Finished& run, const std::string& cause, const std::string& step) {
        const std::vector<std::string> lines = Lines(run.err);
        ASSERT_GE(lines.size(), 2U) << run.err;
        EXPECT_THAT(Unwrapped(run.err), AllOf(::testing::StartsWith("qrxctl: "), HasSubstr(cause)));
        EXPECT_EQ(lines.back(), "         -> " + step);
        for (const std::string& line : lines) EXPECT_LE(line.size(), 80U) << line;
    }
    Finished With(const std::string& connection, const std::vector<std::string>& command) const {
        std::vector<std::string> arguments{"--connection", "Provider=SQLite;Data Source=" + connection};
        arguments.insert(arguments.end(), command.begin(), command.end());
        return BareQrxctl(arguments);
    }
    Finished CopyServiceTypes() const { return Qrxctl({"copy", "tsmdm030", "--full"}); }
    void ExpectCopyFails(const std::string& cause) const {
        const Finished run = CopyServiceTypes();
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(Unwrapped(run.out + run.err), HasSubstr(cause));
    }
};

TEST_F(AnError, OfADatabaseThatWasNeverInitialisedLeadsToInit) {  // C1
    fs::remove(database);
    GivenFile(database, "");
    fs::resize_file(database, 0);
    const Finished run = Qrxctl({"unlock", "--all"});
    EXPECT_EQ(run.exitCode, 1);
    ExpectStep(run, "no such table: tstables", "qrxctl init");
    EXPECT_THAT(run.err, Not(HasSubstr("cause:  ")));
}

TEST_F(AnError, OfADatabaseFileThatIsMissingLeadsToInit) {
    ExpectStep(With((directory / "x.db").string(), {"unlock", "--all"}), "x.db", "qrxctl init");
}

TEST_F(AnError, OfADatabaseInADirectoryThatIsMissingNamesTheDirectory) {  // C1
    const std::string step = "make the directory, or correct Data Source";
    ExpectStep(With("/nosuch/x.db", {"unlock", "--all"}),
               "does not exist: /nosuch/x.db; there is no directory /nosuch", step);
    ExpectStep(With("/nosuch/x.db", {"init"}),
               "cannot be created: /nosuch/x.db; there is no directory /nosuch", step);
}

TEST_F(AnError, OfAGroupThatIsUnknownNamesThoseThatThereAre) {  // C1
    const Finished run = Qrxctl({"--group", "FOO", "unlock", "--all"});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, IsOneLineWith("no group FOO; there is: SYNC"));
}

TEST_F(AnError, OfACatalogThatIsEmptyLeadsToInit) {
    Execute("DELETE FROM tstreenodes");
    ExpectStep(Qrxctl({"unlock", "--all"}), "tstables or tstreenodes table is empty", "qrxctl init");
}

TEST_F(AnError, OfAFileThatCannotBeReadSaysWhy) {  // C1
    const fs::path file = extract / "tsmdm030.csv";
    if (geteuid() != 0) {
        fs::permissions(file, fs::perms::none);
        ExpectCopyFails("tsmdm030.csv cannot be read: Permission denied");
        fs::permissions(file, fs::perms::owner_all);
    }
    fs::remove(file);
    fs::create_directory(file);
    ExpectCopyFails("tsmdm030.csv cannot be read: it is a directory");
}

TEST_F(AnError, OfAFileInAnotherEncodingOrWithAnotherSeparatorSaysSo) {  // C1
    GivenExtract("tsmdm030.csv", "cstp;desc;proc;ract;dahe\nADV;Advice;REMOTE;ONC;1");
    ExpectCopyFails("tsmdm030.csv is separated by ';', not by commas");
    GivenExtract("tsmdm030.csv", std::string("\xFF\xFE") + std::string("c\0s\0t\0p\0", 8));
    ExpectCopyFails("tsmdm030.csv looks like UTF-16");
}

TEST_F(AnError, OfARunParameterWithoutADirectorySaysSo) {  // C1
    const Finished run = BareQrxctl({"--connection", Connection(), "--log-dir", logs.string(), "--erp",
                                     "extract=", "copy", "tsmdm030", "--full"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(Unwrapped(run.out), HasSubstr("which takes extract=DIRECTORY"));
}

TEST_F(AnError, OfAFilterFlagThatIsNullNamesColumnAndTable) {  // C1
    fs::copy(Sample(), extract, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    Execute("UPDATE tstables SET FilterFlag = NULL WHERE tablename = 'tssoc200'");
    const Finished run = Qrxctl({"copy", "tssoc200", "--full"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out + run.err, HasSubstr("FilterFlag of tssoc200 in tstables"));
}

TEST_F(AnError, OfANumberOutOfRangeNamesTheRange) {  // C1
    const Finished run = BareQrxctl({"sample", "somewhere", "--orders", "-1"});
    EXPECT_EQ(run.exitCode, 64);
    EXPECT_THAT(run.err, AllOf(IsOneLineWith("9999999"), HasSubstr("--orders")));
    EXPECT_LE(run.err.size(), 81U);
}

TEST_F(AnError, NeverShowsAPassword) {  // B4
    const Finished run =
        BareQrxctl({"--connection", "Driver=nosuch;Server=db;Uid=sa;Pwd=s3cret;x", "unlock", "--all"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.out + run.err, Not(HasSubstr("s3cret")));
}

TEST_F(AnError, IsToldInWordsEvenWithoutTheFileOfTexts) {  // B5
    fs::create_directory(directory / "bin");
    fs::copy_file(IQRX_QRXCTL, directory / "bin" / "qrxctl");
    const Finished run = RunToEnd({(directory / "bin" / "qrxctl").string(), "--connection",
                                   "Provider=SQLite;Data Source=x.db", "unlock", "--all"},
                                  directory);
    EXPECT_THAT(run.err, AllOf(HasSubstr("The table catalog could not be loaded"), Not(HasSubstr("SLBL"))));
}

}  // namespace
}  // namespace iqrx::testing
