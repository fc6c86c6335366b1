#include "runtime/run_log.h"

#include <initializer_list>
#include <ostream>
#include <utility>

#include "platform/conversions.h"
#include "platform/text.h"

namespace iqrx::runtime {

namespace {

// An entry of a log, line by line.
class Entry {
public:
    explicit Entry(const platform::Machine& machine) : lineEnd_(machine.lineEnd) {}

    void Print(std::string_view text) { text_.append(text).append(lineEnd_); }

    // Every item in double quotes, a comma between two.
    void Write(std::initializer_list<std::string_view> items) {
        const char* separator = "";
        for (const auto item : items) {
            text_.append(separator).append("\"").append(item).append("\"");
            separator = ",";
        }
        text_.append(lineEnd_);
    }

    const std::string& Text() const { return text_; }

private:
    std::string_view lineEnd_;
    std::string text_;
};

void AppendTo(const std::string& path, platform::Machine& machine, const std::string& entry) {
    machine.files.OpenForAppending(platform::Path(path))->Append(entry);
}

}  // namespace

std::string DateTimeLine(platform::Machine& machine, MessageCatalog& messages) {
    const platform::Date now = machine.clock.Now();
    return Fill(Fill(messages.GetI18nText("SLBL0143"), "%1", machine.locale.ShortDate(now)), "%2",
                machine.locale.LongTime(now));
}

void RunLog::LogTableCounts(const std::string& table, platform::Long first, platform::Long second,
                            platform::Long third) {
    Entry entry(machine_);
    const auto count = [&](std::string_view label, platform::Long number) {
        entry.Write({Fill(messages_.GetI18nText(label), "%1", table + " - " + platform::SignedText(number))});
    };
    entry.Print(DateTimeLine(machine_, messages_));
    count("SLBL0375", first);
    if (second > 0) count("SLBL0376", second);
    if (third > 0) count("SLBL0377", third);
    Append(entry.Text());
}

void RunLog::LogNotice(const std::string& text) {
    Entry entry(machine_);
    entry.Print(DateTimeLine(machine_, messages_));
    entry.Print(text);
    Append(entry.Text());
}

void RunLog::SetLogFileName(std::string path) {
    logFileName_ = std::move(path);
    firstError_.clear();
    toldOfFailure_ = false;
}

void RunLog::LogError(const std::string& text, const platform::RuntimeError& error) {
    Entry entry(machine_);
    const platform::Date now = machine_.clock.Now();
    entry.Write({"Date-Time :" + machine_.locale.ShortDate(now) + " : " + machine_.locale.LongTime(now) + text});
    if (errors_ && !errors_->empty()) {
        for (const auto& known : *errors_)
            if (known.number != 0)
                entry.Write({std::to_string(known.number) + " - " + known.source + " - " + known.description});
        errors_->clear();
    }
    entry.Write({error.source, error.description});
    Append(entry.Text());
    if (!firstError_.empty()) return;
    firstError_ = error.description.empty() ? "error " + std::to_string(error.number) : error.description;
}

void RunLog::Append(const std::string& entry) {
    if (logFileName_.empty()) return;
    try {
        AppendTo(logFileName_, machine_, entry);
    } catch (const std::exception&) {
        const platform::RuntimeError error = platform::CurrentError();
        if (!std::exchange(toldOfFailure_, true))
            diagnostics_ << DiagnosticLine("the run log cannot be written: " + error.description) << std::endl;
    }
}

std::string DiagnosticLine(const std::string& description) {
    std::string line = "iQRXyQRXSync: ";
    for (const char c : description)
        if (c != '\r') line += c == '\n' ? ' ' : c;
    return line;
}

std::string RequestErrorLog(const platform::Machine& machine, const std::string& logDirectory) {
    std::string directory(platform::Trim(logDirectory, " "));
    if (directory.empty()) directory = machine.defaultLogDirectory;
    return directory + machine.pathSeparator + "iQRXyDBSync.log";
}

void LogHandlerError(platform::Machine& machine, MessageCatalog& messages, const std::string& logDirectory,
                     const platform::RuntimeError& error) {
    Entry entry(machine);
    entry.Print(DateTimeLine(machine, messages));
    entry.Print(messages.GetI18nText("SLBL0374"));
    entry.Print("Error is - " + std::to_string(error.number) + ": " + error.description);
    try {
        AppendTo(RequestErrorLog(machine, logDirectory), machine, entry.Text());
    } catch (const std::exception&) {
        return;
    }
}

}  // namespace iqrx::runtime
