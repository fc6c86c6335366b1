#include "sample/sample.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "platform/date.h"
#include "platform/error.h"

namespace iqrx::sample {
namespace {

using testing::Contains;
using testing::Each;
using testing::Eq;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using Row = std::map<std::string, std::string>;
using Rows = std::vector<Row>;

struct Key {
    std::string table;
    std::vector<std::string> columns;
};

// How many of its first columns are a table's key, where it is not one.
const std::map<std::string, std::size_t> kKeyColumns{{"tsmdm135", 3}, {"tscfg200", 3}, {"tssoc205", 2},
                                                     {"tssoc206", 2}, {"tssoc210", 2}, {"tsspc200", 3}};

std::string Bytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::vector<std::vector<std::string>> ParseCsv(const std::string& text) {
    std::vector<std::vector<std::string>> records{{""}};
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::string& cell = records.back().back();
        const char c = text[i];
        if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
            cell += text[++i];
        } else if (c == '"') {
            quoted = !quoted;
        } else if (!quoted && c == ',') {
            records.back().emplace_back();
        } else if (!quoted && c == '\n') {
            records.push_back({""});
        } else {
            cell += c;
        }
    }
    records.pop_back();
    return records;
}

std::string KeyOf(const Key& key, const Row& row) {
    std::string text;
    for (const std::string& column : key.columns) text += row.at(column) + '|';
    return text;
}

// Cells of a key in the order of an ERP: numbers by their value, texts by their bytes.
bool IsBefore(const std::string& left, const std::string& right) {
    const auto isNumber = [](const std::string& cell) {
        return cell.find_first_not_of("0123456789.") == std::string::npos;
    };
    return isNumber(left) && isNumber(right) ? std::stod(left) < std::stod(right) : left < right;
}

std::set<std::string> FileNames(const std::filesystem::path& directory) {
    std::set<std::string> names;
    for (const auto& file : std::filesystem::directory_iterator(directory)) {
        names.insert(file.path().filename().string());
    }
    return names;
}

std::set<std::string> Values(const Rows& rows, const std::string& column) {
    std::set<std::string> values;
    for (const Row& row : rows) values.insert(row.at(column));
    return values;
}

class Sample : public testing::Test {
protected:
    Sample() {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        directory = std::filesystem::temp_directory_path() /
                    (std::string("iqrx_sample_") + test->name() + "_" +
                     std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
    }
    ~Sample() override {
        std::error_code ignored;
        std::filesystem::remove_all(directory, ignored);
    }

    // Every table that has been written, with its key.
    std::vector<Key> Tables() const {
        constexpr std::string_view kTrail = ".audit.csv";
        std::vector<Key> tables;
        for (const std::string& name : FileNames(directory)) {
            if (!name.ends_with(kTrail)) continue;
            const std::string table = name.substr(0, name.size() - kTrail.size());
            std::vector<std::string> columns = ParseCsv(Bytes(directory / (table + ".csv"))).front();
            columns.resize(kKeyColumns.contains(table) ? kKeyColumns.at(table) : 1);
            tables.push_back({table, columns});
        }
        return tables;
    }

    Rows Read(const std::string& file) const {
        const auto records = ParseCsv(Bytes(directory / file));
        Rows rows;
        for (std::size_t i = 1; i < records.size(); ++i) {
            EXPECT_THAT(records[i], SizeIs(records[0].size())) << file << ", record " << i;
            Row row;
            for (std::size_t c = 0; c < records[0].size(); ++c) row[records[0][c]] = records[i].at(c);
            rows.push_back(std::move(row));
        }
        return rows;
    }
    Rows Morning(const std::string& table) const { return Read(table + ".csv"); }
    Rows Trail(const std::string& table) const { return Read(table + ".audit.csv"); }

    // The records after the day's changes.
    Rows Evening(const Key& key) const {
        std::map<std::string, Row> records;
        for (const Row& row : Morning(key.table)) records[KeyOf(key, row)] = row;
        for (const Row& row : Trail(key.table)) {
            if (row.at("change") == "D") {
                records.erase(KeyOf(key, row));
            } else {
                records[KeyOf(key, row)] = row;
            }
        }
        Rows rows;
        for (const auto& [ignored, row] : records) rows.push_back(row);
        return rows;
    }

    Rows Evening(const std::string& table) const {
        const std::vector<Key> tables = Tables();
        return Evening(*std::ranges::find(tables, table, &Key::table));
    }

    std::filesystem::path directory;
};

TEST_F(Sample, WritesTheSameBytesForTheSameSeed) {
    const auto again = directory / "again", other = directory / "other";
    WriteSample(directory, {60, 20, 7});
    WriteSample(again, {60, 20, 7});
    WriteSample(other, {60, 20, 8});

    for (const std::string& name : FileNames(again)) {
        EXPECT_EQ(Bytes(directory / name), Bytes(again / name)) << name;
    }
    EXPECT_NE(Bytes(directory / "tssoc200.csv"), Bytes(other / "tssoc200.csv"));
}

TEST_F(Sample, InTheRepositoryIsWhatTheGeneratorWritesOnEveryMachine) {
    WriteSample(directory, {40, 20, 1});

    std::set<std::string> names = FileNames(IQRX_SAMPLE_DIRECTORY);
    names.erase("README.md");
    names.erase(".qrxctl-sample");  // the tool's mark
    EXPECT_EQ(FileNames(directory), names);
    for (const std::string& name : FileNames(directory)) {
        EXPECT_TRUE(Bytes(directory / name) == Bytes(std::filesystem::path(IQRX_SAMPLE_DIRECTORY) / name))
            << name;
    }
}

TEST_F(Sample, HasRecordsOfEveryTableInAscendingOrderOfTheirKeys) {
    WriteSample(directory, {300, 50, 1});

    for (const Key& key : Tables()) {
        const Rows rows = Morning(key.table);
        ASSERT_THAT(rows, Not(IsEmpty())) << key.table;
        for (std::size_t i = 1; i < rows.size(); ++i) {
            std::vector<std::string> before, after;
            for (const std::string& column : key.columns) {
                before.push_back(rows[i - 1].at(column));
                after.push_back(rows[i].at(column));
            }
            EXPECT_TRUE(std::ranges::lexicographical_compare(before, after, IsBefore))
                << key.table << ": " << KeyOf(key, rows[i]);
        }
    }
}

TEST_F(Sample, RefersToRecordsThatExistInTheMorningAndInTheEvening) {
    WriteSample(directory, {300, 100, 1});

    const std::vector<std::array<std::string, 4>> references{
        {"tsmdm030", "ract", "tcccp001", "ract"}, {"tsmdm100", "cmwc", "tsmdm100", "cwoc"},
        {"tsmdm100", "srep", "tsmdm140", "emno"}, {"tsmdm105", "cmsa", "tsmdm105", "csar"},
        {"tsmdm105", "cwoc", "tsmdm100", "cwoc"}, {"tsmdm135", "emno", "tsmdm140", "emno"},
        {"tsmdm135", "skll", "tsmdm130", "skll"}, {"tsmdm140", "cwoc", "tsmdm100", "cwoc"},
        {"tsmdm140", "cadr", "tccom130", "cadr"}, {"tsmdm140", "csar", "tsmdm105", "csar"},
        {"tscfg220", "cwoc", "tsmdm100", "cwoc"}, {"tscfg220", "csar", "tsmdm105", "csar"},
        {"tscfg220", "teca", "tsmdm140", "emno"}, {"tscfg220", "cadr", "tccom130", "cadr"},
        {"tscfg200", "ccfg", "tscfg220", "ccfg"}, {"tscfg200", "emno", "tsmdm140", "emno"},
        {"tssoc200", "ccfg", "tscfg220", "ccfg"}, {"tssoc200", "lcad", "tccom130", "cadr"},
        {"tssoc200", "cwoc", "tsmdm100", "cwoc"}, {"tssoc200", "csar", "tsmdm105", "csar"},
        {"tssoc200", "emno", "tsmdm140", "emno"}, {"tssoc210", "orno", "tssoc200", "orno"},
        {"tssoc210", "cstp", "tsmdm030", "cstp"}, {"tssoc210", "ccfg", "tscfg220", "ccfg"},
        {"tssoc210", "crob", "tscfg200", "crob"}, {"tssoc210", "crtc", "tsclm020", "crtc"},
        {"tssoc210", "skla", "tsmdm130", "skll"}, {"tssoc205", "orno", "tssoc200", "orno"},
        {"tssoc205", "emno", "tsmdm140", "emno"}, {"tssoc206", "orno", "tssoc200", "orno"},
        {"tssoc206", "emno", "tsmdm140", "emno"}, {"tsspc200", "ccfg", "tscfg220", "ccfg"},
        {"tsspc200", "cstp", "tsmdm030", "cstp"}, {"tsspc200", "cwoc", "tsmdm100", "cwoc"},
        {"tsspc200", "crob", "tscfg200", "crob"}};

    for (const auto& [table, column, target, key] : references) {
        EXPECT_THAT(Values(Morning(target), key), IsSupersetOf(Values(Morning(table), column)))
            << "morning: " << table << '.' << column;
        EXPECT_THAT(Values(Evening(target), key), IsSupersetOf(Values(Evening(table), column)))
            << "evening: " << table << '.' << column;
    }
}

TEST_F(Sample, LinksLinesAssignmentsAndPlannedActivitiesToActivitiesOfTheirOrder) {
    WriteSample(directory, {300, 100, 1});

    for (const bool evening : {false, true}) {
        const auto records = [&](const std::string& table) {
            return evening ? Evening(table) : Morning(table);
        };
        std::set<std::string> activities;
        for (const Row& row : records("tssoc210")) activities.insert(row.at("orno") + '/' + row.at("acln"));
        int linked = 0;
        for (const char* table : {"tssoc205", "tssoc206", "tsspc200"}) {
            for (const Row& row : records(table)) {
                if (row.at("orno").empty()) continue;
                EXPECT_THAT(activities, Contains(row.at("orno") + '/' + row.at("acln"))) << table;
                ++linked;
            }
        }
        EXPECT_GT(linked, 600);
    }
}

TEST_F(Sample, HasATrailOfInsertsUpdatesAndDeletesForEveryTable) {
    WriteSample(directory, {40, 20, 1});

    for (const Key& key : Tables()) {
        const Rows trail = Trail(key.table);
        EXPECT_THAT(Values(trail, "change"), UnorderedElementsAre("I", "U", "D")) << key.table;
        std::string last;
        for (const Row& row : trail) {
            EXPECT_LE(last, row.at("changed_at")) << key.table;
            last = row.at("changed_at");
            EXPECT_EQ(last.substr(0, 10), kSampleDay) << key.table;
        }
    }
    EXPECT_THAT(Trail("tssoc200"), SizeIs(20));
}

TEST_F(Sample, InsertsWhatTheMorningLacksAndChangesWhatIsThere) {
    WriteSample(directory, {300, 200, 1});

    for (const Key& key : Tables()) {
        std::set<std::string> present;
        for (const Row& row : Morning(key.table)) present.insert(KeyOf(key, row));
        for (const Row& row : Trail(key.table)) {
            const std::string record = KeyOf(key, row);
            if (row.at("change") == "I") {
                EXPECT_TRUE(present.insert(record).second) << key.table << ' ' << record;
            } else {
                EXPECT_THAT(present, Contains(record)) << key.table;
                if (row.at("change") == "D") present.erase(record);
            }
        }
    }
}

TEST_F(Sample, LeavesNoNumberEmpty) {
    WriteSample(directory, {300, 100, 1});

    const std::map<std::string, std::vector<std::string>> numbers{
        {"tsmdm000", {"seqn"}},
        {"tsmdm030", {"dahe"}},
        {"tsmdm105", {"artp", "trti", "dist", "ccha"}},
        {"tsmdm135", {"afct"}},
        {"tsmdm140", {"mopd"}},
        {"tsclm020", {"rctt", "enst", "sltn"}},
        {"tsclm024", {"sltt"}},
        {"tscfg200", {"oseq"}},
        {"tssoc200", {"osta", "blyn", "ityn", "ordu", "tvdu", "otim", "appo", "rsrp", "emer", "minu"}},
        {"tssoc210", {"acln", "oseq", "prpr", "cupr", "obpr", "asta", "acdu", "appo"}},
        {"tssoc205", {"line", "acln"}},
        {"tssoc206", {"asln", "acln"}},
        {"tsspc200", {"aseq", "oseq", "adur", "trtm", "appo", "stat", "acln"}}};
    for (const auto& [table, columns] : numbers) {
        for (const std::string& column : columns) {
            EXPECT_THAT(Values(Morning(table), column), Not(Contains(""))) << table << '.' << column;
            EXPECT_THAT(Values(Trail(table), column), Not(Contains(""))) << table << '.' << column;
        }
    }
}

TEST_F(Sample, HasOrdersOfEveryStatusAndTextsThatNeedCare) {
    WriteSample(directory, {100, 0, 1});

    EXPECT_THAT(Values(Morning("tssoc200"), "osta"),
                UnorderedElementsAre("5", "10", "15", "20", "23", "25", "35"));
    EXPECT_THAT(Values(Morning("tssoc210"), "desc"), Contains(testing::HasSubstr("\nCustomer: \"ring")));
    EXPECT_THAT(Values(Morning("tssoc200"), "stna"),
                IsSupersetOf({"Müller & Söhne GmbH", "O'Brien \"Cold Stores\", Ltd."}));
}

TEST_F(Sample, WritesIntervalsForEveryCalendarOfAnEmployeeOrServiceCenter) {
    WriteSample(directory, {40, 20, 1});

    const Rows intervals = Read("calendars.csv");
    const std::set<std::string> calendars = Values(intervals, "calendar");
    for (const char* table : {"tsmdm140", "tsmdm100"}) {
        EXPECT_THAT(calendars, IsSupersetOf(Values(Morning(table), "ccal"))) << table;
        EXPECT_THAT(calendars, IsSupersetOf(Values(Evening(table), "ccal"))) << table;
    }
    EXPECT_THAT(Values(Morning("tcccp001"), "ract"), IsSupersetOf(Values(intervals, "availability_type")));
}

TEST_F(Sample, WritesCalendarsInUtcAnHourBehindLocalTimeSomeOverSeveralDays) {
    WriteSample(directory, {0, 0, 1});

    int spanning = 0;
    for (const Row& row : Read("calendars.csv")) {
        for (const std::string end : {"start", "end"}) {
            const int time = std::stoi(row.at(end + "_time"));
            const auto date = platform::ParseIsoDate(row.at(end + "_date"));
            ASSERT_TRUE(date);
            const auto local = platform::AddMinutes(*date, time / 100 * 60 + time % 100);
            EXPECT_EQ(row.at(end + "_utc"), platform::IsoDateTime(platform::AddMinutes(local, -60)));
        }
        if (row.at("start_date") < row.at("end_date")) ++spanning;
    }
    EXPECT_GT(spanning, 0);
}

TEST_F(Sample, WithoutChangesHasEmptyTrails) {
    WriteSample(directory, {40, 0, 1});

    for (const Key& key : Tables()) EXPECT_THAT(Trail(key.table), IsEmpty()) << key.table;
}

TEST_F(Sample, WithMoreChangesThanOrdersStaysConsistent) {
    WriteSample(directory, {12, 500, 1});

    const std::set<std::string> orders = Values(Evening("tssoc200"), "orno");
    for (const char* table : {"tssoc210", "tssoc205", "tssoc206"}) {
        EXPECT_THAT(orders, IsSupersetOf(Values(Evening(table), "orno"))) << table;
    }
    EXPECT_THAT(Trail("tssoc200"), SizeIs(500));
}

TEST_F(Sample, WithoutOrdersStillHasAWorkingDay) {
    WriteSample(directory, {0, 10, 1});

    EXPECT_THAT(Morning("tssoc200"), IsEmpty());
    EXPECT_THAT(Values(Trail("tssoc200"), "change"), Contains("I"));
}

TEST_F(Sample, RefusesSizesThatOrderNumbersCannotCount) {
    EXPECT_THROW(WriteSample(directory, {-1, 0, 1}), platform::RuntimeError);
    EXPECT_THROW(WriteSample(directory, {0, -1, 1}), platform::RuntimeError);
    EXPECT_THROW(WriteSample(directory, {9'999'999, 1, 1}), platform::RuntimeError);
}

TEST_F(Sample, NamesTheFileThatCannotBeWritten) {
    std::filesystem::create_directories(directory / "tsmdm030.csv");

    try {
        WriteSample(directory, {10, 0, 1});
        FAIL() << "a directory was written to as a file";
    } catch (const platform::RuntimeError& error) {
        EXPECT_EQ(error.number, platform::kPathFileAccess);
        EXPECT_THAT(error.description, testing::HasSubstr("tsmdm030.csv"));
    }
}

}  // namespace
}  // namespace iqrx::sample
