// A working day of the sample extract, copied into the local database: full in the morning, incremental in
// the evening. What should stand there then is worked out from the files alone.

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "erp/extract/extract_erp.h"
#include "platform/csv_reader.h"
#include "records.h"
#include "sample/sample.h"
#include "support/local_process.h"
#include "tables/orders/orders.h"

namespace iqrx::testing {
namespace {

struct SampledTable {
    std::string name;
    control::Routine* copy;
    std::vector<std::string> keys;
    std::string status = {};  // the column that the filter flag looks at
    bool hasChangeLog = false;
};

const SampledTable kOrders{"tssoc200", tables::CopyServiceOrders, {"orno"}, "osta", true};
const SampledTable kActivities{"tssoc210", tables::CopyServiceOrderActivities, {"orno", "acln"}, "asta", true};
const SampledTable kOrderLines{"tssoc205", tables::CopyServiceOrderLines, {"orno", "line"}};
const SampledTable kAssignments{"tssoc206", tables::CopyAssignments, {"orno", "asln"}, "", true};
const SampledTable kPlannedActivities{"tsspc200", tables::CopyPlannedActivities, {"ccfg", "crac", "aseq"}};

struct Expected {
    std::set<std::string> rows;              // keys, joined by "|"
    std::map<std::string, std::string> log;  // key to action
    bool operator==(const Expected&) const = default;
};

class Sample : public LocalProcess {
public:
    Sample() : extract(directory.path / "extract") {
        sample::WriteSample(extract, {.orders = 400, .changes = 150, .seed = 7});
        erp.onOpen = [](const std::string& runParameter) { return erp::extract::OpenExtract(runParameter); };
    }

    void Copy(const SampledTable& table, Integer syncMethod, const std::string& time) {
        clock.now = At(sample::kSampleDay + (" " + time));
        table.copy({run, table.name, extract.string(), syncMethod});
    }

    // The files' rows: key, status and, in a trail, the change.
    template <class Take>
    void ForEachRow(const SampledTable& table, const std::string& suffix, Take take) const {
        platform::CsvReader file(extract / (table.name + suffix), "test");
        const auto cell = [&](const std::string& column) {
            const auto index = file.FindColumn(column);
            return index ? std::string(file.Cell(*index)) : "";
        };
        while (file.Next()) {
            std::string key;
            for (const std::string& field : table.keys) key += (key.empty() ? "" : "|") + cell(field);
            const std::string status = table.status.empty() ? "" : cell(table.status);
            take(key, status, cell("change"));
        }
    }

    Expected Morning(const SampledTable& table, const std::set<std::string>& keptOut) const {
        Expected expected;
        ForEachRow(table, ".csv", [&](const auto& key, const auto& status, const auto&) {
            if (!keptOut.contains(status)) expected.rows.insert(key);
        });
        return expected;
    }
    Expected Evening(const SampledTable& table, const std::set<std::string>& keptOut) const {
        Expected expected = Morning(table, keptOut);
        ForEachRow(table, ".audit.csv", [&](const auto& key, const auto& status, const std::string& change) {
            if (change.empty()) return;
            const bool deleted = change.find('D') != std::string::npos;
            const bool updated = change.find('U') != std::string::npos;
            if (deleted || keptOut.contains(status)) {
                if (expected.rows.erase(key) > 0) expected.log[key] = "D";
            } else {
                expected.rows.insert(key);
                expected.log[key] = updated ? "U" : "I";
            }
        });
        if (!table.hasChangeLog) expected.log.clear();
        return expected;
    }

    Expected Actual(const SampledTable& table) {
        Expected actual;
        for (const std::string& key : Rows("SELECT * FROM " + table.name, table.keys))
            actual.rows.insert(key);
        if (!table.hasChangeLog) return actual;
        std::vector<std::string> columns = table.keys;
        columns.push_back("action");
        for (const std::string& row : Rows("SELECT * FROM " + table.name + "_audit", columns))
            actual.log[row.substr(0, row.rfind('|'))] = row.substr(row.rfind('|') + 1);
        return actual;
    }

    const std::filesystem::path extract;
};

void ExpectDay(const SampledTable& table, Integer filterFlag, const std::set<std::string>& keptOut) {
    SCOPED_TRACE(table.name + ", filter flag " + std::to_string(filterFlag));
    Sample world;
    world.GivenTable(table.name, filterFlag);

    world.Copy(table, 1, "00:00:00");
    const Expected morning = world.Morning(table, keptOut);
    EXPECT_EQ(world.Actual(table), morning);
    EXPECT_EQ(world.run.counters.inserted, static_cast<Long>(morning.rows.size()));

    world.Copy(table, 2, "23:59:59");
    const Expected evening = world.Evening(table, keptOut);
    EXPECT_NE(evening, morning) << "the day changes something";
    EXPECT_EQ(world.Actual(table), evening);

    world.Execute("UPDATE tstables SET lutm = CONVERT(DATETIME,'"s + sample::kSampleDay + " 00:00:00',120)");
    world.Copy(table, 2, "23:59:59");
    EXPECT_EQ(world.Actual(table), evening) << "the same window once more changes nothing";
}

TEST(ADayOfTheSample, IsCopiedWithEveryStatus) {
    for (const SampledTable& table : {kOrders, kActivities}) ExpectDay(table, 127, {});
}

TEST(ADayOfTheSample, IsCopiedThroughTheFilter) {
    for (const SampledTable& table : {kOrders, kActivities}) {
        ExpectDay(table, 95, {"25"});
        ExpectDay(table, 79, {"23", "25"});
    }
}

TEST(ADayOfTheSample, IsCopiedForTheTablesWithoutAFilter) {
    for (const SampledTable& table : {kOrderLines, kAssignments, kPlannedActivities}) ExpectDay(table, 0, {});
}

}  // namespace
}  // namespace iqrx::testing
