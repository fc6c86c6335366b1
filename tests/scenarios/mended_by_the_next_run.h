// A copy that something disturbs, and the next one, which nothing does: together they must leave what one
// undisturbed copy leaves.
#pragma once

#include <algorithm>
#include <cstdlib>

#include "scenarios/site.h"

namespace iqrx::testing {

// How many tries a random test makes: few in every run of the suite, as many as IQRX_ROUNDS says.
inline int Rounds(int usual) {
    const char* rounds = std::getenv("IQRX_ROUNDS");
    return rounds ? std::atoi(rounds) : usual;
}

struct DisturbedCopy {
    std::string table, method, name;
};
inline void PrintTo(const DisturbedCopy& copy, std::ostream* out) { *out << copy.name; }

// The sample's site on the morning of its day: every table was copied in full, the day's changes are in the trails.
class MendedByTheNextRun : public Site, public ::testing::WithParamInterface<DisturbedCopy> {
protected:
    MendedByTheNextRun() {
        Execute("DELETE FROM tsparameters; INSERT INTO tsparameters (Qrxcal, tvkparam) VALUES (3650, 1)");
        for (int round = 0; round < 2; ++round)  // the calendars need the employees of the first
            EXPECT_EQ(BareQrxctl({"copy", "--all", "--full", "--connection", Connection(), "--erp",
                                  "extract=" + Sample().string(), "--log-dir", logs.string()})
                          .exitCode,
                      0);
        Execute("UPDATE tstables SET lutm = '2025-06-20 00:00:00'; PRAGMA wal_checkpoint(TRUNCATE)");
        fs::create_directory(site);
        fs::copy_file(database, morning);
        BackToTheMorning();
        EXPECT_EQ(Copy().exitCode, 0);
        expected = Contents();
        BackToTheMorning();
    }

    void BackToTheMorning() const {
        fs::remove_all(site);
        fs::create_directories(site / "log");
        fs::copy_file(morning, site / "site.db");
        fs::remove(directory / "instance");
    }

    Request TheCopy() const {
        Request request = FullCopy();
        request.connection = "Provider=SQLite;Data Source=" + (site / "site.db").string();
        request.logDirectory = (site / "log").string();
        request.runParameter = "extract=" + Sample().string();
        request.table = GetParam().table;
        request.method = GetParam().method;
        request.calendar = "E00001";
        request.statusKey = "7";
        return request;
    }
    Finished Copy(Environment environment = {}) const {
        environment["QRX_INSTANCE"] = (directory / "instance").string();
        return Service(TheCopy(), environment, 11);
    }

    std::vector<std::string> Read(const std::string& sql) const { return RowsOf(site / "site.db", sql); }

    // The rows of every table that a copy fills.
    std::vector<std::string> Contents() const {
        std::vector<std::string> rows;
        for (const std::string& table :
             Read("SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT IN ('tstables', 'tsfullsyncs') "
                  "AND name NOT LIKE 'sqlite_%'"))
            for (const std::string& row : Read("SELECT * FROM " + table)) rows.push_back(table + " " + row);
        std::ranges::sort(rows);
        return rows;
    }

    void ExpectMended() const {
        const Finished next = Copy();
        EXPECT_EQ(next.exitCode, 0) << next.err;
        EXPECT_THAT(Contents(), ::testing::ContainerEq(expected));
    }

    const fs::path site = directory / "site", morning = directory / "morning.db";
    std::vector<std::string> expected;
};

}  // namespace iqrx::testing
