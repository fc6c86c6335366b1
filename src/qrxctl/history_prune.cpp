#include "qrxctl/history_prune.h"

#include <algorithm>
#include <functional>
#include <vector>

#include "platform/date.h"
#include "platform/text.h"

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

std::int64_t RemoveFiles(const fs::path& directory, const std::string& before,
                         const std::function<std::string(const std::string&)>& dayOf,
                         std::vector<std::string>& problems) {
    std::int64_t removed = 0;
    std::error_code failure;
    std::vector<fs::path> files;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const std::string day = dayOf(platform::Utf8(entry->path().filename()));
        std::error_code unknown;
        if (!day.empty() && day < before && entry->is_regular_file(unknown)) files.push_back(entry->path());
    }
    if (failure)
        problems.push_back(platform::Utf8(directory) + " cannot be looked through: " + failure.message());
    for (const fs::path& file : files)
        if (fs::remove(file, failure))
            ++removed;
        else if (failure)
            problems.push_back(platform::Utf8(file) + " cannot be removed: " + failure.message());
    return removed;
}

}  // namespace

Pruned Prune(Books& books, const journal::Timestamp& before, const fs::path& logDirectory) {
    const std::string day = platform::CompactDate(before.local);
    Pruned pruned{
        .before = platform::IsoDate(before.local), .runs = books.history.Prune(before), .problems = {}};
    pruned.logs = RemoveFiles(logDirectory, day, DayOfLog, pruned.problems);
    std::error_code unknown;
    if (fs::exists(books.directory.Undo(), unknown))
        pruned.undoFiles = RemoveFiles(books.directory.Undo(), day, DayOfUndo, pruned.problems);
    return pruned;
}

}  // namespace iqrx::qrxctl
