// What an administrator of a site on PostgreSQL meets.
#include <sys/stat.h>

#include <csignal>
#include <fstream>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class OnPostgreSQL : public Site {
protected:
    OnPostgreSQL() : Site(true) {}
};

TEST_F(OnPostgreSQL, ADatabaseWithoutTablesLeadsToInit) {
    Execute("DROP TABLE tstables");
    const Finished copy = Qrxctl({"copy", "tsmdm030", "--full"});
    EXPECT_EQ(copy.exitCode, 1);
    EXPECT_THAT(copy.err, AllOf(HasSubstr("[42P01]"), HasSubstr("-> qrxctl init")));
    EXPECT_EQ(Qrxctl({"init"}).exitCode, 0);
    EXPECT_THAT(Qrxctl({"check"}).out,
                HasSubstr("tables    20 target, 3 change logs, 5 control; columns as expected"));
}

TEST_F(OnPostgreSQL, ATableThatIsMissingOrOddIsFound) {
    Execute("DROP TABLE tsmdm100; ALTER TABLE tsmdm030 ALTER dahe TYPE text, DROP prod");
    const std::string found = Unwrapped(Qrxctl({"check"}).out);
    EXPECT_THAT(found, HasSubstr("tsmdm100 is missing"));
    EXPECT_THAT(found, HasSubstr("tsmdm030 has no column prod; column dahe is TEXT, expected INTEGER"));
    EXPECT_THAT(Qrxctl({"status"}).out,
                HasSubstr("wrong    tsmdm100  no such table\n         -> qrxctl init\n"));
}

TEST_F(OnPostgreSQL, ASchemaOfItsOwnIsFilledAndLeavesTheOthersAlone) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    EXPECT_THAT(Qrxctl({"init", "--database", "erp"}).err,
                AllOf(HasSubstr("has no schema \"erp\""), HasSubstr("make the schema")));
    Execute("CREATE SCHEMA erp");

    EXPECT_EQ(Qrxctl({"init", "--database", "erp"}).exitCode, 0);
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full", "--database", "erp"}).exitCode, 0);
    Request incremental = FullCopy();
    incremental.database = "erp";
    EXPECT_EQ(Service(incremental).exitCode, 0);

    EXPECT_EQ(Cell("SELECT count(*) FROM erp.tsmdm030"), "3");
    EXPECT_EQ(Cell("SELECT count(*) FROM public.tsmdm030"), "0");
    EXPECT_EQ(Cell("SELECT count(*) FROM public.tstables WHERE lutm IS NOT NULL"), "0");
}

TEST_F(OnPostgreSQL, APasswordIsInNoLogNorTraceNorError) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    const std::string secret = "Geheim4711";
    const std::string good = Connection() + ";Password=" + secret;
    const Environment traced{{"QRX_SQL_TRACE", (logs / "trace.jsonl").string()}};
    std::string shown;
    for (const std::string& connection :
         {good, "Provider=PostgreSQL;Host=/nowhere;Password=" + secret, good + ";" + secret + "=x",
          "Provider=PostgreSQL;Host=127.0.0.1;Port=1;Password=my;" + secret}) {
        Request request = FullCopy();
        request.connection = connection;
        const Finished service = Service(request, traced);
        const Finished check = BareQrxctl({"check", "--connection", connection, "--erp",
                                           "extract=" + extract.string(), "--log-dir", logs.string()});
        shown += service.out + service.err + check.out + check.err;
    }
    for (const auto& file : fs::recursive_directory_iterator(logs))
        if (file.is_regular_file()) shown += ReadText(file.path());
    EXPECT_THAT(shown, Not(HasSubstr(secret)));
    EXPECT_THAT(shown, HasSubstr("UPDATE tsmdm030"));
}

// Rows that are handed out by the test.
TEST_F(OnPostgreSQL, AServerThatDiesInMidCopyEndsTheRunAndTheNextOneRepairs) {
    const fs::path records = extract / "tsmdm030.csv";
    ASSERT_EQ(mkfifo(records.c_str(), 0600), 0);
    Child copy(ServiceCommand(FullCopy()), directory);
    const auto before = std::signal(SIGPIPE, SIG_IGN);  // the copy ends before it has read all
    {
        std::ofstream stream(records, std::ios::binary);
        stream << "cstp,desc,proc,ract,dahe\n";
        for (int i = 100; i < 400; ++i) stream << i << ",Type,P,WRK,1\n";
        stream << std::flush;
        WaitUntil([&] { return Cell("SELECT count(*) FROM tsmdm030") != "0"; });
        SiteServer().Stop();
        for (int i = 400; i < 2000; ++i) stream << i << ",Type,P,WRK,1\n";
    }
    std::signal(SIGPIPE, before);
    const Finished run = copy.Wait();
    EXPECT_NE(run.exitCode, 0);
    EXPECT_THAT(run.err, HasSubstr("The connection to the database was lost"));
    fs::remove(records);

    SiteServer().Start();
    EXPECT_TRUE(InUse("tsmdm030")) << "who could have unlocked it?";
    EXPECT_EQ(Cell("SELECT lutm IS NULL FROM tstables WHERE tablename = 'tsmdm030'"), "1");
    const Finished unlock = Qrxctl({"unlock", "tsmdm030", "--force"});
    EXPECT_EQ(unlock.exitCode, 0) << unlock.out << unlock.err;
    GivenExtract("tsmdm030.csv", kServiceTypes);
    EXPECT_EQ(Qrxctl({"copy", "tsmdm030", "--full", "--max-removed", "any"}).exitCode, 0);
    EXPECT_THAT(Rows("SELECT cstp, upd_flag FROM tsmdm030 ORDER BY cstp"),
                ElementsAre("ADV|0", "INS|0", "REP|0"));
}

}  // namespace
}  // namespace iqrx::testing
