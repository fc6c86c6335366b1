#include "journal/exported.h"

#include <system_error>

#include "journal/files.h"
#include "platform/date.h"
#include "platform/error.h"
#include "platform/text.h"

namespace iqrx::journal {

namespace {

std::optional<platform::Date> ParseMoment(std::string_view text) {
    if (text.starts_with(platform::kByteOrderMark)) text.remove_prefix(platform::kByteOrderMark.size());
    text = platform::Trim(text);
    constexpr std::size_t kSize = std::string_view("2026-11-21 10:40:32").size();
    return text.size() == kSize ? platform::ParseIsoDate(text) : std::nullopt;
}

std::optional<platform::Date> OldestChange(const std::filesystem::path& extract,
                                           const std::vector<std::string>& files, const platform::Host& host) {
    std::optional<platform::Date> oldest;
    for (const std::string& file : files) {
        std::error_code error;
        const auto changed = std::filesystem::last_write_time(extract / platform::Path(file), error);
        if (error) continue;
        const auto moment = std::chrono::file_clock::to_sys(changed);
        const auto local = host.LocalTime(std::chrono::floor<std::chrono::system_clock::duration>(moment));
        if (!oldest || local < *oldest) oldest = local;
    }
    return oldest;
}

}  // namespace

ExportMoment ExportMomentOf(const std::filesystem::path& extract, const std::vector<std::string>& files,
                            const platform::Host& host) {
    ExportMoment moment;
    try {
        if (const auto text = ReadText(extract / "EXPORTED")) {
            moment.at = ParseMoment(*text);
            moment.isStated = moment.at.has_value();
            if (moment.isStated) return moment;
            moment.problem =
                platform::Utf8(extract / "EXPORTED") + ": it does not hold one line YYYY-MM-DD HH:MM:SS";
        }
    } catch (...) {
        moment.problem = platform::CurrentError().description;
    }
    moment.at = OldestChange(extract, files, host);
    return moment;
}

}  // namespace iqrx::journal
