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

// A site on the morning of the sample's day: every table was copied in full, the day's changes are in the trails. The
// sample is the one that the source tree carries or, where a copy has to last, one of so many orders and changes.
class MendedByTheNextRun : public Site, public ::testing::WithParamInterface<DisturbedCopy> {
protected:
    explicit MendedByTheNextRun(bool onServer = OnPostgres(), int orders = 0)
        : Site(onServer), sample(orders > 0 ? extract : Sample()) {
        const std::string count = std::to_string(orders);
        if (orders > 0) {
            EXPECT_EQ(
                BareQrxctl({"sample", extract.string(), "--orders", count, "--changes", count, "--force"}).exitCode,
                0);
        }
        Execute("DELETE FROM tsparameters");
        Execute("INSERT INTO tsparameters (Qrxcal, tvkparam) VALUES (3650, 1)");
        for (int round = 0; round < 2; ++round)  // the calendars need the employees of the first
            EXPECT_EQ(BareQrxctl({"copy", "--all", "--full", "--connection", Connection(), "--erp",
                                  "extract=" + sample.string(), "--log-dir", logs.string()})
                          .exitCode,
                      0);
        Execute("UPDATE tstables SET lutm = '2025-06-20 00:00:00'");
        Database().Keep();
        BackToTheMorning();
        EXPECT_EQ(Copy().exitCode, 0);
        expected = Contents();
        BackToTheMorning();
    }

    void BackToTheMorning() const {
        fs::remove_all(State());
        fs::remove_all(logs);
        fs::create_directory(logs);
        Database().Restore();
        fs::remove(directory / "instance");
    }

    Request TheCopy() const {
        Request request = FullCopy();
        request.runParameter = "extract=" + sample.string();
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

    // The rows of every table that a copy fills.
    std::vector<std::string> Contents() const {
        std::vector<std::string> rows;
        for (const std::string& table : Database().Tables())
            if (table != "tstables" && table != "tsfullsyncs")
                for (const std::string& row : Rows("SELECT * FROM " + table))
                    rows.push_back(table + " " + row);
        std::ranges::sort(rows);
        return rows;
    }

    void ExpectMended() const {
        const Finished next = Copy();
        EXPECT_EQ(next.exitCode, 0) << next.err;
        EXPECT_THAT(Contents(), ::testing::ContainerEq(expected));
    }

    const fs::path sample;
    std::vector<std::string> expected;
};

}  // namespace iqrx::testing
