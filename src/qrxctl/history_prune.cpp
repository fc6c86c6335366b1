#include "qrxctl/history_prune.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "platform/date.h"
#include "platform/text.h"
#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;

// 0: a digit, a: a letter, n: either; other characters stand for themselves.
bool HasForm(std::string_view text, std::string_view form) {
    const auto fits = [](char c, char wanted) {
        const bool isDigit = c >= '0' && c <= '9', isLetter = c >= 'a' && c <= 'z';
        return wanted == '0'   ? isDigit
               : wanted == 'a' ? isLetter
               : wanted == 'n' ? isDigit || isLetter
                               : c == wanted;
    };
    return std::ranges::equal(text, form, fits);
}

// "tssoc200_20261121.log" is from 20261121.
std::string DayOfLog(const std::string& name) {
    constexpr std::size_t kDay = std::string_view("tssoc200_").size(), kDaySize = 8;
    return HasForm(name, "aaaaannn_00000000.log") ? name.substr(kDay, kDaySize) : "";
}

// "20261121-104032-tssoc200.undo.sql" is from 20261121.
std::string DayOfUndo(const std::string& name) {
    constexpr std::size_t kDaySize = 8, kRunSize = std::string_view("20261121-104032").size();
    return HasForm(name.substr(0, kRunSize), "00000000-000000") ? name.substr(0, kDaySize) : "";
}

struct Removed {
    std::int64_t files = 0;
    std::vector<std::string> problems;
};

Removed RemoveFiles(const fs::path& directory, const std::string& before,
                    const std::function<std::string(const std::string&)>& dayOf) {
    Removed removed;
    std::error_code failure;
    std::vector<fs::path> files;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string day = dayOf(platform::Utf8(entry->path().filename()));
        std::error_code unknown;
        if (!day.empty() && day < before && entry->is_regular_file(unknown)) files.push_back(entry->path());
    }
    for (const fs::path& file : files)
        if (fs::remove(file, failure))
            ++removed.files;
        else if (failure)
            removed.problems.push_back(platform::Utf8(file) + " cannot be removed: " + failure.message());
    return removed;
}

}  // namespace

std::string Prune(Books& books, const journal::Timestamp& before, const fs::path& logDirectory) {
    const std::string day = platform::CompactDate(before.local);
    const auto runs = books.history.Prune(before);
    const Removed logs = RemoveFiles(logDirectory, day, DayOfLog);
    const Removed undo = RemoveFiles(books.directory.Undo(), day, DayOfUndo);
    std::string text = Fact("ok", "history",
                            "removed " + Counted(runs.removed, "run") + " from before " +
                                platform::IsoDate(before.local) + ", " + Grouped(runs.kept) + " kept");
    text += Fact("ok", "logs", "removed " + Counted(logs.files, "file"));
    text += Fact("ok", "undo", "removed " + Counted(undo.files, "file"));
    for (const Removed* removed : {&logs, &undo})
        for (const std::string& problem : removed->problems) text += Fact("note", "files", problem);
    return text;
}

}  // namespace iqrx::qrxctl
