// What a site on PostgreSQL sets up that has many orders: rows that travel together, a table in partitions,
// servers to read from. The copy is none the wiser.
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <regex>

#include "scenarios/site.h"

namespace iqrx::testing {
namespace {

using ::testing::ContainerEq;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Of the control tables: nothing else has a moment of the run in it.
std::string WithoutMoments(const std::string& line) {
    static const std::regex moment("2[0-9]{3}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}");
    const bool mayHave =
        line.find("tstables") != std::string::npos || line.find("tsfullsyncs") != std::string::npos;
    return mayHave ? std::regex_replace(line, moment, "NOW") : line;
}

// What a run says, the statements of its trace with their counts, and the rows that it leaves.
struct Copied {
    int exitCode = -1;
    std::vector<std::string> trace, orders, changes;
    std::string error;
};

void ExpectEqual(const Copied& copied, const Copied& expected) {
    EXPECT_EQ(copied.exitCode, expected.exitCode);
    EXPECT_EQ(copied.error, expected.error);
    EXPECT_THAT(copied.orders, ContainerEq(expected.orders));
    EXPECT_THAT(copied.changes, ContainerEq(expected.changes));
    ASSERT_EQ(copied.trace.size(), expected.trace.size());
    for (std::size_t i = 0; i < expected.trace.size(); ++i)
        ASSERT_EQ(copied.trace[i], expected.trace[i]) << "line " << i + 1;
}

struct Target {
    enum class Table { Plain, Partitioned, PartitionedOverServers };

    int rowsPerTrip;
    Table table;
    std::string name;
};
const Target kPlain{1, Target::Table::Plain, ""};
void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }

// More orders than are under way at once: in full, in full again when the ERP has lost some, then a day's changes.
class ManyOrders : public Site, public ::testing::WithParamInterface<Target> {
protected:
    static constexpr int kOrders = 1100, kLost = 110;
    static constexpr const char* kPartOf = " PARTITION OF tssoc200 FOR VALUES WITH (MODULUS 4, REMAINDER ";

    ManyOrders() : Site(true) {
        EXPECT_EQ(BareQrxctl({"sample", extract.string(), "--orders", std::to_string(kOrders), "--changes",
                              "300", "--force"})
                      .exitCode,
                  0);
        Database().Keep();
    }

    void GivenTarget(const Target& target) {
        fs::remove_all(logs);
        fs::create_directory(logs);
        Database().Restore();
        rowsPerTrip = target.rowsPerTrip;
        if (target.table == Target::Table::Partitioned) GivenPartitions();
        if (target.table == Target::Table::PartitionedOverServers) GivenPartitionsOnAnotherServer();
    }
    // As docs/servers.md has them.
    void GivenPartitions() const {
        Execute("ALTER TABLE tssoc200 RENAME TO tssoc200_whole");
        Execute("CREATE TABLE tssoc200 (LIKE tssoc200_whole INCLUDING ALL) PARTITION BY HASH (orno)");
        for (const std::string remainder : {"0", "1", "2", "3"})
            Execute("CREATE TABLE tssoc200_" + remainder + kPartOf + remainder + ")");
        Execute("INSERT INTO tssoc200 SELECT * FROM tssoc200_whole");
        Execute("DROP TABLE tssoc200_whole");
    }
    void GivenPartitionsOnAnotherServer() const {
        static const PostgresServer other({.listens = PostgresOptions::Listens::Socket});
        const std::string columns = Cell(
            "SELECT string_agg(attname || ' ' || format_type(atttypid, atttypmod), ', ' ORDER BY attnum)"
            " FROM pg_attribute WHERE attrelid = 'tssoc200'::regclass AND attnum > 0");
        Execute("CREATE EXTENSION postgres_fdw");
        Execute("CREATE SERVER other FOREIGN DATA WRAPPER postgres_fdw OPTIONS (dbname 'postgres', host '" +
                other.Host() + "', port '" + std::to_string(other.Port()) + "')");
        Execute("CREATE USER MAPPING FOR postgres SERVER other");
        Execute("ALTER TABLE tssoc200 RENAME TO tssoc200_whole");
        Execute("CREATE TABLE tssoc200 (LIKE tssoc200_whole INCLUDING DEFAULTS) PARTITION BY HASH (orno)");
        for (const std::string remainder : {"0", "1"}) {
            Execute("CREATE TABLE tssoc200_" + remainder + kPartOf + remainder + ")");
            Execute("ALTER TABLE tssoc200_" + remainder + " ADD PRIMARY KEY (orno)");
        }
        for (const std::string remainder : {"2", "3"}) {
            const std::string part = "tssoc200_" + remainder;
            RowsOn(other, "postgres", "DROP TABLE IF EXISTS " + part);
            RowsOn(other, "postgres", "CREATE TABLE " + part + " (" + columns + ", PRIMARY KEY (orno))");
            Execute("CREATE FOREIGN TABLE " + part + kPartOf + remainder + ") SERVER other");
        }
        Execute("DROP TABLE tssoc200_whole");
    }
    // Every tenth order.
    void GivenLostOrders() const {
        const std::vector<std::string> lines = Lines(ReadText(extract / "tssoc200.csv"));
        std::ofstream file(extract / "tssoc200.csv", std::ios::binary);
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (i == 0 || i % 10 != 0) file << lines[i] << '\n';
    }

    Copied Copy(const char* method) const {
        const fs::path trace = directory / "trace";
        fs::remove(trace);
        Request request = FullCopy();
        request.connection += ";Rows per Trip=" + std::to_string(rowsPerTrip);
        request.table = "10";
        request.method = method;
        const Finished run = Service(request, {{"QRX_SQL_TRACE", trace.string()}});
        Copied copied;
        copied.exitCode = run.exitCode;
        copied.error = run.err;
        for (const std::string& line : Lines(ReadText(trace))) copied.trace.push_back(WithoutMoments(line));
        copied.orders = Rows("SELECT * FROM tssoc200 ORDER BY orno");
        copied.changes = Rows("SELECT * FROM tssoc200_audit ORDER BY orno");
        EXPECT_FALSE(InUse("tssoc200"));
        return copied;
    }
    std::vector<Copied> CopyADay() const {
        std::vector<Copied> day{Copy(kFull)};
        const std::string all = ReadText(extract / "tssoc200.csv");
        GivenLostOrders();
        day.push_back(Copy(kFull));
        Execute("UPDATE tstables SET lutm = '2025-06-20 00:00:00' WHERE tablename = 'tssoc200'");
        day.push_back(Copy(kIncremental));
        std::ofstream(extract / "tssoc200.csv", std::ios::binary) << all;
        return day;
    }

    int rowsPerTrip = 1;
};

TEST_P(ManyOrders, AreCopiedAsByOneRowATripIntoAPlainTable) {
    GivenTarget(kPlain);
    const std::vector<Copied> expected = CopyADay();
    ASSERT_EQ(expected.at(0).orders.size(), std::size_t{kOrders});
    ASSERT_GT(expected.at(0).trace.size(), std::size_t{2 * kOrders}) << "an update and an insert each";
    ASSERT_EQ(expected.at(1).orders.size(), std::size_t{kOrders - kLost});
    for (const char* letter : {"I", "U", "D"})
        ASSERT_THAT(expected.at(2).changes, Contains(HasSubstr("|" + std::string(letter)))) << "in the day";

    GivenTarget(GetParam());
    const std::vector<Copied> day = CopyADay();

    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE("copy " + std::to_string(i + 1));
        ExpectEqual(day.at(i), expected[i]);
        EXPECT_EQ(day[i].exitCode, 0) << day[i].error;
    }
    if (GetParam().table != Target::Table::Plain) {
        EXPECT_THAT(Rows("SELECT tableoid::regclass::text FROM tssoc200 GROUP BY 1 ORDER BY 1"),
                    ElementsAre("tssoc200_0", "tssoc200_1", "tssoc200_2", "tssoc200_3"));
        EXPECT_EQ(Qrxctl({"init"}).exitCode, 0);
        EXPECT_THAT(Qrxctl({"check"}).out,
                    HasSubstr("tables    20 target, 3 change logs, 5 control; columns as expected"));
    }
}

class ManyOrdersOfWhichOneIsRefused : public ManyOrders {};

TEST_P(ManyOrdersOfWhichOneIsRefused, EndAsByOneRowATripIntoAPlainTable) {
    const auto copyInto = [&](const Target& target) {
        GivenTarget(target);
        Execute("ALTER TABLE tssoc200 ADD CONSTRAINT known CHECK (orno <> 'SO0000950')");
        return Copy(kFull);
    };
    const Copied expected = copyInto(kPlain);
    ASSERT_EQ(expected.exitCode, 1);
    ASSERT_THAT(expected.error, HasSubstr("[23514]"));
    ASSERT_EQ(expected.orders.size(), 949U);

    Copied copied = copyInto(GetParam());
    // The server names the part that refuses it.
    const std::regex part("tssoc200_[0-3]");
    copied.error = std::regex_replace(copied.error, part, "tssoc200");
    for (std::string& line : copied.trace)
        if (line.find("[23514]") != std::string::npos) line = std::regex_replace(line, part, "tssoc200");
    ExpectEqual(copied, expected);
}

std::string NameOf(const ::testing::TestParamInfo<Target>& test) { return test.param.name; }
const auto kOnOneServer = ::testing::Values(Target{200, Target::Table::Plain, "APlainTable"},
                                            Target{1, Target::Table::Partitioned, "PartitionsOneByOne"},
                                            Target{200, Target::Table::Partitioned, "Partitions"});
const auto kOnTwoServers =
    ::testing::Values(Target{1, Target::Table::PartitionedOverServers, "PartitionsOnTwoServersOneByOne"},
                      Target{200, Target::Table::PartitionedOverServers, "PartitionsOnTwoServers"});

INSTANTIATE_TEST_SUITE_P(Into, ManyOrders, kOnOneServer, NameOf);
INSTANTIATE_TEST_SUITE_P(Beyond, ManyOrders, kOnTwoServers, NameOf);
INSTANTIATE_TEST_SUITE_P(Into, ManyOrdersOfWhichOneIsRefused, kOnOneServer, NameOf);

// A server beside the site's, with the same rows a little later.
class AFollower : public Site {
protected:
    AFollower(const PostgresServer* primary, std::string database)
        : Site(true),
          follower{{.listens = PostgresOptions::Listens::Socket, .primary = primary}},
          name(database.empty() ? Cell("SELECT current_database()") : std::move(database)) {}

    std::vector<std::string> OnFollower(const std::string& sql) const { return RowsOn(follower, name, sql); }
    bool FollowerHas(const std::string& condition) const {
        return OnFollower("SELECT " + condition) == std::vector<std::string>{"1"};
    }
    virtual bool HasUpTo(const std::string& place) const = 0;  // of the site's log

    // Every row of every table.
    void ExpectEqual() const {
        const std::string place = Cell("SELECT pg_current_wal_flush_lsn()");
        WaitUntil([&] { return HasUpTo(place); });
        for (const std::string& table : Database().Tables()) {
            const std::string rows = "SELECT t.*::text FROM " + table + " t ORDER BY 1";
            EXPECT_THAT(OnFollower(rows), ContainerEq(Rows(rows))) << table;
        }
    }

    const PostgresServer follower;
    const std::string name;
};

class AReplica : public AFollower {
protected:
    AReplica() : AFollower(&SiteServer(), "") {}
    bool HasUpTo(const std::string& place) const override {
        return FollowerHas("pg_last_wal_replay_lsn() >= '" + place + "'");
    }
};

TEST_F(AReplica, HasTheRowsOfTheDaysCopies) {
    fs::remove(extract);
    fs::copy(Sample(), extract);
    EXPECT_EQ(Qrxctl({"copy", "--all", "--full"}).exitCode, 0);
    ExpectEqual();
    EXPECT_EQ(Qrxctl({"copy", "--all", "--incremental", "--since", "2025-06-20 00:00:00"}).exitCode, 0);
    ExpectEqual();
    EXPECT_THAT(OnFollower("SELECT orno FROM tssoc200_audit WHERE action = 'D' ORDER BY orno"),
                ElementsAre("SO0000029", "SO0000039"));
    EXPECT_THAT(OnFollower("SELECT count(*) FROM tssoc200 WHERE upd_flag <> 0"), ElementsAre("0"));
}

// The test hands the copy its rows out.
TEST_F(AReplica, IsReadWhileTheCopyWrites) {
    const fs::path records = extract / "tsmdm030.csv";
    ASSERT_EQ(mkfifo(records.c_str(), 0600), 0);
    Child copy(ServiceCommand(FullCopy()), directory);
    {
        std::ofstream stream(records, std::ios::binary);
        stream << "cstp,desc,proc,ract,dahe\n";
        for (int i = 1000; i < 1300; ++i) stream << i << ",Type,P,WRK,1\n";
        stream << std::flush;
        WaitUntil([&] { return OnFollower("SELECT count(*) FROM tsmdm030") != std::vector<std::string>{"0"}; });
        EXPECT_THAT(OnFollower("SELECT in_use FROM tstables WHERE tablename = 'tsmdm030'"), ElementsAre("1"));
        for (int i = 1300; i < 3000; ++i) stream << i << ",Type,P,WRK,1\n";
    }
    const Finished run = copy.Wait();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    ExpectEqual();
    EXPECT_THAT(OnFollower("SELECT count(*) FROM tsmdm030"), ElementsAre("2000"));
}

// It follows table by table, by what they publish.
class ASubscriber : public AFollower {
protected:
    ASubscriber() : AFollower(nullptr, "postgres") {
        Execute("ALTER SYSTEM SET wal_level = logical");
        SiteServer().Stop();
        SiteServer().Start();
        for (const char* withoutKey : {"tcccp030", "tcccp031", "tsmdm000", "tsparameters"})
            Execute(std::string("ALTER TABLE ") + withoutKey + " REPLICA IDENTITY FULL");
        Execute("CREATE PUBLICATION copied FOR ALL TABLES");
        EXPECT_EQ(BareQrxctl({"init", "--connection",
                              "Provider=PostgreSQL;Host=" + follower.Host() + ";Port=" +
                                  std::to_string(follower.Port()) + ";Database=postgres;User=postgres"})
                      .exitCode,
                  0);
        for (const std::string& table : Database().Tables()) OnFollower("TRUNCATE " + table);
        OnFollower("CREATE SUBSCRIPTION copied CONNECTION 'host=" + SiteServer().Host() +
                   " port=" + std::to_string(SiteServer().Port()) +
                   " user=postgres dbname=" + Cell("SELECT current_database()") + "' PUBLICATION copied");
        WaitUntil([&] { return FollowerHas("bool_and(srsubstate = 'r') FROM pg_subscription_rel"); });
    }
    ~ASubscriber() override { OnFollower("DROP SUBSCRIPTION copied"); }  // it holds on to the database

    bool HasUpTo(const std::string& place) const override {
        return Cell("SELECT bool_and(confirmed_flush_lsn >= '" + place + "') FROM pg_replication_slots") == "1";
    }
};

TEST_F(ASubscriber, HasTheRowsOfTheDaysCopies) {
    fs::remove(extract);
    fs::copy(Sample(), extract);
    EXPECT_EQ(Qrxctl({"copy", "--all", "--full"}).exitCode, 0);
    ExpectEqual();
    EXPECT_EQ(Qrxctl({"copy", "--all", "--incremental", "--since", "2025-06-20 00:00:00"}).exitCode, 0);
    EXPECT_EQ(Qrxctl({"copy", "--all", "--full"}).exitCode, 0);  // empties tcccp031 and the change-logs
    ExpectEqual();
    EXPECT_THAT(OnFollower("SELECT count(*) FROM tssoc200"),
                ElementsAre(Cell("SELECT count(*) FROM tssoc200")));
}

}  // namespace
}  // namespace iqrx::testing
