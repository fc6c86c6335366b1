// Whole requests against the plain loop that does the same database work, both in each iteration, so that the
// ratio does not depend on what else the machine is doing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "sample/sample.h"
#include "site.h"
#include "subjects.h"

namespace iqrx::bench {
namespace {

// The median of what the iterations measured.
double Median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

struct Figures {
    std::vector<double> copy, plain, ratio, cpuRatio;

    void Add(benchmark::State& state, Seconds copied, Seconds looped) {
        copy.push_back(copied.wall);
        plain.push_back(looped.wall);
        ratio.push_back(copied.wall / looped.wall);
        cpuRatio.push_back(copied.cpu / looped.cpu);
        state.SetIterationTime(copied.wall);
    }
    void Report(benchmark::State& state, double rows, double wanted) const {
        state.counters["us_a_row"] = Median(copy) / rows * 1e6;
        state.counters["wanted"] = wanted;
        state.counters["plain_us"] = Median(plain) / rows * 1e6;
        state.counters["ratio"] = Median(ratio);
        state.counters["cpu_ratio"] = Median(cpuRatio);
    }
};

// The plain loop as the program that it would be: its own process, with the library as it comes.
Seconds PlainLoop(const Site& site, const Subject& subject) {
    std::string command = std::string(IQRX_PLAIN_LOOP) + " " + site.Database().string() + " " +
                          (site.Extract() / (subject.table + ".csv")).string() + " " + subject.table + " " +
                          std::to_string(subject.keys);
    for (const std::string& column : subject.columns) command += " " + column;
    Seconds seconds;
    FILE* const output = popen(command.c_str(), "r");
    if (!output || std::fscanf(output, "%lf %lf", &seconds.wall, &seconds.cpu) != 2 || pclose(output) != 0)
        throw std::runtime_error("the plain loop failed: " + command);
    return seconds;
}

// Every row is new: an UPDATE that finds nothing and an INSERT each. `wanted` is the ratio of processor time
// that a copy should come to.
void FullCopy(benchmark::State& state, const Subject& subject, double wanted, bool traced) {
    const std::vector<Row> rows = Rows(subject, state.range(0));
    Site site;
    site.WriteCsv(subject.table + ".csv", subject.fields, rows);
    Figures figures;
    for (auto _ : state) {
        site.RenewDatabase();
        const Seconds plain = PlainLoop(site, subject);
        site.RenewDatabase();
        figures.Add(state, site.Copy(subject.id, true, traced), plain);
    }
    figures.Report(state, static_cast<double>(rows.size()), wanted);
}

// A day's changes over twice as many orders; each is read, written and logged for the applications.
void IncrementalCopy(benchmark::State& state) {
    const long changes = static_cast<long>(state.range(0));
    Site site;
    sample::WriteSample(site.Extract(), {.orders = 2 * changes, .changes = changes});
    site.Copy(kOrders.id, true);
    std::vector<double> seconds;
    for (auto _ : state) {
        site.SetLastUpdate(kOrders.table, "1970-01-01 00:00:01");
        const Seconds copied = site.Copy(kOrders.id, false);
        seconds.push_back(copied.cpu);
        state.SetIterationTime(copied.wall);
    }
    state.counters["us_a_row"] = Median(seconds) / static_cast<double>(changes) * 1e6;
    state.counters["wanted_us"] = 9;
}

void Steady(benchmark::internal::Benchmark* benchmark) {
    benchmark->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(FullCopy, service_types, kServiceTypes, 1.15, false)->Arg(200000)->Apply(Steady);
BENCHMARK_CAPTURE(FullCopy, addresses, kAddresses, 1.2, false)->Arg(200000)->Apply(Steady);
BENCHMARK_CAPTURE(FullCopy, service_objects, kServiceObjects, 1.3, false)->Arg(300000)->Apply(Steady);
BENCHMARK_CAPTURE(FullCopy, orders, kOrders, 1.4, false)->Arg(200000)->Apply(Steady);
BENCHMARK_CAPTURE(FullCopy, service_types_traced, kServiceTypes, 2.0, true)->Arg(200000)->Apply(Steady);
BENCHMARK(IncrementalCopy)->Arg(50000)->Apply(Steady);

}  // namespace
}  // namespace iqrx::bench

BENCHMARK_MAIN();
