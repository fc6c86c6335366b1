// Whole requests against the plain loop that does the same database work, both in each iteration, so that the
// ratio does not depend on what else the machine is doing.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <functional>

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
    std::vector<double> copy, plain, ratio;

    void Add(benchmark::State& state, double copySeconds, double plainSeconds) {
        copy.push_back(copySeconds);
        plain.push_back(plainSeconds);
        ratio.push_back(copySeconds / plainSeconds);
        state.SetIterationTime(copySeconds);
    }
    void Report(benchmark::State& state, double rows) const {
        state.counters["us_a_row"] = Median(copy) / rows * 1e6;
        state.counters["plain_us"] = Median(plain) / rows * 1e6;
        state.counters["ratio"] = Median(ratio);
    }
};

// Every row is new: an UPDATE that finds nothing and an INSERT each.
void FullCopy(benchmark::State& state, const Subject& subject) {
    const std::vector<Row> rows = Rows(subject, state.range(0));
    Site site;
    site.WriteCsv(subject.table + ".csv", subject.fields, rows);
    Figures figures;
    for (auto _ : state) {
        site.RenewDatabase();
        const double plain =
            RunPlainLoop(site.Database(), rows, PlainUpdate(subject.table, subject.columns, subject.keys),
                         PlainInsert(subject.table, subject.columns));
        site.RenewDatabase();
        figures.Add(state, site.Copy(subject.id, true), plain);
    }
    figures.Report(state, static_cast<double>(rows.size()));
}

// A trail that updates half of the orders that are there: each entry is looked up, updated and logged.
void IncrementalOrders(benchmark::State& state) {
    const std::vector<Row> rows = Rows(kOrders, 2 * state.range(0));
    std::vector<Row> changes;
    for (std::size_t i = 0; i < rows.size(); i += 2) {
        changes.push_back({"2026-06-15 12:00:00", "U"});
        changes.back().insert(changes.back().end(), rows[i].begin(), rows[i].end());
    }
    std::vector<std::string> header{"changed_at", "change"};
    header.insert(header.end(), kOrders.fields.begin(), kOrders.fields.end());
    Site site;
    site.WriteCsv("tssoc200.csv", kOrders.fields, rows);
    site.WriteCsv("tssoc200.audit.csv", header, changes);
    Figures figures;
    for (auto _ : state) {
        site.RenewDatabase();
        site.Copy(kOrders.id, true);
        std::vector<Row> updates;
        for (std::size_t i = 0; i < rows.size(); i += 2) updates.push_back(rows[i]);
        const PlainStatement none{"DELETE FROM tssoc200 WHERE orno = ? AND 0", {0}};
        double plain =
            RunPlainLoop(site.Database(), updates, PlainUpdate("tssoc200", kOrders.columns, 1), none);
        plain += RunPlainLoop(
            site.Database(), updates, {"DELETE FROM tssoc200_audit WHERE orno = ?", {0}},
            {"INSERT INTO tssoc200_audit (orno, time, action) VALUES (?, '1900-01-01 00:00:00', 'U')", {0}});
        site.SetLastUpdate("tssoc200", "2026-06-15 00:00:00");
        figures.Add(state, site.Copy(kOrders.id, false), plain);
    }
    figures.Report(state, static_cast<double>(changes.size()));
}

BENCHMARK_CAPTURE(FullCopy, service_types, kServiceTypes)
    ->Arg(200000)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FullCopy, addresses, kAddresses)
    ->Arg(100000)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FullCopy, service_objects, kServiceObjects)
    ->Arg(100000)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(FullCopy, orders, kOrders)->Arg(100000)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(IncrementalOrders)->Arg(50000)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace iqrx::bench

BENCHMARK_MAIN();
