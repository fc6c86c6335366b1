#include "runtime/run_log.h"

#include <fstream>
#include <initializer_list>

#include "platform/conversions.h"
#include "runtime/trim.h"

namespace iqrx::runtime {

namespace {

std::ofstream OpenForAppending(const std::string& path) {
    return std::ofstream(std::filesystem::path(std::u8string(path.begin(), path.end())), std::ios::app);
}

void Print(std::ostream& file, std::string_view text) { file << text << '\n'; }

// Every item in double quotes, a comma between two.
void Write(std::ostream& file, std::initializer_list<std::string_view> items) {
    const char* separator = "";
    for (const auto item : items) {
        file << separator << '"' << item << '"';
        separator = ",";
    }
    file << '\n';
}

}  // namespace

std::string DateTimeLine(platform::Machine& machine, MessageCatalog& messages) {
    const platform::Date now = machine.clock.Now();
    return Fill(Fill(messages.GetI18nText("SLBL0143"), "%1", machine.locale.ShortDate(now)), "%2",
                machine.locale.LongTime(now));
}

void RunLog::LogTableCounts(const std::string& table, platform::Long first, platform::Long second,
                            platform::Long third) {
    std::ofstream file = OpenForAppending(logFileName_);
    const auto count = [&](std::string_view label, platform::Long number) {
        Write(file, {Fill(messages_.GetI18nText(label), "%1", table + " - " + platform::SignedText(number))});
    };
    Print(file, DateTimeLine(machine_, messages_));
    count("SLBL0375", first);
    if (second > 0) count("SLBL0376", second);
    if (third > 0) count("SLBL0377", third);
}

void RunLog::SetLogFileName(std::string path) {
    logFileName_ = std::move(path);
    firstError_.clear();
}

void RunLog::LogError(const std::string& text, const platform::RuntimeError& error) {
    std::ofstream file = OpenForAppending(logFileName_);
    const platform::Date now = machine_.clock.Now();
    Write(file,
          {"Date-Time :" + machine_.locale.ShortDate(now) + " : " + machine_.locale.LongTime(now) + text});
    if (errors_ && !errors_->empty()) {
        for (const auto& entry : *errors_)
            if (entry.number != 0)
                Write(file, {std::to_string(entry.number) + " - " + entry.source + " - " + entry.description});
        errors_->clear();
    }
    Write(file, {error.source, error.description});
    if (firstError_.empty()) firstError_ = error.description;
}

std::string DiagnosticLine(const std::string& description) {
    std::string line = "iQRXyQRXSync: ";
    for (const char c : description)
        if (c != '\r') line += c == '\n' ? ' ' : c;
    return line;
}

bool LogHandlerError(platform::Machine& machine, MessageCatalog& messages, const std::string& logDirectory,
                     const platform::RuntimeError& error) {
    std::string directory(Trim(logDirectory));
    if (directory.empty()) directory = machine.defaultLogDirectory;
    std::ofstream file = OpenForAppending(directory + machine.pathSeparator + "iQRXyDBSync.log");
    Print(file, DateTimeLine(machine, messages));
    Print(file, messages.GetI18nText("SLBL0374"));
    Print(file, "Error is - " + std::to_string(error.number) + ": " + error.description);
    return file.flush().good();
}

}  // namespace iqrx::runtime
