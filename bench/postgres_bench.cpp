// postgres_bench [ROWS [CHANGES [ORDERS]]]
// Copies to a PostgreSQL server, whole processes on the wall's clock: against what else could do the same,
// from a distance, and several tables at once. Who is compared goes in turns; figures are medians of three.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>

#include "postgres_site.h"
#include "sample/sample.h"
#include "support/relay.h"

namespace iqrx::bench {
namespace {

using Seconds = PostgresSite::Seconds;
using Delay = testing::Relay::Delay;

constexpr int kRounds = 3;

double Median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

struct Contender {
    const char* name;
    std::function<Seconds()> run;
    std::vector<double> seconds = {};
};

// Each copies so many rows into the table as `prepare` leaves it, and `isRight` looks at what
// it did. The first is the one that the others are compared with.
void Compare(std::vector<Contender> contenders, std::int64_t rows, const std::function<void()>& prepare,
             const std::function<bool()>& isRight) {
    for (int round = 0; round < kRounds; ++round)
        for (Contender& contender : contenders) {
            prepare();
            const Seconds taken = contender.run();
            if (taken && isRight()) contender.seconds.push_back(*taken);
        }
    const std::vector<double> service = contenders.front().seconds;
    for (const Contender& contender : contenders) {
        if (contender.seconds.size() < kRounds || service.size() < kRounds) {
            std::printf("    %-34s   failed\n", contender.name);
            continue;
        }
        std::vector<double> ratios;
        for (std::size_t i = 0; i < kRounds; ++i) ratios.push_back(service[i] / contender.seconds[i]);
        const double median = Median(contender.seconds);
        std::printf("    %-34s %8.2f s %8.1f us a row   the service takes %.2f times as long\n",
                    contender.name, median, median / static_cast<double>(rows) * 1e6, Median(ratios));
    }
    std::fflush(stdout);
}

// The loop's other way, if there is one, does what the copy does besides writing.
std::vector<Contender> Contenders(const PostgresSite& site, const Subject& subject, bool full,
                                  const char* otherWay) {
    std::vector<Contender> contenders{
        {"service", [&, full] { return site.Service(subject, full, site.Port()); }},
        {"loop over libpq, in pipeline mode", [&, full] { return site.Loop(subject, full); }},
        {"ten lines of Python, executemany", [&, full] { return site.Script(subject, full); }},
        {"psql \\copy and one statement", [&, full] { return site.SetBased(subject, full, site.Port()); }}};
    if (otherWay)
        contenders.insert(contenders.begin() + 2,
                          {full ? "the same with mark and sweep" : "the same, reading first and noting",
                           [&, full, otherWay] { return site.Loop(subject, full, otherWay); }});
    return contenders;
}

void AgainstOthers(const PostgresSite& site, const Subject& subject, const char* name, std::int64_t rows,
                   std::int64_t changes) {
    site.WriteRecords(subject, rows);
    site.WriteChanges(subject, rows, changes);
    std::printf("%s, %ld rows, new\n", name, static_cast<long>(rows));
    const auto allThere = [&] { return site.Count(subject) == rows; };
    Compare(
        Contenders(site, subject, true, "sweep"), rows, [&] { site.Empty(subject); }, allThere);
    site.Empty(subject);
    site.Service(subject, true, site.Port());
    site.Keep(subject);
    std::printf("%s, %ld rows, again\n", name, static_cast<long>(rows));
    Compare(
        Contenders(site, subject, true, "sweep"), rows, [&] { site.Restore(subject); }, allThere);
    const char* const way = subject.table == kOrders.table ? "look" : nullptr;
    std::printf("%s, %ld changes of %ld rows\n", name, static_cast<long>(changes), static_cast<long>(rows));
    Compare(
        Contenders(site, subject, false, way), changes, [&] { site.Restore(subject); },
        [&] { return site.Count(subject) == rows + (changes + 9) / 10; });
}

// What a copy of so many rows takes or, where that is too long, would take by what few rows do.
struct Taken {
    double seconds = 0;
    bool isReckoned = false;
};
using CopyOf = std::function<Seconds(std::int64_t rows)>;
std::optional<Taken> Take(std::int64_t rows, const CopyOf& copyOf) {
    constexpr double kPatience = 45, kTelling = 2;
    const Seconds none = copyOf(0);
    std::int64_t few = 100;
    Seconds taken = copyOf(few);
    if (none && taken && *taken - *none < kTelling && rows > 1000) taken = copyOf(few = 1000);
    if (!none || !taken) return std::nullopt;
    const double each = std::max(0.0, *taken - *none) / static_cast<double>(few);
    const double reckoned = *none + each * static_cast<double>(rows);
    if (reckoned > kPatience) return Taken{reckoned, true};
    const Seconds all = copyOf(rows);
    return all ? std::optional(Taken{*all}) : std::nullopt;
}

// Writes the cell, and how many times as long it is as at no distance.
void Print(std::map<std::string, double>& atNoDistance, const std::string& who, std::optional<Taken> taken) {
    if (!taken) {
        std::printf("%22s", "failed");
        return;
    }
    const double nearby = atNoDistance.emplace(who, taken->seconds).first->second;
    std::printf("%s%9.2f s %6.1f x", taken->isReckoned ? " ~" : "  ", taken->seconds, taken->seconds / nearby);
}

struct Way {
    const char* name;
    std::string keys;
};

void FromADistance(const PostgresSite& site, const Subject& subject, std::int64_t rows, bool full) {
    const std::vector<Way> ways{{"one row a trip", ";Rows per Trip=1"}, {"service", ""}};
    std::map<std::string, double> atNoDistance;
    for (const Delay delay : {Delay(0), Delay(500), Delay(5'000), Delay(30'000)}) {
        const testing::Relay relay(site.Port(), delay);
        std::printf("    %5.1f ms", std::chrono::duration<double, std::milli>(delay).count());
        const auto prepare = [&](std::int64_t count) {
            if (full)
                site.WriteRecords(subject, count);
            else
                site.WriteChanges(subject, rows, count);
            full ? site.Empty(subject) : site.Restore(subject);
        };
        for (const Way& way : ways)
            Print(atNoDistance, way.name, Take(rows, [&](std::int64_t count) {
                      prepare(count);
                      return site.Service(subject, full, relay.Port(), way.keys);
                  }));
        Print(atNoDistance, "set", Take(rows, [&](std::int64_t count) {
                  prepare(count);
                  return site.SetBased(subject, full, relay.Port());
              }));
        std::printf("\n");
        std::fflush(stdout);
    }
}

void Distances(const PostgresSite& site, std::int64_t orders) {
    constexpr const char* kColumns =
        "    each way            Rows per Trip=1       as it comes           psql \\copy, one statement (~: reckoned)";
    std::printf("%ld orders in full, over a network\n", static_cast<long>(orders));
    std::puts(kColumns);
    FromADistance(site, kOrders, orders, true);
    site.WriteRecords(kOrders, orders);
    site.Empty(kOrders);
    site.Service(kOrders, true, site.Port());
    site.Keep(kOrders);
    std::printf("%ld changes of orders, over a network\n", static_cast<long>(orders));
    std::puts(kColumns);
    FromADistance(site, kOrders, orders, false);
}

void TablesAtOnce(const PostgresSite& site, long orders) {
    sample::WriteSample(site.Extract(), {.orders = orders, .changes = 0});
    std::printf("all tables of %ld orders by qrxctl copy --all --full\n", orders);
    std::map<int, std::vector<double>> seconds;
    for (int round = 0; round < kRounds; ++round)
        for (const int atOnce : {1, 2, 4}) {
            site.EmptyAll();
            if (const Seconds taken = site.AllTables(atOnce)) seconds[atOnce].push_back(*taken);
        }
    for (const auto& [atOnce, taken] : seconds)
        std::printf("    -j %d %8.2f s   %.2f of -j 1\n", atOnce, Median(taken),
                    Median(taken) / Median(seconds[1]));
}

}  // namespace
}  // namespace iqrx::bench

int main(int count, char** arguments) {
    const auto number = [&](int at, long otherwise) {
        return at < count ? std::atol(arguments[at]) : otherwise;
    };
    try {
        using namespace iqrx::bench;
        const PostgresSite site;
        const long rows = number(1, 200'000), changes = number(2, 20'000), orders = number(3, 20'000);
        if (rows > 0) AgainstOthers(site, kServiceTypes, "service types", rows, changes);
        if (rows > 0) AgainstOthers(site, kOrders, "service orders", rows, changes);
        if (orders > 0) Distances(site, orders);
        TablesAtOnce(site, std::max(rows, 1'000L));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
