// One look at everything that a copy needs, before it is needed at night.
#include <time.h>
#include <unistd.h>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ASiteThatIsChecked : public Site {
protected:
    ASiteThatIsChecked() {
        fs::copy(Sample(), extract, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }

    Finished Check(const std::vector<std::string>& more = {}, const Environment& environment = {}) const {
        std::vector<std::string> arguments{"check"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        Environment all = environment;
        all.try_emplace("TZ", "UTC");
        return Qrxctl(arguments, all);
    }
    // At noon of that day.
    Finished CheckAt(const std::string& day) const {
        std::tm noon{};
        strptime((day + " 12:00:00").c_str(), "%Y-%m-%d %H:%M:%S", &noon);
        return Check({}, {{"LD_PRELOAD", std::string(IQRX_SANITIZER_LIBRARY) + " " IQRX_SET_CLOCK},
                          {"SET_CLOCK_NOW", std::to_string(timegm(&noon))}});
    }
    // What a fact says, its lines joined; empty when there is no such fact.
    static std::string Fact(const std::string& out, const std::string& begin) {
        std::string fact;
        for (const std::string& line : Lines(out)) {
            const bool goesOn = line.starts_with("         ");
            if (!fact.empty() && !goesOn) break;
            if (!fact.empty())
                fact += " " + line.substr(line.find_first_not_of(' '));
            else if (line.starts_with(begin))
                fact = line;
        }
        return fact;
    }
    void ExpectWrong(const std::string& subject, const std::string& text) const {
        const Finished run = Check();
        EXPECT_EQ(run.exitCode, 1) << run.out;
        EXPECT_THAT(Fact(run.out, "wrong    " + subject), HasSubstr(text)) << run.out;
        // Only a path may be wider: it is not broken.
        for (const std::string& line : Lines(run.out))
            EXPECT_TRUE(line.size() <= 80 || line.find('/') != std::string::npos) << line;
    }
};

TEST_F(ASiteThatIsChecked, IsAsItShouldBe) {
    const Finished run = Check();
    EXPECT_EQ(run.exitCode, 0) << run.out;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(Fact(run.out, "ok       database"),
                AllOf(HasSubstr(database.string()), HasSubstr("may write")));
    EXPECT_THAT(Fact(run.out, "ok       tables"),
                HasSubstr("20 target, 3 change logs, 5 control; columns as expected"));
    EXPECT_THAT(Fact(run.out, "ok       catalog"), HasSubstr("19 tables in group SYNC"));
    EXPECT_THAT(Fact(run.out, "ok       texts"), ContainsRegex("[0-9]+ labels, none missing"));
    EXPECT_THAT(Fact(run.out, "ok       logs"), HasSubstr("may write"));
    EXPECT_THAT(Fact(run.out, "ok       extract"), HasSubstr("37 files"));
    EXPECT_THAT(Fact(run.out, "ok       lock"), HasSubstr("no table is locked"));
    EXPECT_THAT(Lines(run.out).back(), ContainsRegex("^[0-9]+ items ok or noted, 0 wrong$"));
}

TEST_F(ASiteThatIsChecked, IsLeftAsItIs) {
    EXPECT_EQ(Check().exitCode, 0);
    EXPECT_THAT(Rows("SELECT * FROM tsfullsyncs"), IsEmpty());
    EXPECT_TRUE(fs::is_empty(logs));
    EXPECT_FALSE(fs::exists(State()));
}

TEST_F(ASiteThatIsChecked, IsSilentWhenNothingIsWrongAndAsked) {
    EXPECT_EQ(Check({"-q"}).out, "");
    Execute("DROP TABLE tsmdm030");
    EXPECT_EQ(Check({"-q"}).out, "wrong    tsmdm030  is missing\n         -> qrxctl init\n");
}

TEST_F(ASiteThatIsChecked, HasColumnsOfTheTypesThatAreExpected) {
    Execute(
        "DROP TABLE tssoc210; CREATE TABLE tssoc210 (orno NVARCHAR(9), asta TEXT);"
        "ALTER TABLE tsmdm030 DROP COLUMN prod");
    ExpectWrong("tssoc210", "column asta is TEXT, expected INTEGER -> qrxctl init --show tssoc210");
    ExpectWrong("tssoc210", "has no columns acln, ");
    ExpectWrong("tsmdm030", "has no column prod");
}

TEST_F(ASiteThatIsChecked, HasChangeLogs) {
    Execute("DROP TABLE tssoc200_audit");
    ExpectWrong("tables", "tssoc200_audit: is missing -> qrxctl init");
}

TEST_F(ASiteThatIsChecked, HasADatabase) {
    fs::remove(database);
    ExpectWrong("database", "The database file does not exist");
}

TEST_F(ASiteThatIsChecked, HasACatalogForItsGroup) {
    const Finished run = Check({"--group", "FOO"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(Fact(run.out, "wrong    catalog"), HasSubstr("no group FOO; there is: SYNC"));
}

TEST_F(ASiteThatIsChecked, HasFiltersThatLetOrdersThrough) {  // A1
    Qrxctl({"copy", "tssoc200", "--full"});
    Execute("UPDATE tstables SET FilterFlag = 0 WHERE tablename = 'tssoc200'");
    ExpectWrong("filter", "tssoc200.FilterFlag is 0: a full copy would remove all 40 rows -> 127");
    Execute("UPDATE tstables SET FilterFlag = NULL WHERE tablename = 'tssoc200'");
    ExpectWrong("filter", "tssoc200.FilterFlag is NULL");
}

TEST_F(ASiteThatIsChecked, HasEveryTextInItsFile) {  // B5
    fs::create_directory(directory / "bin");
    fs::copy_file(IQRX_QRXCTL, directory / "bin" / "qrxctl");
    const auto check = [&] {
        return RunToEnd({(directory / "bin" / "qrxctl").string(), "--connection", Connection(), "check"},
                        directory)
            .out;
    };
    EXPECT_THAT(Fact(check(), "wrong    texts"), HasSubstr("is missing or no XML"));
    GivenFile(directory / "bin" / "I18nText.xml", "<I18NTEXT><SLBL0006>failed</SLBL0006></I18NTEXT>");
    EXPECT_THAT(Fact(check(), "wrong    texts"),
                AllOf(HasSubstr("lacks SLBL0007"), Not(HasSubstr("SLBL0006"))));
}

TEST_F(ASiteThatIsChecked, HasADirectoryForItsLogs) {  // B5
    fs::remove(logs);
    ExpectWrong("logs", "is no directory: nothing is logged");
}

TEST_F(ASiteThatIsChecked, HasEveryFileOfItsExtract) {  // A1
    fs::remove(extract / "tssoc200.csv");
    fs::remove(extract / "tsmdm030.audit.csv");
    ExpectWrong("extract", "of 37 files has no tsmdm030.audit.csv, tssoc200.csv");
}

TEST_F(ASiteThatIsChecked, HasEveryColumnInItsExtract) {  // A1
    GivenExtract("tsmdm030.csv", "cstp,description,proc,ract,dahe");
    ExpectWrong("extract", "tsmdm030.csv has no column 'desc'");
}

TEST_F(ASiteThatIsChecked, NamesTheColumnsOfAFileThatLacksOne) {
    GivenExtract("tsmdm030.csv", "cstp,description,proc,ract,dahe");
    ExpectWrong("extract", "has no column 'desc' (columns: cstp, description, proc, ract, dahe)");
}

TEST_F(ASiteThatIsChecked, NamesAsManyColumnsAsALineHolds) {
    std::string header = "cstp,proc,ract,dahe";
    for (int i = 10; i < 30; ++i) header += ",of_export_" + std::to_string(i);
    GivenExtract("tsmdm030.csv", header);
    ExpectWrong("extract", "(columns: cstp, proc, ract, dahe, of_export_10 and 19 more)");
}

TEST_F(ASiteThatIsChecked, HasFilesThatTheCopyCanRead) {  // C1
    GivenExtract("tsmdm030.csv", "cstp;desc;proc;ract;dahe");
    ExpectWrong("extract", "is separated by ';'");
    EXPECT_THAT(Check().out, Not(HasSubstr("columns:")));
    GivenExtract("tsmdm030.csv", std::string("\xFF\xFE") + std::string("c\0", 2));
    ExpectWrong("extract", "looks like UTF-16");
    EXPECT_THAT(Check().out, Not(HasSubstr("columns:")));
    GivenExtract("tsmdm030.csv", kServiceTypes);
    GivenExtract("calendars.csv", "calendar");
    ExpectWrong("extract", "calendars.csv has no columns");
}

TEST_F(ASiteThatIsChecked, HasAnExtractOfToday) {
    GivenExtract("EXPORTED", "2020-02-03 01:02:00");
    const Finished run = Check();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(Fact(run.out, "note     extract"), HasSubstr("written 2020-02-03 01:02, "));
}

TEST_F(ASiteThatIsChecked, ShowsHowFarItsTrailReaches) {
    GivenExtract("EXPORTED", "2026-11-18 01:02:03");
    EXPECT_THAT(Fact(CheckAt("2026-11-21").out, "note     extract"),
                HasSubstr("written 2026-11-18 01:02, 3 days ago; the trail ends 2025-06-20 "));
    // The newest change need not be the last one of its file, nor its moment the first column.
    GivenExtract("tsmdm030.audit.csv",
                 "cstp,desc,proc,ract,dahe,change,changed_at\n"
                 "INS,\"of two\nlines\",INSPECT,WRK,2,U,2026-11-21 00:10:00\n"
                 "REP,Repair,REPAIR,ONC,1,U,2026-11-19 23:00:00");
    EXPECT_THAT(Fact(CheckAt("2026-11-21").out, "note     extract"),
                HasSubstr("written 2026-11-18 01:02, 3 days ago; the trail ends today"));
    EXPECT_THAT(Fact(CheckAt("2026-11-20").out, "note     extract"),
                HasSubstr("; the trail ends 2026-11-21 00:10, which lies ahead of the clock"));
}

TEST_F(ASiteThatIsChecked, SaysThatItsTrailHoldsNoChange) {
    for (const auto& file : fs::directory_iterator(extract)) {
        const std::string text = ReadText(file.path());
        if (file.path().string().ends_with(".audit.csv"))
            GivenExtract(file.path().filename(), text.substr(0, text.find('\n')));
    }
    EXPECT_THAT(Fact(Check().out, "ok       extract   written"), HasSubstr("ago; the trail holds no change"));
}

TEST_F(ASiteThatIsChecked, HasATrailThatCanBeReadToItsEnd) {
    GivenExtract("tsmdm030.audit.csv",
                 "changed_at,change,cstp,desc,proc,ract,dahe\n"
                 "2025-06-20 08:00:00,U,INS,Inspection,INSPECT,WRK,2\n"
                 "yesterday,U,INS,Inspection,INSPECT,WRK,2");
    ExpectWrong("extract", "tsmdm030.audit.csv, line 3, column 'changed_at'");
    GivenExtract("tsmdm030.audit.csv", "changed_at,change,cstp,desc,proc,ract,dahe\n2025-06-20 08:00:00,U");
    ExpectWrong("extract", "tsmdm030.audit.csv, line 2");
}

TEST_F(ASiteThatIsChecked, HasAnExtractAtAll) {
    fs::remove_all(extract);
    ExpectWrong("extract", "does not exist");
}

TEST_F(ASiteThatIsChecked, KnowsWhatItsClockDoesToTheService) {  // A2, A7
    const Finished west = Check({}, {{"TZ", "EST5"}});
    EXPECT_EQ(west.exitCode, 1);
    EXPECT_THAT(Fact(west.out, "wrong    clock"),
                AllOf(HasSubstr("UTC-5: incremental copies of the service pass over 5 hours of the trail"),
                      HasSubstr("-> schedule qrxctl")));
    const Finished east = Check({}, {{"TZ", "CET-1"}});
    EXPECT_EQ(east.exitCode, 0);
    EXPECT_THAT(Fact(east.out, "note     clock"), HasSubstr("UTC+1: for 1 hour"));
}

TEST_F(ASiteThatIsChecked, HasNoLockWithoutAProcess) {  // A3
    Execute("UPDATE tstables SET in_use = 1 WHERE tablename = 'tssoc200'");
    const Finished unproved = Check();
    EXPECT_EQ(unproved.exitCode, 0);
    EXPECT_THAT(Fact(unproved.out, "note     lock"),
                AllOf(HasSubstr("tssoc200 is locked by a program"), HasSubstr("-> qrxctl unlock tssoc200")));
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    fs::create_directories(State() / "running");
    GivenFile(State() / "running" / "tssoc200",
              std::string(R"({"table":"tssoc200","since":"2026-11-21T10:36:19+01:00","pid":99999999,"host":")") +
                  host + "\"}");
    ExpectWrong("lock", "tssoc200 locked since 2026-11-21 10:36:19 (");
}

TEST_F(ASiteThatIsChecked, KeepsItsPasswordToItself) {  // B4
    const fs::path ini = directory / "qrxctl.ini";
    GivenFile(ini, "connection=\"" + Connection() + ";Pwd=s3cret\"");
    fs::permissions(ini, fs::perms(0644));
    const Finished open = BareQrxctl({"--config", ini.string(), "check"});
    EXPECT_THAT(Fact(open.out, "note     secrets"),
                AllOf(HasSubstr("is readable by all and holds a password"), HasSubstr("-> chmod 640")));
    fs::permissions(ini, fs::perms(0640));
    const Finished closed = BareQrxctl({"--config", ini.string(), "check"});
    EXPECT_THAT(Fact(closed.out, "ok       secrets"), Not(IsEmpty()));
    EXPECT_THAT(open.out + open.err + closed.out, Not(HasSubstr("s3cret")));
}

TEST_F(ASiteThatIsChecked, HasAStateDirectoryThatIsOne) {
    GivenFile(State(), "a file");
    ExpectWrong("state", "scheduling.db.state");
}

TEST_F(ASiteThatIsChecked, IsToldAsJson) {
    std::string json = Check({"--json"}).out;
    EXPECT_THAT(json, StartsWith("{\"schema\":1,"));
    for (std::size_t at = 0; (at = json.find('\'', at)) != std::string::npos; at += 2)
        json.insert(at, 1, '\'');
    EXPECT_EQ(JsonCell("SELECT json_extract('" + json + "', '$.wrong')"), "0");
}

}  // namespace
}  // namespace iqrx::testing
