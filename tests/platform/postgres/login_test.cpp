// How a connection comes to be, and how it goes.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kPassword = "p;a}ss'wo\"rd =x";
constexpr const char* kPasswordKey = ";Password={p;a}}ss'wo\"rd =x}";

class Login : public ServerTest {
protected:
    // Over TCP, with TLS only, and a password that is asked for by SCRAM.
    static PostgresServer& Guarded() {
        static PostgresServer server({.listens = PostgresOptions::Listens::TcpWithTls, .password = kPassword});
        return server;
    }
    static std::string Verified() {
        return ";SSLMode=verify-full;SSLRootCert=" + Guarded().Certificate().string();
    }
};

TEST_F(Login, ByPasswordOverTlsReachesTheServerThatItsCertificateNames) {
    const auto guarded = ConnectionOn(Guarded(), kPasswordKey + Verified());
    guarded->Execute(std::string_view(
        "CREATE OR REPLACE VIEW links AS SELECT ssl FROM pg_stat_ssl WHERE pid = pg_backend_pid()"));
    auto rows = guarded->CreateRecordset();
    rows->Open("SELECT * FROM links", CursorType::ForwardOnly, LockType::ReadOnly);
    EXPECT_EQ(rows->Field(0), Value(true));
}

TEST_F(Login, WithoutTlsIsRefusedWhereTheServerWantsIt) {
    EXPECT_THAT(Raised([&] { ConnectionOn(Guarded(), std::string(kPasswordKey) + ";SSLMode=disable"); }),
                AllOf(StartsWith("[28000]"), HasSubstr("no encryption")));
}

TEST_F(Login, ToAServerWithAnotherCertificateIsGivenUp) {
    EXPECT_THAT(Raised([&] {
                    ConnectionOn(Guarded(),
                                 std::string(kPasswordKey) + ";SSLMode=verify-full;SSLRootCert=/etc/hostname");
                }),
                StartsWith("[08001]"));
}

TEST_F(Login, WithAWrongPasswordOrNoneIsRefusedAndNoWordOfItIsShown) {
    const std::string wrong = Raised([&] { ConnectionOn(Guarded(), ";Password=NotTheSecret" + Verified()); });
    EXPECT_THAT(wrong, AllOf(StartsWith("[28P01]"), HasSubstr("password authentication failed for user"),
                             Not(HasSubstr("NotTheSecret")), Not(HasSubstr("LOCATION"))));
    EXPECT_THAT(Raised([&] { ConnectionOn(Guarded(), Verified()); }),
                AllOf(StartsWith("[28000]"), HasSubstr("no password supplied")));
}

TEST_F(Login, TellsTheProvidersNumberOfARefusal) {
    auto refused = CreatePostgresConnection({});
    EXPECT_THAT(Raised([&] {
                    refused->Open("Provider=PostgreSQL;Host=127.0.0.1;Port=" + std::to_string(Guarded().Port()) +
                                  ";Database=postgres;User=postgres;Password=wrong");
                }),
                StartsWith("[28P01]"));
    EXPECT_EQ(refused->LastErrors().front().number, -2147217843);
    EXPECT_EQ(refused->LastErrors().front().sqlState, "28P01");
}

TEST_F(Login, ToADatabaseThatIsNotThereNamesIt) {
    auto none = CreatePostgresConnection({});
    EXPECT_EQ(Raised([&] {
                  none->Open("Provider=PostgreSQL;Host=" + Server().Host() +
                             ";Port=" + std::to_string(Server().Port()) + ";Database=nowhere;User=postgres");
              }).substr(0, 7),
              "[3D000]");
}

TEST_F(Login, WithAKeyThatIsNotKnownNamesTheKeyAndNotItsValue) {
    EXPECT_THAT(Raised([&] { ConnectionOn(Server(), ";SSLMod=secret"); }),
                AllOf(HasSubstr("SSLMod"), Not(HasSubstr("secret"))));
    EXPECT_THAT(Raised([&] { ConnectionOn(Server(), ";Connect Timeout=soon"); }), HasSubstr("Connect Timeout"));
    EXPECT_THAT(Raised([&] { ConnectionOn(Server(), ";Password=my;secret=x"); }),
                AllOf(HasSubstr("after the password"), Not(HasSubstr("secret"))));
}

TEST_F(Login, ByAServiceThatIsNotDefinedSaysSo) {
    auto none = CreatePostgresConnection({});
    EXPECT_THAT(Raised([&] { none->Open("Service=no_such_service"); }),
                AllOf(StartsWith("[08001]"), HasSubstr("no_such_service")));
}

// A server that takes the connection and says nothing.
TEST_F(Login, IsGivenUpAfterItsTime) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(socket, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(listen(socket, 1), 0);
    ASSERT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length), 0);
    const auto begin = std::chrono::steady_clock::now();
    auto none = CreatePostgresConnection({});
    EXPECT_THAT(Raised([&] {
                    none->Open("Provider=PostgreSQL;Host=127.0.0.1;Port=" +
                               std::to_string(ntohs(address.sin_port)) + ";Connect Timeout=1");
                }),
                StartsWith("[08001] The server did not answer within 1 s"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    close(socket);
}

TEST_F(Login, IsRefusedWhereAllConnectionsAreTaken) {
    Run("DROP ROLE IF EXISTS copier; CREATE ROLE copier LOGIN");
    std::vector<std::unique_ptr<Connection>> taken;
    std::string error;
    for (int i = 0; i < 10 && error.empty(); ++i)
        error = Raised([&] { taken.push_back(Connect("", "copier")); });
    EXPECT_THAT(error, AllOf(StartsWith("[53300]"), HasSubstr("remaining connection slots")));
    taken.clear();
    for (int attempt = 0; attempt < 100 && !error.empty();
         ++attempt)  // the server sees the ends in its own time
        error = Raised([&] { Connect("", "copier"); });
    EXPECT_EQ(error, "");
}

void ExpectLost(const Connection& connection, const std::string& error) {
    EXPECT_THAT(error, StartsWith("[08S01] The connection to the database was lost: "));
    EXPECT_TRUE(SpeakOfLostConnection(const_cast<Connection&>(connection).LastErrors()));
}

TEST_F(Login, IsLostWithTheServerAndMadeAnewWhenItIsBack) {
    Run("CREATE TABLE t(k INTEGER)");
    Db().Commit();
    const auto left = Connect();
    const auto leave = std::string_view("INSERT INTO t (k) VALUES (1)");
    left->Execute(leave);
    left->Commit();

    PostgresServer& server = Server();
    server.ShutDown();

    const std::string told = Raised([&] { left->Execute(leave); });
    ExpectLost(*left, told);
    EXPECT_THAT(told, HasSubstr("[57P01]"));
    ExpectLost(*left, Raised([&] { left->DefaultDatabase(); }));
    ExpectLost(*left, Raised([&] { left->RunExclusively([] {}); }));
    EXPECT_THAT(Raised([&] { ConnectionOn(server); }), StartsWith("[08001]"));
    connection.reset();
    EXPECT_THAT(Rows("SELECT k FROM t"), ElementsAre("1"));
    left->Close();
    left->Open("Provider=PostgreSQL;Host=" + Server().Host() + ";Port=" + std::to_string(Server().Port()) +
               ";Database=postgres;User=postgres");
    EXPECT_EQ(left->Execute(leave), 1);
}

TEST_F(Login, IsLostInTheMiddleOfAUnitOfWhichNothingIsLeft) {
    Run("CREATE TABLE t(k INTEGER)");
    Db().Commit();
    const std::string error = Raised([&] {
        Db().RunAsUnit([&] {
            Run("INSERT INTO t (k) VALUES (1)");
            Server().Stop();
            Run("INSERT INTO t (k) VALUES (2)");
        });
    });
    ExpectLost(Db(), error);
    connection.reset();
    EXPECT_THAT(Rows("SELECT k FROM t"), ::testing::IsEmpty());
}

}  // namespace
}  // namespace iqrx::testing
