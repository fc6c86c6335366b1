// Servers that run out of something in the middle of a copy: disk, connections.
#include <libpq-fe.h>
#include <sys/stat.h>

#include <fstream>
#include <memory>

#include "scenarios/mended_by_the_next_run.h"

namespace iqrx::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The disk is full as soon as the file of the orders has grown by so many pages. That file is a long one
// whose rows are gone, so that no other has the length that the server's processes are held to.
class AFullDisk : public MendedByTheNextRun {
protected:
    AFullDisk() : MendedByTheNextRun(true, 400) {}
    void TearDown() override { SiteServer().LimitFiles({}); }

    void GivenRoomFor(int pages) const {
        Execute("ALTER TABLE tssoc200 SET (autovacuum_enabled = false), ALTER stna SET STORAGE PLAIN");
        if (GetParam().method == kFull) Execute("TRUNCATE tssoc200");
        Execute(
            "INSERT INTO tssoc200 (orno, stna)"
            " SELECT 'long' || n, repeat('x', 7900) FROM generate_series(1, 2100) n");
        Execute("DELETE FROM tssoc200 WHERE orno LIKE 'long%'");
        constexpr int kPage = 8192, kLogFile = 16 * 1024 * 1024;
        const int length = std::stoi(Cell("SELECT pg_relation_size('tssoc200')"));
        ASSERT_GT(length, kLogFile) << "the server's log has to go on";
        SiteServer().LimitFiles(length + pages * kPage + kPage / 2);
    }
};

TEST_P(AFullDisk, EndsTheRunWhichIsMendedByTheNextOne) {
    const bool inFull = GetParam().method == kFull;
    for (const int pages : inFull ? std::vector{0, 9} : std::vector{1}) {
        SCOPED_TRACE("room for " + std::to_string(pages) + " pages");
        BackToTheMorning();
        GivenRoomFor(pages);
        const std::string lastUpdate = LastUpdate("tssoc200");

        const Finished run = Copy();

        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, IsOneLineWith("[53100] could not extend file"));
        EXPECT_THAT(Rows("SELECT tablename FROM tstables WHERE in_use <> 0"), IsEmpty());
        EXPECT_EQ(LastUpdate("tssoc200"), lastUpdate);
        if (pages > 0) {
            EXPECT_NE(Cell(inFull ? "SELECT count(*) FROM tssoc200" : "SELECT count(*) FROM tssoc200_audit"), "0")
                << "it was not in mid-copy";
        }
        SiteServer().LimitFiles({});
        ExpectMended();
    }
}

INSTANTIATE_TEST_SUITE_P(Copies, AFullDisk,
                         ::testing::Values(DisturbedCopy{"10", kFull, "OrdersInFull"},
                                           DisturbedCopy{"10", kIncremental, "ChangesOfOrders"}),
                         [](const auto& test) { return test.param.name; });

// A site whose copies run as a user with the rights that they need and no others: those that the server
// reserves are not for them.
class NoConnectionLeft : public Site {
protected:
    NoConnectionLeft() : Site(true) {
        GivenExtract("tsmdm030.csv", kServiceTypes);
        GivenExtract("tsmdm130.csv", "skll,desc,clrt\nMECH,Mechanics,LR1\nELEC,Electrics,LR2");
        Execute(
            "CREATE ROLE copier LOGIN; GRANT USAGE ON SCHEMA public TO copier;"
            "GRANT SELECT, INSERT, UPDATE, DELETE ON ALL TABLES IN SCHEMA public TO copier");
    }
    void TearDown() override {
        guests.clear();
        AwaitConnections(0);
        Execute("DROP OWNED BY copier; DROP ROLE copier");
    }

    Request AsCopier(const std::string& table) const {
        Request request = FullCopy();
        request.table = table;
        request.connection.replace(request.connection.find("User=postgres"), 13, "User=copier");
        return request;
    }
    int Connections() const {
        return std::stoi(Cell("SELECT count(*) FROM pg_stat_activity WHERE usename = 'copier'"));
    }
    void AwaitConnections(int count) const {
        WaitUntil([&] { return Connections() == count; });
    }
    // One that is being ended counts for a while, so that a single refusal does not mean that all are taken.
    void TakeAllConnections() {
        const int most =
            std::stoi(Cell("SELECT current_setting('max_connections')::int"
                           " - current_setting('superuser_reserved_connections')::int"));
        const std::string port = std::to_string(SiteServer().Port()), host = SiteServer().Host();
        WaitUntil([&] {
            for (;;) {
                Guest guest(
                    PQsetdbLogin(host.c_str(), port.c_str(), nullptr, nullptr, "postgres", "copier", nullptr),
                    PQfinish);
                if (PQstatus(guest.get()) != CONNECTION_OK) break;
                guests.push_back(std::move(guest));
            }
            return Connections() == most;
        });
    }
    void ExpectRefused(const Finished& run, const std::string& table) const {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_THAT(run.err, IsOneLineWith("[53300]"));
        EXPECT_FALSE(InUse(table));
        EXPECT_EQ(LastUpdate(table), "NULL");
    }

    using Guest = std::unique_ptr<PGconn, decltype(&PQfinish)>;
    std::vector<Guest> guests;
};

TEST_F(NoConnectionLeft, EndsTheRunBeforeItBegins) {
    TakeAllConnections();
    ExpectRefused(Service(AsCopier("2")), "tsmdm030");
    guests.clear();
    AwaitConnections(0);
    const Finished next = Service(AsCopier("2"));
    EXPECT_EQ(next.exitCode, 0) << next.err;
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), "3");
}

// The test hands the copy its rows out.
TEST_F(NoConnectionLeft, IsOfNoConcernToACopyThatHasOne) {
    const fs::path records = extract / "tsmdm030.csv";
    fs::remove(records);
    ASSERT_EQ(mkfifo(records.c_str(), 0600), 0);
    Child copy(ServiceCommand(AsCopier("2")), directory);
    {
        std::ofstream stream(records, std::ios::binary);
        stream << "cstp,desc,proc,ract,dahe\n";
        for (int i = 1000; i < 1300; ++i) stream << i << ",Type,P,WRK,1\n";
        stream << std::flush;
        WaitUntil([&] { return Cell("SELECT count(*) FROM tsmdm030") != "0"; });
        TakeAllConnections();
        ExpectRefused(Service(AsCopier("5")), "tsmdm130");
        for (int i = 1300; i < 3000; ++i) stream << i << ",Type,P,WRK,1\n";
    }
    const Finished run = copy.Wait();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), "2000");
    guests.clear();
    AwaitConnections(0);
    EXPECT_EQ(Service(AsCopier("5")).exitCode, 0);
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm130"), "2");
}

}  // namespace
}  // namespace iqrx::testing
