// A sample is written into a directory of its own: never over the extract of a site.
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

class ASample : public Site {
protected:
    Finished Write(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> arguments{"sample", place.string(), "--orders", "3"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return BareQrxctl(arguments);
    }
    void ExpectRefused(const std::string& file) const {
        const Finished run = Write();
        EXPECT_EQ(run.exitCode, 64);
        EXPECT_EQ(run.out, "");
        EXPECT_THAT(Unwrapped(run.err),
                    AllOf(::testing::StartsWith("qrxctl: " + place.string() + " holds " + file),
                          HasSubstr("--force")));
        for (const std::string& line : Lines(run.err)) EXPECT_LE(line.size(), 80U) << line;
    }

    const fs::path place = directory / "ext";
};

TEST_F(ASample, IsNotWrittenOverTheExtractOfASite) {  // A8
    fs::create_directory(place);
    GivenFile(place / "tssoc200.csv", "the site's orders");
    ExpectRefused("tssoc200.csv");
    EXPECT_EQ(ReadText(place / "tssoc200.csv"), "the site's orders\n");
    EXPECT_FALSE(fs::exists(place / "tsmdm030.csv"));
}

TEST_F(ASample, IsNotWrittenAmongOtherFiles) {
    fs::create_directory(place);
    GivenFile(place / "letter.txt", "Dear site");
    ExpectRefused("letter.txt");
}

TEST_F(ASample, IsWrittenOverOthersFilesWhenItIsForced) {
    fs::create_directory(place);
    GivenFile(place / "tssoc200.csv", "the site's orders");
    EXPECT_EQ(Write({"--force"}).exitCode, 0);
    EXPECT_THAT(Lines(ReadText(place / "tssoc200.csv")), ::testing::SizeIs(1 + 3));
}

TEST_F(ASample, ReplacesOneOfTheToolsOwn) {
    EXPECT_EQ(Write().exitCode, 0);
    GivenFile(place / "README.md", "What this is");
    const Finished again = Write({"--seed", "7"});
    EXPECT_EQ(again.exitCode, 0) << again.err;
    EXPECT_EQ(ReadText(place / "README.md"), "What this is\n");
}

TEST_F(ASample, IsWrittenIntoAnEmptyDirectory) {
    fs::create_directory(place);
    EXPECT_EQ(Write().exitCode, 0);
}

TEST_F(ASample, DoesNotHideThatASiteHasPutItsExtractInItsPlace) {
    EXPECT_EQ(Write().exitCode, 0);
    GivenFile(place / "tsmdm030.csv", kServiceTypes);
    ExpectRefused("tsmdm030.csv");
    GivenFile(place / "tsmdm030.csv", "");
    ExpectRefused("tsmdm030.csv");
}

TEST_F(ASample, DoesNotTakeAnExportForItsOwn) {
    EXPECT_EQ(Write().exitCode, 0);
    GivenFile(place / "EXPORTED", "2026-11-21 02:00:00");
    ExpectRefused("EXPORTED");
}

TEST_F(ASample, SaysWhatItWrote) {
    const Finished run = Write({"--changes", "2"});
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out,
                AllOf(::testing::StartsWith("ok"), HasSubstr("37 files"), HasSubstr("3 orders, 2 changes")));
    EXPECT_EQ(Write({"-q"}).out, "");
    EXPECT_EQ(JsonCell("SELECT json_extract('" + Write({"--json"}).out + "', '$.files')"), "37");
}

// Who writes the sample of the source tree anew is not asked for --force.
TEST_F(ASample, OfTheSourceTreeIsTheToolsOwn) {
    fs::copy(Sample(), place);
    const Finished run =
        BareQrxctl({"sample", place.string(), "--orders", "40", "--changes", "20", "--seed", "1"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(ReadText(place / ".qrxctl-sample"), ReadText(Sample() / ".qrxctl-sample"));
}

}  // namespace
}  // namespace iqrx::testing
