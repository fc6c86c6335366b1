// The first hour of somebody who has never copied: the script that shows it, as it stands.
#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

class AFirstHour : public Site {
protected:
    AFirstHour() {
        fs::remove(extract);
        fs::copy(Sample(), extract);
        fs::remove(database);
        fs::remove_all(database.string() + ".state");
    }
    Finished Run() const {
        const std::string programs = fs::path(IQRX_QRXCTL).parent_path().string();
        return RunToEnd({IQRX_FIRST_HOUR}, directory,
                        {{"PATH", programs + ":/usr/bin:/bin"},
                         {"QRXCTL_CONNECTION", Connection()},
                         {"QRXCTL_ERP", "extract=" + extract.string()},
                         {"QRXCTL_LOG_DIR", logs.string()}});
    }
};

TEST_F(AFirstHour, TakesFewerThanTenCommandsAndEndsWithAChangeThatArrived) {
    const Finished run = Run();

    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    std::vector<std::string> commands = Lines(run.err);
    std::erase_if(commands, [](const std::string& line) { return !line.starts_with("+ qrxctl "); });
    EXPECT_THAT(commands, SizeIs(::testing::Lt(10U)));
    EXPECT_THAT(run.out, ContainsRegex("\nok +lock +"));
    EXPECT_THAT(run.out, HasSubstr("19 of 19 tables copied"));
    // The order that was entered on the day of the trail, and the one that was removed then.
    EXPECT_EQ(Cell("SELECT count(*) FROM tssoc200 WHERE orno = 'SO0000041'"), "1");
    EXPECT_EQ(Cell("SELECT count(*) FROM tssoc200 WHERE orno = 'SO0000039'"), "0");
    EXPECT_THAT(Rows("SELECT orno, action FROM tssoc200_audit"),
                AllOf(Contains("SO0000041|I"), Contains("SO0000040|U"), Contains("SO0000039|D")));
    EXPECT_THAT(run.out, ContainsRegex("\ntssoc200 +[1-9][0-9]* +[1-9][0-9]* +0 +4[0-9] "));
    EXPECT_THAT(run.out, ContainsRegex("\ntssoc200 +4[0-9] +[0-9:-]+ incremental "));
    EXPECT_THAT(run.out, Not(HasSubstr("wrong    ")));
    for (const std::string& line : Lines(run.out)) EXPECT_LE(line.size(), 80U) << line;
}

}  // namespace
}  // namespace iqrx::testing
