// Connections one after the other, as a copy opens them: the catalog's, then its own.
#include "platform/postgres/fixture.h"

namespace iqrx::testing {
namespace {

class IdleSessions : public ServerTest {
protected:
    IdleSessions() { Run("CREATE VIEW me AS SELECT pg_backend_pid() AS pid"); }

    // A session of the server, by its number.
    std::string SessionOf(Connection& opened) {
        auto rows = opened.CreateRecordset();
        rows->Open("SELECT pid FROM me", CursorType::ForwardOnly, LockType::ReadOnly);
        return ToText(rows->Field("pid"));
    }
    std::unique_ptr<Connection> Next(const std::string& keys = "") {
        auto made = CreatePostgresConnection({"tstables"}, idle);
        made->Open("Provider=PostgreSQL;Host=" + Server().Host() +
                   ";Port=" + std::to_string(Server().Port()) + ";Database=postgres;User=postgres" + keys);
        return made;
    }
    std::string SessionLeftBy(const std::function<void(Connection&)>& work) {
        const auto first = Next();
        std::string session = SessionOf(*first);
        work(*first);
        first->Close();
        return session;
    }
    std::string SessionOfTheNext(const std::string& keys = "") { return SessionOf(*Next(keys)); }

    std::shared_ptr<postgres::IdleSession> idle = IdlePostgresSession();
};

TEST_F(IdleSessions, GoOnInTheNextConnection) {
    Run("CREATE TABLE t(k INTEGER PRIMARY KEY)");
    const std::string session = SessionLeftBy([](Connection& first) {
        for (const char* row : {"1", "2", "3", "4"})
            first.Execute("INSERT INTO t (k) VALUES (" + std::string(row) + ")");
    });
    const auto second = Next();
    EXPECT_EQ(SessionOf(*second), session);
    EXPECT_EQ(second->DefaultDatabase(), "public");
    EXPECT_EQ(second->Execute(std::string_view("DELETE FROM t WHERE k < 4")), 3);
}

TEST_F(IdleSessions, AreNotThoseOfOtherSettings) {
    const std::string session = SessionLeftBy([](Connection&) {});
    EXPECT_NE(SessionOfTheNext(";Application Name=another"), session);
}

TEST_F(IdleSessions, AreNotWhatSomebodyChanged) {
    Run("DROP SCHEMA IF EXISTS other CASCADE; CREATE SCHEMA other");
    const std::string moved = SessionLeftBy([](Connection& first) { first.SetDefaultDatabase("other"); });
    EXPECT_NE(SessionOfTheNext(), moved);
    const std::string limited = SessionLeftBy([](Connection& first) { first.SetCommandTimeout(7); });
    EXPECT_NE(SessionOfTheNext(), limited);
    EXPECT_EQ(Next()->DefaultDatabase(), "public");
}

TEST_F(IdleSessions, AreNotWhatTheServerEnded) {
    const std::string session = SessionLeftBy([](Connection&) {});
    Run("CREATE TABLE ended AS SELECT pg_terminate_backend(" + session + ")");
    while (!Rows("SELECT pid FROM pg_stat_activity WHERE pid = " + session).empty()) continue;
    EXPECT_NE(SessionOfTheNext(), session);
}

TEST_F(ServerTest, ASessionThatWasEndedBetweenTwoCommandsSaysWhy) {
    postgres::Session session(postgres::SettingsOf("Host=" + Server().Host() +
                                                       ";Port=" + std::to_string(Server().Port()) +
                                                       ";Database=postgres;User=postgres",
                                                   0));
    const postgres::Answer answer = session.Ask("SELECT pg_backend_pid()::text");
    const std::string pid = PQgetvalue(answer.get(), 0, 0);
    Run("CREATE TABLE ended AS SELECT pg_terminate_backend(" + pid + ")");
    const std::string error = Raised([&] {
        for (;;) session.HasAnswer();
    });
    EXPECT_THAT(error, ::testing::HasSubstr("The connection to the database was lost: [57P01]"));
}

}  // namespace
}  // namespace iqrx::testing
