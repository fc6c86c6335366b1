// Service orders from the sample extract into the embedded database: a full copy of 32 columns a row, and an
// incremental copy of half as many audit entries over it. Time per row and memory should not grow with the
// number of rows.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <iterator>

#include "composition/composition.h"
#include "platform/sqlite/sqlite_database.h"
#include "sample/sample.h"
#include "tables/orders/orders.h"

namespace {

using namespace iqrx;

std::filesystem::path Fresh(std::filesystem::path directory) {
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    return directory;
}

// An extract of so many orders, and an empty database to copy them into.
class OrderCopy {
public:
    explicit OrderCopy(long orders)
        : directory_(Fresh(std::filesystem::temp_directory_path() /
                           ("iqrx_orders_bench_" + std::to_string(getpid())))) {
        sample::WriteSample(directory_ / "extract", {.orders = orders, .changes = orders / 2});
        const auto file = directory_ / "local.db";
        std::ifstream schema(IQRX_SOURCE_DIRECTORY "/schema/sqlite.sql");
        std::string script(std::istreambuf_iterator<char>(schema), {});
        script += "INSERT INTO tstables(tablename,lutm,FilterFlag) VALUES('tssoc200',NULL,127)";
        platform::ApplySqliteScript(file, script);
        process_.database.OpenDatabase("Provider=SQLite;Data Source=" + file.string(), "");
        process_.runLog.SetLogFileName((directory_ / "tssoc200.log").string());
    }
    ~OrderCopy() {
        process_.database.CloseDatabase();
        std::filesystem::remove_all(directory_);
    }
    OrderCopy(const OrderCopy&) = delete;
    OrderCopy& operator=(const OrderCopy&) = delete;

    void Full() { Copy(control::kFull); }
    // The trail lies in the past: the window begins with the first entry there ever was.
    void ReadTrailFromItsBeginning() { process_.database.Execute("UPDATE tstables SET lutm = NULL"); }
    void Incremental() { Copy(control::kIncremental); }

    const control::Counters& Counters() const { return run_.counters; }

private:
    void Copy(platform::Integer method) {
        run_.counters = {};
        tables::CopyServiceOrders({run_, "tssoc200", "extract=" + (directory_ / "extract").string(), method});
    }

    const std::filesystem::path directory_;
    hosting::Composition composition_{{}};
    control::Process process_{composition_.Ports(std::cerr)};
    control::CopyRun run_{process_};
};

void ReportRows(benchmark::State& state, std::int64_t rows) {
    state.SetItemsProcessed(state.iterations() * rows);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    constexpr double kKibibytesPerMebibyte = 1024;
    state.counters["peak_MiB"] = static_cast<double>(usage.ru_maxrss) / kKibibytesPerMebibyte;
    state.counters["time_per_row"] = benchmark::Counter(
        static_cast<double>(rows), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void FullCopyOfOrders(benchmark::State& state) {
    OrderCopy copy(state.range(0));
    for (auto _ : state) copy.Full();
    if (copy.Counters().inserted != state.range(0)) state.SkipWithError("orders are missing");
    ReportRows(state, state.range(0));
}

void IncrementalCopyOfOrders(benchmark::State& state) {
    const std::int64_t changes = state.range(0) / 2;
    OrderCopy copy(state.range(0));
    copy.Full();
    copy.ReadTrailFromItsBeginning();
    for (auto _ : state) copy.Incremental();
    const control::Counters& counters = copy.Counters();
    if (counters.inserted + counters.updated + counters.deleted != changes)
        state.SkipWithError("changes are missing");
    ReportRows(state, changes);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    for (const int orders : {1'000, 10'000, 100'000, 1'000'000}) benchmark->Arg(orders);
    benchmark->ArgName("orders")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}
BENCHMARK(FullCopyOfOrders)->Apply(Sizes);
BENCHMARK(IncrementalCopyOfOrders)->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
