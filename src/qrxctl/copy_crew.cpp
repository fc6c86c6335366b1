#include "qrxctl/copy_crew.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <fstream>
#include <mutex>
#include <ostream>
#include <thread>
#include <utility>

#include "platform/text.h"
#include "qrxctl/copy_progress.h"
#include "qrxctl/lines.h"
#include "qrxctl/table_choice.h"
#include "qrxctl/terminal.h"
#include "tables/definitions.h"

namespace iqrx::qrxctl {

namespace {

// The records in a file, from its size and the length of its first lines; 0 for none.
std::int64_t RecordsIn(const std::filesystem::path& file) {
    constexpr std::streamsize kSample = 64 * 1024;
    std::error_code unknown;
    if (!std::filesystem::is_regular_file(file, unknown)) return 0;
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(file, unknown));
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return 0;
    std::string text(kSample, '\0');
    stream.read(text.data(), kSample);
    const std::int64_t read = stream.gcount();
    const auto lines = std::count(text.begin(), text.begin() + read, '\n');
    return lines > 1 ? lines * size / read - 1 : 0;
}

std::int64_t Expected(const CopyRun& run, const std::string& table) {
    const auto extract = hosting::ExtractOf(run.place.options.erp);
    if (!extract) return 0;
    return RecordsIn(*extract / (GroupOf(table) == "calendars" ? "calendars.csv" : table + ".csv"));
}

std::string EndOf(const TableResult& result) {
    if (result.outcome != CopyOutcome::Copied) return WordOf(result.outcome);
    const std::string removed = result.removed > 0 ? ", removed " + Grouped(result.removed) : "";
    return "copied " + Grouped(result.copied) + removed;
}

class Crew {
public:
    Crew(const CopyRun& run, const std::vector<std::string>& tables)
        : run_(run),
          tables_(tables),
          results_(tables.size()),
          progress_(
              run.place.talk,
              ShowingOf(run.place.options.quiet || run.place.options.json, TalksToTerminal(), TerminalType()),
              tables.size()) {}

    void Work() {
        std::vector<std::jthread> jobs;
        const auto count = std::min<std::size_t>(static_cast<std::size_t>(run_.copy.jobs), tables_.size());
        for (working_ = count; jobs.size() < count;) jobs.emplace_back([this] { DoJob(); });
        Watch();
        jobs.clear();
        if (failure_ && Begun() == 0) std::rethrow_exception(failure_);
    }

    void Tell(CopyReport& report) {
        for (std::size_t i = 0; i < tables_.size(); ++i)
            if (results_[i].empty())
                report.notBegun.push_back(tables_[i]);
            else
                report.results.insert(report.results.end(), results_[i].begin(), results_[i].end());
    }

private:
    bool IsStopped() const {
        const platform::StopRequest* stop = run_.place.surroundings.stop;
        return stop && stop->Asked();
    }
    int TimesAskedHowFar() const {
        const platform::StopRequest* stop = run_.place.surroundings.stop;
        return stop ? stop->TimesAskedHowFar() : 0;
    }
    std::size_t Begun() const { return next_; }

    void DoJob() {
        try {
            CopyJob job(run_);
            while (const auto place = Next()) CopyTable(job, *place);
        } catch (...) {
            const std::lock_guard lock(mutex_);
            failure_ = std::current_exception();
        }
        const std::lock_guard lock(mutex_);
        --working_;
        changed_.notify_all();
    }

    // The place of the next table; none when there is none, or somebody asked to stop.
    std::optional<std::size_t> Next() {
        std::unique_lock lock(mutex_);
        const auto mayBegin = [&] {
            return next_ == tables_.size() || IsStopped() ||
                   GroupOf(platform::Lower(tables_[next_])) != "calendars" || copying_ == 0;
        };
        while (!mayBegin()) changed_.wait_for(lock, kGlance);
        if (next_ == tables_.size() || IsStopped()) return std::nullopt;
        ++copying_;
        return next_++;
    }

    void CopyTable(CopyJob& job, std::size_t place) {
        const bool leftBlank = CopyOnce(job, place, run_.copy.full);
        if (leftBlank) CopyOnce(job, place, true);  // where somebody asked to stop, it says so
        const std::lock_guard lock(mutex_);
        --copying_;
        changed_.notify_all();
    }

    // Whether a full copy has to fill what this one has left blank.
    bool CopyOnce(CopyJob& job, std::size_t place, bool full) {
        const std::string& table = tables_[place];
        progress_.Begin(table, place + 1, job.Counts(), full ? Expected(run_, table) : 0);
        TableResult result = job.Copy(table, full);
        progress_.End(table, EndOf(result), result.seconds);
        const bool leftBlank = !full && !run_.copy.thenFull.empty() && result.outcome == CopyOutcome::Copied &&
                               result.copied > 0 && !tables::BlankedColumns(platform::Lower(table)).empty();
        const std::lock_guard lock(mutex_);
        if (run_.place.options.json) run_.place.out << JsonOf(result, run_.id, job.Now()) << std::endl;
        results_[place].push_back(std::move(result));
        return leftBlank;
    }

    void Watch() {
        std::unique_lock lock(mutex_);
        int answered = 0;
        for (bool told = false; working_ > 0; changed_.wait_for(lock, kGlance)) {
            lock.unlock();
            if (!told && IsStopped()) {
                told = true;
                progress_.Say("stopping after this statement; once more stops hard");
            }
            if (const int asked = TimesAskedHowFar(); asked != std::exchange(answered, asked))
                progress_.Answer();
            progress_.Refresh();
            lock.lock();
        }
    }

    static constexpr std::chrono::milliseconds kGlance{200};

    const CopyRun& run_;
    const std::vector<std::string>& tables_;
    std::vector<std::vector<TableResult>> results_;  // of each table; two where a full copy followed
    CopyProgress progress_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t next_ = 0, working_ = 0;
    int copying_ = 0;
    std::exception_ptr failure_;
};

}  // namespace

void Copy(const CopyRun& run, const std::vector<std::string>& tables, CopyReport& report) {
    Crew crew(run, tables);
    crew.Work();
    crew.Tell(report);
}

}  // namespace iqrx::qrxctl
