// Whole requests against the plain loop that does the same database work, both in each iteration, so that the
// ratio does not depend on what else the machine is doing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <stdexcept>

#include "sample/sample.h"
#include "site.h"

namespace iqrx::bench {
namespace {

struct Subject {
    std::string table;
    int id;
    std::size_t keys;
    std::vector<std::string> columns;  // keys first
    std::vector<std::string> fields;   // the same in the extract
    std::function<Row(int)> row;
};

std::string Number(int number) {
    const std::string digits = std::to_string(number);
    return std::string(9 - digits.size(), '0') + digits;
}

const Subject kServiceTypes{"tsmdm030",
                            2,
                            1,
                            {"cstp", "dsca", "prod", "ract", "dahe"},
                            {"cstp", "desc", "proc", "ract", "dahe"},
                            [](int i) -> Row {
                                return {Number(i), "Inspection of type " + Number(i), "P" + Number(i % 97),
                                        i % 3 ? "WRK" : "NGT", i % 2 ? "1" : "2"};
                            }};

const Subject kAddresses{"tccom130",
                         19,
                         1,
                         {"cadr", "nama", "namc", "hono", "name", "pstc"},
                         {"cadr", "nama", "namc", "hono", "name", "pstc"},
                         [](int i) -> Row {
                             return {Number(i),        "Customer " + Number(i * 7 % 100000),
                                     "Harbour street", std::to_string(i % 200),
                                     "Springfield",    Number(i % 10000)};
                         }};

const Subject kServiceObjects{"tscfg200",
                              9,
                              3,
                              {"ccfg", "crob", "oseq", "dsca", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
                              {"ccfg", "crob", "oseq", "desc", "cogr", "emno", "cusc", "manu", "ccal", "cdel"},
                              [](int i) -> Row {
                                  return {Number(i / 4).substr(1),
                                          "OBJ" + Number(i),
                                          std::to_string(i % 4),
                                          "Pump " + Number(i),
                                          "GRP1",
                                          "E00001",
                                          "",
                                          "",
                                          "",
                                          "D1"};
                              }};

const Subject kOrders{"tssoc200",
                      10,
                      1,
                      {"orno", "ccfg", "ofbp", "stna", "lcad", "cprj", "ordt", "osta", "cwoc", "csar", "emno",
                       "blyn", "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                       "rsrp", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "emer", "minu", "ract"},
                      {"orno", "ccfg", "ofbp", "stna", "lcad", "cprj", "ordt", "osta", "cwoc", "csar", "emno",
                       "blyn", "ityn", "crit", "ordu", "tvdu", "pstm", "pftm", "estm", "lftm", "otim", "appo",
                       "rsrp", "tstm", "astm", "aftm", "csco", "csqu", "stbp", "emer", "minu", "ract"},
                      [](int i) -> Row {
                          const std::string day = "2026-0" + std::to_string(1 + i % 9) + "-1" +
                                                  std::to_string(i % 10) + " 08:00:00";
                          return {Number(i),
                                  "C" + Number(i % 5000).substr(2),
                                  "BP" + Number(i % 900),
                                  "Northgate Hospital",
                                  Number(i),
                                  "P0001",
                                  day,
                                  i % 2 ? "10" : "20",
                                  "SC01",
                                  "A01",
                                  "E00001",
                                  "2",
                                  "2",
                                  "",
                                  "1.5",
                                  "0.25",
                                  day,
                                  day,
                                  day,
                                  day,
                                  "2",
                                  "1",
                                  "2",
                                  day,
                                  "",
                                  "",
                                  "CT00001",
                                  "",
                                  "BP" + Number(i % 900),
                                  "2",
                                  "0",
                                  day};
                      }};

std::vector<Row> Rows(const Subject& subject, std::int64_t count) {
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) rows.push_back(subject.row(i));
    return rows;
}

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
