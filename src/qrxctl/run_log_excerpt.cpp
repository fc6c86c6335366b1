#include "qrxctl/run_log_excerpt.h"

#include <fstream>
#include <set>
#include <sstream>

#include "platform/date.h"
#include "platform/text.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;

// How the log writes the moments of a run, which is the locale's way: what cannot be read can be recognised.
class WrittenMoments {
public:
    WrittenMoments(platform::Machine& machine, platform::Date from, platform::Date to) {
        constexpr std::int64_t kMost = platform::kSecondsPerDay;
        for (platform::Date at = from; at <= to && at.secondsSince1970 - from.secondsSince1970 < kMost;
             ++at.secondsSince1970)
            sizes_.insert(times_.insert(machine.locale.LongTime(at)).first->size());
        for (const platform::Date day : {from, to}) days_.insert(machine.locale.ShortDate(day));
    }
    // Whether an entry begins with the line: it has a day, then a time.
    bool BeginsEntry(const std::string& line) const { return !TimeIn(line).empty(); }
    bool IsWithin(const std::string& line) const {
        const std::string rest = TimeIn(line);
        for (std::size_t begin = 0; begin < rest.size(); ++begin) {
            const bool isInNumber = begin > 0 && rest[begin - 1] >= '0' && rest[begin - 1] <= '9';
            for (const std::size_t size : sizes_)
                if (!isInNumber && times_.contains(rest.substr(begin, size))) return true;
        }
        return false;
    }

private:
    // What follows the day; without an entry's text, which may hold other times.
    std::string TimeIn(const std::string& line) const {
        constexpr std::size_t kRoom = 24;
        for (const std::string& day : days_)
            if (const auto found = line.find(day); found < kRoom)
                return line.substr(found + day.size(), kRoom);
        return {};
    }

    std::set<std::string> times_, days_;
    std::set<std::size_t> sizes_;  // of the times
};

}  // namespace

RunLogExcerpt ExcerptOf(const journal::RunEntry& run, platform::Machine& machine,
                        const std::string& logDirectory) {
    const auto began = journal::ParseRfc3339(run.began), ended = journal::ParseRfc3339(run.ended);
    if (!began || !ended) return {"-", "the history does not say when the run was", {}};
    const fs::path directory = platform::Path(logDirectory.empty() ? machine.blankDirectory : logDirectory);
    const fs::path file = directory / (run.table + "_" + platform::CompactDate(began->local) + ".log");
    RunLogExcerpt excerpt{platform::Utf8(file), {}, {}};
    std::error_code unknown;
    std::ifstream log(file, std::ios::binary);
    if (!log || !fs::is_regular_file(file, unknown)) {
        excerpt.problem = fs::exists(file, unknown) ? "cannot be read" : "is not there";
        return excerpt;
    }
    const WrittenMoments moments(machine, began->local, ended->local);
    bool takes = false;
    for (std::string line; std::getline(log, line);) {
        if (line.ends_with('\r')) line.pop_back();
        if (moments.BeginsEntry(line)) takes = moments.IsWithin(line);
        if (takes) excerpt.lines.push_back(line);
    }
    if (excerpt.lines.empty()) excerpt.problem = "has no entry of this run";
    return excerpt;
}

}  // namespace iqrx::qrxctl
