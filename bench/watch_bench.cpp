// What the wrappers around the database cost a full copy of service types: counts, guard and stop. Copies
// with and without them take turns, so that the ratio does not depend on what else the machine is doing.
//     watch_bench [ROWS [ROUNDS]]          prints the ratios of processor time
//     watch_bench ROWS bare|watched        new rows, then the same again, to count instructions of
#include <algorithm>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "composition/composition.h"
#include "hosting/sub_main.h"
#include "platform/watch/watched_database.h"
#include "site.h"

namespace iqrx::bench {
namespace {

struct NobodyAsks : platform::StopRequest {
    std::optional<std::string> Asked() const override { return std::nullopt; }
};

class WatchedSite : public Site {
public:
    explicit WatchedSite(int rows) {
        std::vector<Row> types;
        for (int i = 0; i < rows; ++i) {
            const std::string key = std::to_string(100'000'000 + i);
            types.push_back({key, "Inspection of type " + key, "P" + std::to_string(i % 97), "WRK", "1"});
        }
        WriteCsv("tsmdm030.csv", {"cstp", "desc", "proc", "ract", "dahe"}, types);
    }

    Seconds Run(bool watched) {
        using namespace platform::watch;
        constexpr int kServiceTypes = 2;
        hosting::Composition parts({});
        control::Ports ports = parts.Ports(std::cerr);
        RowCounts counts;
        const RemovalLimits limits;
        std::optional<RefusedRemoval> refused;
        const NobodyAsks nobody;
        const auto counted = CountRows(ports.databases, counts),
                   guarded = GuardRemovals(*counted, limits, refused),
                   stoppable = StopBetweenStatements(*guarded, nobody);
        if (watched) ports.databases = *stoppable;
        control::Process process(ports);
        std::ostringstream request;
        request << "Provider=SQLite;Data Source=" << Database().string() << "{}{}" << kServiceTypes << "{}1{}"
                << Extract().parent_path().string() << "{}extract=" << Extract().string()
                << "{}0{}{}1{}0{}SYNC{}";
        const Stopwatch watch;
        if (hosting::SubMain(process, request.str()) != hosting::kCompleted)
            throw std::runtime_error("the copy did not complete");
        return watch.Elapsed();
    }
};

double Median(std::vector<double> values) {
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

void Compare(WatchedSite& site, int rounds) {
    std::vector<double> whenNew, whenKnown;
    for (int round = 0; round < rounds; ++round) {
        double seconds[2][2];  // watched or not; new rows, then known ones
        for (const bool watched : {round % 2 == 0, round % 2 != 0}) {
            site.RenewDatabase();
            seconds[watched][0] = site.Run(watched).cpu;
            seconds[watched][1] = site.Run(watched).cpu;
        }
        whenNew.push_back(seconds[1][0] / seconds[0][0]);
        whenKnown.push_back(seconds[1][1] / seconds[0][1]);
    }
    std::cout << "watched against bare, processor time: new rows " << Median(whenNew) << ", known rows "
              << Median(whenKnown) << " (wanted: 1.03)\n";
}

}  // namespace
}  // namespace iqrx::bench

int main(int count, char** arguments) {
    const std::vector<std::string> words(arguments + 1, arguments + count);
    iqrx::bench::WatchedSite site(words.empty() ? 200'000 : std::stoi(words[0]));
    if (words.size() > 1 && (words[1] == "bare" || words[1] == "watched")) {
        site.RenewDatabase();
        for (int copy = 0; copy < 2; ++copy) site.Run(words[1] == "watched");
    } else {
        iqrx::bench::Compare(site, words.size() > 1 ? std::stoi(words[1]) : 7);
    }
}
