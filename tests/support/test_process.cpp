#include "support/test_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "platform/error.h"

namespace iqrx::testing {

namespace {

class FakeDocument : public platform::XmlDocument {
public:
    explicit FakeDocument(FakeXml& xml) : xml_(xml) {}
    bool Load(const std::filesystem::path&) override {
        ++xml_.loadCount;
        return xml_.loads;
    }
    std::optional<std::string> SelectSingleNodeText(const std::string& path) override {
        const auto found = xml_.texts.find(path.substr(path.find('/') + 1));
        if (found == xml_.texts.end()) return std::nullopt;
        return found->second;
    }

private:
    FakeXml& xml_;
};

class PlainTextStream : public platform::TextStream {
public:
    PlainTextStream(const std::filesystem::path& path, std::ios::openmode mode)
        : file_(path, mode | std::ios::binary) {
        if (!file_) platform::RaiseRuntimeError(platform::kFileNotFound, path.string());
    }
    bool AtEndOfStream() override { return file_.peek() == std::fstream::traits_type::eof(); }
    std::string ReadLine() override {
        std::string line;
        std::getline(file_, line);
        if (line.ends_with('\r')) line.pop_back();
        return line;
    }
    void WriteLine(const std::string& text) override { file_ << text << "\r\n"; }
    void Close() override { file_.close(); }

private:
    std::fstream file_;
};

class PlainAppendingFile : public platform::AppendingFile {
public:
    explicit PlainAppendingFile(const std::filesystem::path& path)
        : file_(path, std::ios::app | std::ios::binary) {
        if (!file_) platform::RaiseRuntimeError(platform::kPathFileAccess, path.string());
    }
    void Append(std::string_view text) override { file_ << text << std::flush; }

private:
    std::ofstream file_;
};

std::string OneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        if (c == '\r')
            line += "\\r";
        else if (c == '\n')
            line += "\\n";
        else
            line += c == '\x7f' ? '~' : c;
    }
    return line;
}

// A call of the record as the golden files write it; those that send nothing are left out.
std::optional<std::string> GoldenLine(const std::string& call) {
    if (call.starts_with("Execute ")) return "execute [" + OneLine(call.substr(8)) + "]";
    if (call.starts_with("Open ")) {
        const auto lock = call.rfind(' ');
        const auto cursor = call.rfind(' ', lock - 1);
        return "open [" + OneLine(call.substr(5, cursor - 5)) + "]";
    }
    if (call.starts_with("Update ")) return "add " + OneLine(call.substr(7));
    if (call == "Delete") return "delete";
    return std::nullopt;
}

std::vector<std::string> GoldenLines(const std::string& name) {
    std::ifstream file(std::filesystem::path(IQRX_GOLDEN_DIRECTORY) / name);
    EXPECT_TRUE(file) << "no golden file " << name;
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && !line.starts_with('#')) lines.push_back(line);
    return lines;
}

}  // namespace

platform::Date At(std::string_view isoDateTime) { return platform::ParseIsoDate(isoDateTime).value(); }

std::unique_ptr<platform::XmlDocument> FakeXml::operator()() { return std::make_unique<FakeDocument>(*this); }

std::unique_ptr<platform::TextStream> PlainTextFiles::CreateTextFile(const std::filesystem::path& file) {
    return std::make_unique<PlainTextStream>(file, std::ios::out | std::ios::trunc);
}

std::unique_ptr<platform::TextStream> PlainTextFiles::OpenTextFile(const std::filesystem::path& file) {
    return std::make_unique<PlainTextStream>(file, std::ios::in);
}

std::unique_ptr<platform::AppendingFile> PlainTextFiles::OpenForAppending(const std::filesystem::path& file) {
    return std::make_unique<PlainAppendingFile>(file);
}

platform::ObjectRef NoObjects::CreateObject(std::string_view progId) {
    platform::RaiseRuntimeError(platform::kCannotCreateObject, std::string(progId));
}

std::string Contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::erase(text, '\r');
    return text;
}

TestProcess::TestProcess() : TestProcess(database) {}

TestProcess::TestProcess(platform::DatabaseProvider& databases) : TestProcess(databases, erp) {}

TestProcess::TestProcess(platform::DatabaseProvider& databases, erp::ErpProvider& erps)
    : process({{.clock = clock,
                .locale = locale,
                .timeZone = timeZone,
                .messageBox = messageBox,
                .makeXmlDocument = std::ref(xml),
                .files = files,
                .programFolder = directory.path,
                .pathSeparator = static_cast<char>(std::filesystem::path::preferred_separator)},
               databases,
               erps,
               objects,
               diagnostics}),
      run(process) {}

void TestProcess::OpenDatabase(platform::Integer databasePlatform) {
    process.database.OpenDatabase("test", "", databasePlatform);
    process.runLog.SetLogFileName((directory.path / "run.log").string());
    process.runLog.KeepErrors(process.database.LastErrors());
    database.calls.clear();
    database.statements.clear();
    database.executed.clear();
}

void ExpectGolden(const RecordingDatabase& database, const std::string& goldenName) {
    std::vector<std::string> actual;
    for (const std::string& call : database.calls)
        if (auto line = GoldenLine(call)) actual.push_back(*line);
    const std::vector<std::string> expected = GoldenLines(goldenName);
    const auto [wrong, right] = std::ranges::mismatch(actual, expected);
    if (wrong == actual.end() && right == expected.end()) return;
    ADD_FAILURE() << goldenName << ", statement " << (right - expected.begin() + 1) << "\n  expected "
                  << (right == expected.end() ? "no further statement" : *right) << "\n  sent     "
                  << (wrong == actual.end() ? "no further statement" : *wrong);
}

}  // namespace iqrx::testing
