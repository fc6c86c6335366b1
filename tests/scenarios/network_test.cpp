// What an administrator meets whose server is behind a network that stalls or breaks.
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <functional>

#include "scenarios/site.h"
#include "support/relay.h"

namespace iqrx::testing {
namespace {

using ::testing::HasSubstr;

class OverANetwork : public Site {
protected:
    OverANetwork() : Site(true) {}

    std::string Distant() const {
        return "Provider=PostgreSQL;Host=127.0.0.1;Port=" + std::to_string(network.Port()) + ";" +
               Connection().substr(Connection().find("Database="));
    }
    Request DistantCopy() const {
        Request request = FullCopy();
        request.connection = Distant();
        return request;
    }
    Finished DistantTool(std::vector<std::string> arguments, const std::string& keys = "") const {
        arguments.insert(arguments.begin(), {"--connection", Distant() + keys, "--erp",
                                             "extract=" + extract.string(), "--log-dir", logs.string()});
        return BareQrxctl(std::move(arguments));
    }

    Relay network{SiteServer().Port()};
};

TEST_F(OverANetwork, AServerThatDoesNotAnswerIsGivenUpAfterTheConnectTimeout) {
    GivenExtract("tsmdm030.csv", kServiceTypes);
    Request copy = DistantCopy();
    copy.connection += ";Connect Timeout=1";
    network.Stall();
    const Finished run = Service(copy);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("The server did not answer within 1 s"));
    const Finished check = DistantTool({"check"}, ";Connect Timeout=1");
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_THAT(Unwrapped(check.out), HasSubstr("The server did not answer within 1 s"));
    network.Resume();
    EXPECT_FALSE(InUse("tsmdm030"));
    EXPECT_EQ(Service(copy).exitCode, 0);
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), "3");
}

// The test hands the copy its rows out.
class InMidCopy : public OverANetwork {
protected:
    static constexpr int kFirst = 300, kRows = 2000;

    InMidCopy() { EXPECT_EQ(mkfifo(records.c_str(), 0600), 0); }
    ~InMidCopy() override { std::signal(SIGPIPE, before); }

    static std::string Records(int begin, int end) {
        std::string text;
        for (int i = begin; i < end; ++i) text += "\n" + std::to_string(1000 + i) + ",Type,P,WRK,1";
        return text;
    }
    // Some are in the table, the others have not been sent when it happens.
    Finished CopyWhile(const std::function<void()>& happens, const std::function<void()>& afterwards) const {
        Child copy(ServiceCommand(DistantCopy()), directory);
        {
            std::ofstream stream(records, std::ios::binary);
            stream << "cstp,desc,proc,ract,dahe" << Records(0, kFirst) << std::flush;
            WaitUntil([&] { return Cell("SELECT count(*) FROM tsmdm030") != "0"; });
            happens();
            stream << Records(kFirst, kRows) << '\n';
        }
        afterwards();
        return copy.Wait();
    }

    void ExpectTheNextRunRepairs() const {
        fs::remove(records);
        GivenExtract("tsmdm030.csv", "cstp,desc,proc,ract,dahe" + Records(0, kRows));
        EXPECT_TRUE(InUse("tsmdm030")) << "who could have unlocked it?";
        EXPECT_EQ(Cell("SELECT lutm IS NULL FROM tstables WHERE tablename = 'tsmdm030'"), "1");
        EXPECT_EQ(DistantTool({"unlock", "tsmdm030", "--force"}).exitCode, 0);
        const Finished next = Service(DistantCopy());
        EXPECT_EQ(next.exitCode, 0) << next.err;
        EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030 WHERE upd_flag = 0"), std::to_string(kRows));
        EXPECT_FALSE(InUse("tsmdm030"));
        const std::vector<std::string> repaired = Rows(kSelectServiceTypes);
        Execute("DELETE FROM tsmdm030");
        EXPECT_EQ(Service(DistantCopy()).exitCode, 0);
        EXPECT_THAT(repaired, ::testing::ContainerEq(Rows(kSelectServiceTypes)));
    }

    const fs::path records = extract / "tsmdm030.csv";
    // The copy may end before it has read all.
    void (*const before)(int) = std::signal(SIGPIPE, SIG_IGN);
};

TEST_F(InMidCopy, AStallIsWaitedOut) {
    const Finished run = CopyWhile([&] { network.Stall(); }, [&] { network.Resume(); });
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(Cell("SELECT count(*) FROM tsmdm030"), std::to_string(kRows));
}

TEST_F(InMidCopy, ACutEndsTheRunAndTheNextOneRepairs) {
    const Finished run = CopyWhile([&] { network.Cut(); }, [] {});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("[08S01] The connection to the database was lost"));
    ExpectTheNextRunRepairs();
}

TEST_F(InMidCopy, ACutThatTakesWhatIsUnderWayEndsTheRunAndTheNextOneRepairs) {
    const Finished run = CopyWhile([&] { network.Stall(); },
                                   [&] {
                                       network.Cut();
                                       network.Resume();
                                   });
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("[08S01] The connection to the database was lost"));
    ExpectTheNextRunRepairs();
}

TEST_F(InMidCopy, ARestartOfTheServerEndsTheRunAndTheNextOneRepairs) {
    const Finished run = CopyWhile([&] { network.Stall(); },
                                   [&] {
                                       SiteServer().ShutDown();
                                       SiteServer().Start();
                                       network.Resume();
                                   });
    EXPECT_EQ(run.exitCode, 1);
    const std::string lost = "[08S01] The connection to the database was lost: [57P01]";
    EXPECT_THAT(Lines(run.err),
                ::testing::ElementsAre(HasSubstr("tsmdm030 stays locked: " + lost), HasSubstr(lost)));
    ExpectTheNextRunRepairs();
}

}  // namespace
}  // namespace iqrx::testing
