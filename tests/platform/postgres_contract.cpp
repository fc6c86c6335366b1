// The database port's contract on PostgreSQL.
#include "platform/database_contract.h"
#include "platform/postgres/postgres_database.h"
#include "support/postgres_server.h"

namespace iqrx::testing {
namespace {

class Postgres : public Adapter {
public:
    Postgres() {
        if (!Server().Running()) Server().Start();
        auto connection = CreateConnection();
        connection->Open(ConnectionString());
        connection->Execute("DROP SCHEMA IF EXISTS public CASCADE");
        connection->Execute("CREATE SCHEMA public");
    }

    const Quirks& GetQuirks() const override { return quirks_; }
    std::unique_ptr<platform::Connection> CreateConnection() override {
        return platform::CreatePostgresConnection({});
    }
    std::string ConnectionString() override {
        return "Provider=PostgreSQL;Host=" + Server().Host() + ";Port=" + std::to_string(Server().Port()) +
               ";Database=postgres;User=postgres";
    }
    std::string UnusableConnectionString() override {
        return "Provider=PostgreSQL;Host=127.0.0.1;Port=1;Database=postgres;User=postgres";
    }
    void StopServer() override { Server().Stop(); }

private:
    // One for all tests, since making one takes longer than a test.
    static PostgresServer& Server() {
        static PostgresServer server({.listens = PostgresOptions::Listens::Socket});
        return server;
    }

    Quirks quirks_{.momentType = "TIMESTAMP",
                   .uncounted = {"CREATE TABLE others (id INTEGER)", "DROP TABLE others",
                                 "SET DATEFORMAT YMD", "UPDATE STATISTICS items", "truncate table items "}};
};

const auto kPostgres = ::testing::Values(AdapterMaker{"Socket", [] { return std::make_unique<Postgres>(); }});

INSTANTIATE_TEST_SUITE_P(Postgres, RecordsetContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, DatabaseContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, AnswersContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, BatchContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, OneNameContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, FrameContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, LockContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, UnitContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, NoGroupContract, kPostgres, NameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, ServerContract, kPostgres, NameOf);

}  // namespace
}  // namespace iqrx::testing
