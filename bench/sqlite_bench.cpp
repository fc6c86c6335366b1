// What the embedded database's adapter costs on top of the database itself: a full copy's two statements a
// row, as texts through the adapter, against a plain loop over two prepared statements in one transaction.
#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/dialect/lexer.h"
#include "platform/sqlite/grammar.h"
#include "platform/sqlite/sqlite_database.h"

namespace {

using namespace iqrx::platform;

constexpr const char* kSchema =
    "CREATE TABLE tsmdm030(cstp NVARCHAR(3) NOT NULL, dsca NVARCHAR(60), prod NVARCHAR(16), ract NVARCHAR(6), "
    "dahe INTEGER, upd_flag INTEGER DEFAULT 0, PRIMARY KEY(cstp)) WITHOUT ROWID;"
    "CREATE TABLE tcccp031(ccal NVARCHAR(16), ract NVARCHAR(6), ustm DATETIME, uftm DATETIME)";

struct Row {
    std::string cstp, dsca, prod, ract;
    int dahe;
};

std::vector<Row> Rows(std::int64_t count) {
    std::vector<Row> rows;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(1'000'000 + i);
        rows.push_back(
            {number, "Preventive maintenance " + number, "PROC" + number, "AV1", static_cast<int>(i % 2)});
    }
    return rows;
}

std::filesystem::path NewDatabase() {
    const auto file =
        std::filesystem::temp_directory_path() / ("iqrx_bench_" + std::to_string(getpid()) + ".db");
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(file.string() + suffix);
    ApplySqliteScript(file, kSchema);
    return file;
}

void AppendUpdate(std::string& sql, const Row& row) {
    sql = "UPDATE tsmdm030 SET dsca = N'";
    sql.append(row.dsca).append("', prod = N'").append(row.prod).append("', ract = N'").append(row.ract);
    sql.append("', dahe = ").append(std::to_string(row.dahe)).append(", upd_flag = 0 WHERE cstp = N'");
    sql.append(row.cstp).append("'");
}

void AppendInsert(std::string& sql, const Row& row) {
    sql = "INSERT INTO tsmdm030 (cstp,dsca,prod,ract,dahe,upd_flag) VALUES (N'";
    sql.append(row.cstp).append("',N'").append(row.dsca).append("',N'").append(row.prod).append("',N'");
    sql.append(row.ract).append("',").append(std::to_string(row.dahe)).append(",0)");
}

void ThroughTheAdapter(benchmark::State& state) {
    const auto rows = Rows(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const auto file = NewDatabase();
        state.ResumeTiming();
        auto connection = CreateSqliteConnection({});
        connection->Open("Provider=SQLite;Data Source=" + file.string());
        std::string sql;
        for (const Row& row : rows) {
            AppendUpdate(sql, row);
            if (connection->Execute(sql) != 0) continue;
            AppendInsert(sql, row);
            connection->Execute(sql);
        }
        connection->Close();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ThroughTheAdapter)->Arg(200'000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BindText(sqlite3_stmt* statement, int place, const std::string& text) {
    sqlite3_bind_text(statement, place, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

void PlainLoop(benchmark::State& state) {
    const auto rows = Rows(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        const auto file = NewDatabase();
        state.ResumeTiming();
        sqlite3* database = nullptr;
        sqlite3_open(file.c_str(), &database);
        sqlite3_exec(database, "PRAGMA synchronous=NORMAL; BEGIN", nullptr, nullptr, nullptr);
        sqlite3_stmt *update = nullptr, *insert = nullptr;
        sqlite3_prepare_v2(database,
                           "UPDATE tsmdm030 SET dsca=?2,prod=?3,ract=?4,dahe=?5,upd_flag=0 WHERE cstp=?1", -1,
                           &update, nullptr);
        sqlite3_prepare_v2(database,
                           "INSERT INTO tsmdm030(cstp,dsca,prod,ract,dahe,upd_flag) VALUES(?1,?2,?3,?4,?5,0)",
                           -1, &insert, nullptr);
        for (const Row& row : rows) {
            for (sqlite3_stmt* statement : {update, insert}) {
                BindText(statement, 1, row.cstp);
                BindText(statement, 2, row.dsca);
                BindText(statement, 3, row.prod);
                BindText(statement, 4, row.ract);
                sqlite3_bind_int(statement, 5, row.dahe);
                sqlite3_step(statement);
                sqlite3_reset(statement);
                if (sqlite3_changes(database) > 0) break;
            }
        }
        sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
        sqlite3_finalize(update);
        sqlite3_finalize(insert);
        sqlite3_close(database);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(PlainLoop)->Arg(200'000)->Unit(benchmark::kMillisecond)->UseRealTime();

// An incremental copy looks for each order before it writes it.
void OneRowSelects(benchmark::State& state) {
    const auto file = NewDatabase();
    auto connection = CreateSqliteConnection({});
    connection->Open("Provider=SQLite;Data Source=" + file.string());
    std::string sql;
    const auto rows = Rows(1000);
    for (const Row& row : rows) {
        AppendInsert(sql, row);
        connection->Execute(sql);
    }
    auto found = connection->CreateRecordset();
    std::size_t next = 0;
    for (auto _ : state) {
        sql = "SELECT * FROM tsmdm030 WHERE cstp= N'" + rows[next++ % rows.size()].cstp + "'";
        found->Open(sql, CursorType::ForwardOnly, LockType::ReadOnly);
        benchmark::DoNotOptimize(found->Bof());
        found->Close();
    }
}
BENCHMARK(OneRowSelects);

void RowsAddedThroughARecordset(benchmark::State& state) {
    const auto file = NewDatabase();
    auto connection = CreateSqliteConnection({});
    connection->Open("Provider=SQLite;Data Source=" + file.string());
    auto target = connection->CreateRecordset();
    target->Open("select * from tcccp031 WHERE  1=0", CursorType::Keyset, LockType::Optimistic);
    const Value code = std::string("CAL"), type = std::string("A"), begin = Date{1'241'683'200};
    for (auto _ : state) {
        target->AddNew();
        target->SetField(0, code);
        target->SetField(1, type);
        target->SetField(2, begin);
        target->SetField(3, begin);
        target->Update();
    }
}
BENCHMARK(RowsAddedThroughARecordset);

void ReadText(benchmark::State& state) {
    using namespace dialect;
    std::string sql;
    AppendUpdate(sql, Rows(1).front());
    Literals literals(sqlite::kGrammar);
    for (auto _ : state) benchmark::DoNotOptimize(ShapeOf(sql, Tokenize(sql, literals)));
    state.SetLabel(std::to_string(sql.size()) + " characters");
}
BENCHMARK(ReadText);

}  // namespace

BENCHMARK_MAIN();
