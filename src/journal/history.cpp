#include "journal/history.h"

#include <algorithm>
#include <charconv>

#include "journal/files.h"
#include "journal/run_entry.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

bool EndsInACutLine(const std::filesystem::path& file) {
    const auto opened = OpenRegular(file);
    if (!opened) return false;
    const std::uint64_t size = opened->State().size;
    char last = '\n';
    return size > 0 && opened->Read(size - 1, &last, 1) == 1 && last != '\n';
}

// "20261121-104032", or "20261121-104032-2" as that and 2.
struct RunId {
    std::string second;
    int number = 1;
};

constexpr std::size_t kSecondSize = std::string_view("20261121-104032").size();

std::optional<RunId> ParseRunId(std::string_view text) {
    if (text.size() < kSecondSize) return std::nullopt;
    RunId id{std::string(text.substr(0, kSecondSize))};
    const auto rest = text.substr(kSecondSize);
    if (rest.empty()) return id;
    const char* const end = rest.data() + rest.size();
    const auto [stop, error] = std::from_chars(rest.data() + 1, end, id.number);
    if (rest[0] != '-' || error != std::errc() || stop != end) return std::nullopt;
    return id;
}

std::string Text(const RunId& id) {
    return id.number == 1 ? id.second : id.second + '-' + std::to_string(id.number);
}

std::string Second(platform::Date now) {
    std::string time = platform::IsoTime(now);
    std::erase(time, ':');
    return platform::CompactDate(now) + '-' + time;
}

// The file of run ids has two lines: the last one that was given, and the latest second of all. What is later
// than that is new for certain; anything else may also stand in the history, since the clock was set back.
class GivenIds {
public:
    explicit GivenIds(const std::filesystem::path& file) {
        LineReader lines(file);
        const auto last = lines.Next();
        if (last) last_ = ParseRunId(*last);
        const auto latest = lines.Next();
        if (last_ && latest && latest->size() == kSecondSize) latest_ = *latest;
    }
    bool IsNew(const std::string& second) const { return !latest_.empty() && second > latest_; }
    int After(const std::string& second) const {
        return last_ && last_->second == second ? last_->number + 1 : 1;
    }
    std::string With(const RunId& id) const { return Text(id) + '\n' + std::max(id.second, latest_) + '\n'; }

private:
    std::optional<RunId> last_;
    std::string latest_;
};

}  // namespace

void History::Append(const RunEntry& entry) {
    directory_.Write([&] {
        const std::string line = LineOf(entry);
        const auto file = directory_.Files().OpenForAppending(directory_.HistoryFile());
        file->Append(EndsInACutLine(directory_.HistoryFile()) ? '\n' + line : line);
    });
}

Damage History::ForEach(const std::function<bool(const RunEntry&)>& take) const {
    if (!directory_.IsUsable())
        throw platform::RuntimeError(platform::kPathFileAccess, platform::kProgram, directory_.Problem());
    Damage damage;
    LineReader lines(directory_.HistoryFile());
    RunEntry entry;
    while (const auto line = lines.Next()) {
        if (line->empty()) continue;
        if (ReadEntry(*line, entry)) {
            if (!take(entry)) break;
            continue;
        }
        constexpr std::size_t kPlaces = 10;
        ++damage.lines;
        if (damage.places.size() < kPlaces) damage.places.push_back(lines.Number());
    }
    return damage;
}

std::string History::NewRunId(platform::Date now) {
    RunId id{Second(now)};
    directory_.Write([&] {
        const auto file = directory_.Directory() / "last-run";
        const GivenIds given(file);
        id.number = given.After(id.second);
        if (!given.IsNew(id.second))
            ForEach([&](const RunEntry& entry) {
                const auto other = ParseRunId(entry.run);
                if (other && other->second == id.second) id.number = std::max(id.number, other->number + 1);
                return true;
            });
        // What a crash leaves of it is either understood or looked up in the history: it need not last.
        if (const auto held = directory_.Host().TryHold(file)) held->Write(given.With(id));
    });
    return Text(id);
}

History::Pruned History::Prune(const Timestamp& before) {
    Pruned pruned;
    const auto keptLines = [&] {
        std::string kept;
        bool keepsDamaged = false;  // it is as old as the runs around it
        LineReader lines(directory_.HistoryFile());
        RunEntry entry;
        while (const auto line = lines.Next()) {
            if (line->empty()) continue;
            const auto ended = ReadEntry(*line, entry) ? ParseRfc3339(entry.ended) : std::nullopt;
            const bool keep = ended ? ended->Utc() >= before.Utc() : keepsDamaged;
            keepsDamaged = keepsDamaged || keep;
            ++(keep ? pruned.kept : pruned.removed);
            if (keep) kept.append(*line).append(1, '\n');
        }
        return kept;
    };
    directory_.WriteOrRaise([&] {
        const std::string kept = keptLines();  // the file is closed: some systems replace no open one
        if (pruned.removed > 0) directory_.Host().Replace(directory_.HistoryFile(), kept);
    });
    return pruned;
}

}  // namespace iqrx::journal
