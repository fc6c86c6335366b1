// A process of the copy whose machine, database and ERP exist in the test alone.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "control/copy_run.h"
#include "platform/date.h"
#include "support/recording_database.h"
#include "support/recording_erp.h"
#include "support/temporary_directory.h"

namespace iqrx::testing {

platform::Date At(std::string_view isoDateTime);

struct FakeClock : platform::Clock {
    platform::Date now = At("2026-03-04 05:06:07");
    std::int64_t step = 0;  // seconds by which each look at the clock moves it on
    platform::Date Now() override {
        const platform::Date read = now;
        now.secondsSince1970 += step;
        return read;
    }
};

struct FakeLocale : platform::Locale {
    std::string separator = ".";
    std::string DecimalSeparator() override { return separator; }
    std::string ShortDate(platform::Date moment) override { return platform::IsoDate(moment); }
    std::string LongTime(platform::Date moment) override { return platform::IsoTime(moment); }
};

struct FakeTimeZone : platform::TimeZone {
    int bias = -60;
    int BiasMinutes() override { return bias; }
};

struct FakeMessageBox : platform::MessageDisplay {
    std::vector<std::string> shown;
    std::function<void()> onShow = [] {};
    void Show(const std::string& text) override {
        onShow();
        shown.push_back(text);
    }
};

// A catalog file whose texts the test gives; `loads` says whether loading succeeds.
struct FakeXml {
    bool loads = true;
    int loadCount = 0;
    std::map<std::string, std::string> texts;
    std::unique_ptr<platform::XmlDocument> operator()();
};

// Text files that are real ones.
struct PlainTextFiles : platform::TextFiles {
    std::unique_ptr<platform::TextStream> CreateTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<platform::TextStream> OpenTextFile(const std::filesystem::path& file) override;
    std::unique_ptr<platform::AppendingFile> OpenForAppending(const std::filesystem::path& file) override;
};

// Creates nothing, as a machine without the classes does.
struct NoObjects : platform::ObjectFactory {
    platform::ObjectRef CreateObject(std::string_view progId) override;
};

std::string Contents(const std::filesystem::path& file);  // line ends as "\n"

struct TestProcess {
    TestProcess();
    // With a database or an ERP of the test's own instead of `database` and `erp`; both are borrowed.
    explicit TestProcess(platform::DatabaseProvider& databases);
    TestProcess(platform::DatabaseProvider& databases, erp::ErpProvider& erps);

    // A run of the platform, with an open database and a run log in the directory.
    void OpenDatabase(platform::Integer databasePlatform = 1);
    std::string RunLog() const { return Contents(directory.path / "run.log"); }

    TemporaryDirectory directory;
    FakeClock clock;
    FakeLocale locale;
    FakeTimeZone timeZone;
    FakeMessageBox messageBox;
    FakeXml xml;
    PlainTextFiles files;
    NoObjects objects;
    RecordingDatabase database;
    RecordingErp erp;
    std::ostringstream diagnostics;
    control::Process process;
    control::CopyRun run;
};

// Compares the statements since the connection was opened with a file of tests/golden: a line a statement,
// the text between brackets, CR LF as "\r\n"; a row added to the recordset opened last as `add` and its
// values, a row deleted from it as `delete`. Blank lines and lines that begin with "#" are passed over.
// Fails with the first line that differs.
void ExpectGolden(const RecordingDatabase& database, const std::string& goldenName);

}  // namespace iqrx::testing
