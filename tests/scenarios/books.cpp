#include "scenarios/books.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <stdexcept>

namespace iqrx::testing {

namespace {

std::string TimeText(long secondsAgo, const char* form) {
    const std::time_t then = std::time(nullptr) - secondsAgo;
    std::tm local{};
    localtime_r(&then, &local);
    char text[40];
    return {text, std::strftime(text, sizeof text, form, &local)};
}

std::string Number(const std::optional<long>& number) { return number ? std::to_string(*number) : "null"; }

std::string LineOf(const PastRun& run) {
    const auto text = [](const char* key, const std::string& value) {
        return std::string(",\"") + key + "\":\"" + value + "\"";
    };
    return "{\"schema\":1" + text("run", run.run) + text("table", run.table) + text("method", run.method) +
           text("program", run.program) + text("by", run.by) + text("outcome", run.outcome) +
           text("cause", run.cause) + text("began", SecondsAgo(run.secondsAgo + run.took)) +
           text("ended", SecondsAgo(run.secondsAgo)) + ",\"copied\":" + Number(run.copied) +
           ",\"removed\":" + Number(run.removed) + ",\"rows\":" + Number(run.rows) + ",\"seconds\":0.02}";
}

std::uint64_t Fnv1a(const std::string& text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char byte : text) {
        hash ^= static_cast<unsigned char>(byte);
        hash *= 0x100000001b3;
    }
    return hash;
}

}  // namespace

std::string ThisHost() {
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    return name;
}

std::string SecondsAgo(long seconds) {
    std::string text = TimeText(seconds, "%Y-%m-%dT%H:%M:%S%z");
    return text.insert(text.size() - 2, ":");
}

std::string LocalSecondsAgo(long seconds) { return TimeText(seconds, "%Y-%m-%d %H:%M:%S"); }

void SiteWithBooks::GivenRuns(const std::vector<PastRun>& runs) const {
    for (const PastRun& run : runs) GivenHistoryLine(LineOf(run));
}

void SiteWithBooks::GivenHistoryLine(const std::string& line) const {
    fs::create_directories(State());
    std::ofstream(State() / "history.jsonl", std::ios::binary | std::ios::app) << line << '\n';
}

void SiteWithBooks::GivenLedger(const std::string& readTo, const std::string& gaps) const {
    fs::create_directories(State());
    GivenFile(State() / "ledger.json",
              "{\"schema\":1,\"tables\":{\"tsmdm030\":{\"read_to\":\"" + readTo + "\",\"gaps\":[" + gaps +
                  "],\"noted\":\"2026-01-01 00:00:00\",\"uptime\":1,\"boot\":\"b\"}}}");
}

// No process has a number as high as this one.
void SiteWithBooks::GivenSheet(const std::string& table, const std::string& host, long secondsAgo) const {
    fs::create_directories(State() / "running");
    GivenFile(State() / "running" / table,
              "{\"schema\":1,\"table\":\"" + table +
                  "\",\"run\":\"20261121-103619\",\"program\":\"qrxctl copy --all --full\",\"method\":\"full\","
                  "\"since\":\"" +
                  SecondsAgo(secondsAgo) + "\",\"pid\":99999999,\"user\":\"anna\",\"host\":\"" + host +
                  "\",\"terminal\":\"tty1\"}");
}

void SiteWithBooks::GivenSign(const std::string& table, long rows, long milliseconds, long secondsAgo) const {
    const fs::path file = State() / "running" / table;
    const std::string sheet = ReadText(file);
    char line[200], check[20];
    std::snprintf(line, sizeof line, R"({"rows":%15ld,"milliseconds":%15ld,"at":"%s","check":")", rows,
                  milliseconds, SecondsAgo(secondsAgo).c_str());
    std::snprintf(check, sizeof check, "%016llx", static_cast<unsigned long long>(Fnv1a(sheet + line)));
    std::ofstream(file, std::ios::binary | std::ios::app) << line << check << "\"}\n";
}

void SiteWithBooks::Lock(const std::string& table) const {
    Execute("UPDATE tstables SET in_use = 1 WHERE tablename = '" + table + "'");
}

void SiteWithBooks::ExpectNarrow(const std::string& text) {
    constexpr std::size_t kColumns = 80;
    for (const std::string& line : Lines(text)) EXPECT_LE(line.size(), kColumns) << line;
}

SheetHolder::SheetHolder(const fs::path& sheet) : file_(open(sheet.c_str(), O_RDWR | O_CLOEXEC)) {
    if (file_ < 0 || flock(file_, LOCK_EX) != 0) throw std::runtime_error("the sheet cannot be held");
}

SheetHolder::~SheetHolder() { close(file_); }

}  // namespace iqrx::testing
