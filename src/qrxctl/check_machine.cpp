#include <fmt/format.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/error.h"
#include "platform/printable.h"
#include "platform/text.h"
#include "qrxctl/checks.h"
#include "qrxctl/labels.h"
#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

namespace fs = std::filesystem;

struct LogFiles {
    std::int64_t count = 0;
    std::uintmax_t bytes = 0;
};

LogFiles LogFilesIn(const fs::path& directory) {
    LogFiles logs;
    std::error_code failure, unknown;
    for (fs::directory_iterator entry(directory, failure), end; !failure && entry != end;
         entry.increment(failure)) {
        if (entry->path().extension() != ".log") continue;
        const std::uintmax_t size = entry->file_size(unknown);
        if (unknown) continue;
        ++logs.count;
        logs.bytes += size;
    }
    return logs;
}

bool MayWriteTo(const fs::path& directory, platform::Host& host) {
    const fs::path probe = directory / (".qrxctl-check-" + std::to_string(host.Self().pid));
    const bool isWritten = std::ofstream(probe).put('\n').flush().good();
    std::error_code ignored;
    fs::remove(probe, ignored);
    return isWritten;
}

bool HoldsPassword(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    const std::string lower = platform::Lower(text.str());
    return lower.find("pwd=") != std::string::npos || lower.find("password=") != std::string::npos;
}

std::string HoursText(int minutes) {
    const double hours = minutes / 60.0;
    return minutes == 60 ? "1 hour" : fmt::format("{:g} hours", hours);
}

}  // namespace

void CheckTexts(Site& site) {
    const fs::path file = site.process.machine.programFolder / "I18nText.xml";
    const auto document = site.process.machine.makeXmlDocument();
    if (!document->Load(file))
        return site.findings.Wrong(
            "texts", platform::Shown(file) + " is missing or no XML: logs show labels in place of texts");
    std::string missing;
    for (const char* label : Labels())
        if (!document->SelectSingleNodeText(std::string("I18NTEXT/") + label))
            missing += (missing.empty() ? "" : ", ") + std::string(label);
    if (missing.empty())
        site.findings.Ok("texts", fmt::format("I18nText.xml, {} labels, none missing", Labels().size()));
    else
        site.findings.Wrong("texts", "I18nText.xml lacks " + missing);
}

void CheckLogs(Site& site) {
    constexpr std::int64_t kMany = 1000;
    const std::string& name = site.options.logDirectory;
    const fs::path directory = platform::Path(name.empty() ? site.process.machine.blankDirectory : name);
    std::error_code unknown;
    if (!fs::is_directory(directory, unknown))
        return site.findings.Wrong("logs", platform::Shown(directory) + " is no directory: nothing is logged");
    const std::string shown = platform::Shown(fs::weakly_canonical(directory, unknown));
    if (!MayWriteTo(directory, site.parts.Host()))
        return site.findings.Wrong("logs", shown + ", may not write: nothing is logged");
    const LogFiles logs = LogFilesIn(directory);
    site.findings.Ok(
        "logs", fmt::format("{}, may write, {}, {}", shown, Counted(logs.count, "file"), SizeText(logs.bytes)),
        logs.count > kMany ? "qrxctl history --prune 400d" : "");
}

void CheckClock(Site& site) {
    const int east = -site.process.machine.timeZone.BiasMinutes();
    if (east == 0) return site.findings.Ok("clock", "UTC: the trail's local time is the database's");
    const std::string zone = fmt::format("UTC{:+g}", east / 60.0);
    const std::string hours = HoursText(std::abs(east));
    if (east < 0)
        site.findings.Wrong("clock",
                            fmt::format("{}: incremental copies of the service pass over {} of the trail; "
                                        "qrxctl copy does not",
                                        zone, hours),
                            "schedule qrxctl, or run the service with TZ=UTC");
    else
        site.findings.Note("clock", fmt::format("{}: for {} the service tells the applications of a change with "
                                                "every incremental copy; qrxctl copy tells it once",
                                                zone, hours));
}

void CheckSecrets(Site& site) {
    const std::string& name = site.options.configFile;
    if (name.empty()) return;
    const fs::path file = platform::Path(name);
    std::error_code unknown;
    const fs::perms rights = fs::status(file, unknown).permissions();
    const bool isWindows = site.process.machine.pathSeparator == '\\';  // which has no such rights
    const bool isOpen = !isWindows && (rights & fs::perms::others_read) != fs::perms::none;
    if (isOpen && HoldsPassword(file))
        site.findings.Note("secrets", platform::Shown(file) + " is readable by all and holds a password",
                           "chmod 640 " + platform::Shown(file));
    else
        site.findings.Ok("secrets", platform::Shown(file) + (isOpen ? " holds no password" : ""));
}

void CheckState(Site& site) {
    const std::string problem = site.books.directory.Problem();
    if (problem.empty())
        site.findings.Ok("state", platform::Shown(site.books.directory.Directory()));
    else
        site.findings.Wrong("state", problem, StepAfter(problem));
}

std::string SizeText(std::uintmax_t bytes) {
    constexpr std::array kUnits{"bytes", "KB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    auto size = static_cast<double>(bytes);
    for (; size >= 1000 && unit + 1 < kUnits.size(); ++unit) size /= 1024;
    return fmt::format("{:.0f} {}", size, kUnits[unit]);
}

}  // namespace iqrx::qrxctl
