#include "runtime/run_log.h"

#include <ostream>
#include <utility>

#include "platform/conversions.h"
#include "platform/printable.h"
#include "platform/text.h"

namespace iqrx::runtime {

namespace {

using Lines = std::vector<std::string>;

std::string InQuotes(const std::string& text) { return '"' + text + '"'; }

// An entry of a log, in one write.
void AppendTo(const std::string& path, platform::Machine& machine, const Lines& lines) {
    std::string entry;
    for (const std::string& line : lines) entry.append(line).append(machine.lineEnd);
    machine.files.OpenForAppending(platform::Path(path))->Append(entry);
}

// The line that opens an entry: the date and the time in the catalog's words.
std::string DateTimeLine(platform::Machine& machine, MessageCatalog& messages) {
    const platform::Date now = machine.clock.Now();
    return messages.GetI18nText("SLBL0143", {machine.locale.ShortDate(now), machine.locale.LongTime(now)});
}

}  // namespace

void RunLog::LogTableCounts(const std::string& table, platform::Long first, platform::Long second,
                            platform::Long third) {
    Lines lines{DateTimeLine(machine_, messages_)};
    const auto count = [&](std::string_view label, platform::Long number) {
        lines.push_back(InQuotes(messages_.GetI18nText(label, {table + " - " + platform::SignedText(number)})));
    };
    count("SLBL0375", first);
    if (second > 0) count("SLBL0376", second);
    if (third > 0) count("SLBL0377", third);
    Append(lines);
}

void RunLog::LogNotice(const std::string& text) { Append({DateTimeLine(machine_, messages_), text}); }

void RunLog::SetLogFileName(std::string path) {
    logFileName_ = std::move(path);
    firstError_.clear();
    toldOfFailure_ = false;
}

void RunLog::LogError(const std::string& text, const platform::RuntimeError& error) {
    const platform::Date now = machine_.clock.Now();
    Lines lines{InQuotes("Date-Time :" + machine_.locale.ShortDate(now) + " : " +
                         machine_.locale.LongTime(now) + text)};
    if (errors_ && !errors_->empty()) {
        for (const auto& known : *errors_)
            if (known.number != 0)
                lines.push_back(
                    InQuotes(std::to_string(known.number) + " - " + known.source + " - " + known.description));
        errors_->clear();
    }
    lines.push_back(InQuotes(error.source) + ',' + InQuotes(error.description));
    Append(lines);
    if (!firstError_.empty()) return;
    firstError_ = error.description.empty() ? "error " + std::to_string(error.number) : error.description;
}

void RunLog::Append(const Lines& lines) {
    if (logFileName_.empty()) return;
    try {
        AppendTo(logFileName_, machine_, lines);
    } catch (const std::exception&) {
        const platform::RuntimeError error = platform::CurrentError();
        if (!std::exchange(toldOfFailure_, true))
            diagnostics_ << DiagnosticLine("the run log cannot be written: " + error.description) << std::endl;
    }
}

std::string DiagnosticLine(const std::string& description) {
    return "iQRXyQRXSync: " + platform::OneLine(description);
}

std::string RequestErrorLog(const platform::Machine& machine, const std::string& logDirectory) {
    std::string directory(platform::Trim(logDirectory, " "));
    if (directory.empty()) directory = machine.defaultLogDirectory;
    return directory + machine.pathSeparator + "iQRXyDBSync.log";
}

void LogHandlerError(platform::Machine& machine, MessageCatalog& messages, const std::string& logDirectory,
                     const platform::RuntimeError& error) {
    const Lines lines{DateTimeLine(machine, messages), messages.GetI18nText("SLBL0374"),
                      "Error is - " + std::to_string(error.number) + ": " + error.description};
    try {
        AppendTo(RequestErrorLog(machine, logDirectory), machine, lines);
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace iqrx::runtime
