// What the ODBC adapter costs on top of the driver: the same statements, two for each row as a full copy
// sends them, through the adapter and through a bare loop over the driver manager, in turns and in the same
// run. The counter `ratio` is the adapter's time divided by the loop's.
#include <benchmark/benchmark.h>
#include <sql.h>
#include <sqlext.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/odbc/odbc_database.h"
#include "support/postgres_server.h"

namespace {

using namespace iqrx::platform;
using Clock = std::chrono::steady_clock;

constexpr int kRows = 1000;
constexpr std::size_t kTurn = 50;  // statements

std::vector<std::string> Statements(const std::string& table) {
    std::vector<std::string> statements;
    for (int i = 0; i < kRows; ++i) {
        const std::string key = std::to_string(1'000'000 + i);
        statements.push_back("UPDATE " + table + " SET dsca = 'Preventive maintenance " + key +
                             "', prod = 'PROC', ract = 'AV1', dahe = 1, upd_flag = 0 WHERE cstp = '" + key +
                             "'");
        statements.push_back("INSERT INTO " + table + " (cstp,dsca,prod,ract,dahe,upd_flag) VALUES ('" + key +
                             "','Preventive maintenance " + key + "','PROC','AV1',1,0)");
    }
    return statements;
}

std::string Create(const std::string& table) {
    return "CREATE TABLE " + table +
           "(cstp VARCHAR(10) NOT NULL PRIMARY KEY, dsca VARCHAR(60), prod VARCHAR(16), ract VARCHAR(6), "
           "dahe INTEGER, upd_flag INTEGER DEFAULT 0)";
}

// A connection of the driver manager without anything around it.
class BareLoop {
public:
    explicit BareLoop(std::string connectionString) {
        SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
        SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
        SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
        if (!SQL_SUCCEEDED(SQLDriverConnect(connection_, nullptr,
                                            reinterpret_cast<SQLCHAR*>(connectionString.data()), SQL_NTS,
                                            nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT)))
            throw std::runtime_error("no connection: " + connectionString);
        SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement_);
    }
    ~BareLoop() {
        SQLFreeHandle(SQL_HANDLE_STMT, statement_);
        SQLDisconnect(connection_);
        SQLFreeHandle(SQL_HANDLE_DBC, connection_);
        SQLFreeHandle(SQL_HANDLE_ENV, environment_);
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;

    std::int32_t Execute(const std::string& sql) {
        const auto result = SQLExecDirect(statement_, reinterpret_cast<SQLCHAR*>(const_cast<char*>(sql.data())),
                                          static_cast<SQLINTEGER>(sql.size()));
        if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA) throw std::runtime_error("failed: " + sql);
        SQLLEN rows = 0;
        SQLRowCount(statement_, &rows);
        SQLFreeStmt(statement_, SQL_CLOSE);
        return static_cast<std::int32_t>(rows);
    }

private:
    SQLHANDLE environment_ = nullptr, connection_ = nullptr, statement_ = nullptr;
};

template <class Execute>
double Seconds(std::vector<std::string>& statements, std::size_t begin, Execute execute) {
    const auto start = Clock::now();
    for (std::size_t i = begin; i < begin + kTurn; ++i) benchmark::DoNotOptimize(execute(statements[i]));
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Each has a table of its own; who goes first changes with each turn.
void InTurns(benchmark::State& state, const std::string& connectionString, const std::string& empty) {
    auto byLoop = Statements("by_loop"), byAdapter = Statements("by_adapter");
    BareLoop loop(connectionString);
    auto adapter = CreateOdbcConnection({});
    adapter->Open(connectionString);
    const auto inLoop = [&](const std::string& sql) { return loop.Execute(sql); };
    const auto inAdapter = [&](const std::string& sql) { return adapter->Execute(sql); };
    inLoop(Create("by_loop"));
    inAdapter(Create("by_adapter"));
    double loopSeconds = 0, adapterSeconds = 0;
    for (auto _ : state) {
        const double before = adapterSeconds;
        for (std::size_t i = 0; i < byLoop.size(); i += kTurn) {
            if (i / kTurn % 2) loopSeconds += Seconds(byLoop, i, inLoop);
            adapterSeconds += Seconds(byAdapter, i, inAdapter);
            if (i / kTurn % 2 == 0) loopSeconds += Seconds(byLoop, i, inLoop);
        }
        inLoop(empty + "by_loop");
        inAdapter(empty + "by_adapter");
        state.SetIterationTime(adapterSeconds - before);
    }
    const double count = static_cast<double>(state.iterations()) * static_cast<double>(byLoop.size());
    state.counters["statements/s"] = count / adapterSeconds;
    state.counters["bare loop/s"] = count / loopSeconds;
    state.counters["ratio"] = adapterSeconds / loopSeconds;
}

void OdbcSqlite(benchmark::State& state) {
    InTurns(state, "Driver=SQLite3;Database=:memory:", "DELETE FROM ");
}
BENCHMARK(OdbcSqlite)->Unit(benchmark::kMillisecond)->UseManualTime()->MinTime(2);

void OdbcPostgres(benchmark::State& state) {
    try {
        iqrx::testing::PostgresServer server;
        InTurns(state,
                "Driver=PostgreSQL Unicode;Server=127.0.0.1;Database=postgres;Uid=postgres;CommLog=0;Port=" +
                    std::to_string(server.Port()),
                "TRUNCATE TABLE ");
    } catch (const std::runtime_error& error) {
        state.SkipWithError(error.what());
    }
}
BENCHMARK(OdbcPostgres)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(40);

}  // namespace

BENCHMARK_MAIN();
