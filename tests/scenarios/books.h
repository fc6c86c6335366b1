// What programs have kept of their runs beside the database of a site.
#pragma once

#include <optional>

#include "scenarios/site.h"

namespace iqrx::testing {

std::string ThisHost();
std::string SecondsAgo(long seconds);       // RFC 3339, in the zone of the test
std::string LocalSecondsAgo(long seconds);  // "YYYY-MM-DD HH:MM:SS"

// A run as its line of the history tells of it.
struct PastRun {
    std::string run, table = "tsmdm030", method = "full", outcome = "ok", cause = "";
    std::string program = "qrxctl copy --all --full", by = "anna";
    long secondsAgo = 0, took = 0;  // when it ended, and how long it ran
    std::optional<long> copied = 5, removed = 0, rows = 5;
};

class SiteWithBooks : public Site {
protected:
    void GivenRuns(const std::vector<PastRun>& runs) const;
    void GivenHistoryLine(const std::string& line) const;
    // Of "tsmdm030"; what the clock and the uptime were then does not matter to who reads.
    void GivenLedger(const std::string& readTo, const std::string& gaps = "") const;
    void GivenSheet(const std::string& table, const std::string& host, long secondsAgo) const;
    // What the holder of that sheet has told of his copy.
    void GivenSign(const std::string& table, long rows, long milliseconds, long secondsAgo) const;
    void Lock(const std::string& table) const;

    static void ExpectNarrow(const std::string& text);
};

// Keeps a run sheet as a process that copies does.
class SheetHolder {
public:
    explicit SheetHolder(const fs::path& sheet);
    ~SheetHolder();
    SheetHolder(const SheetHolder&) = delete;
    SheetHolder& operator=(const SheetHolder&) = delete;

private:
    int file_;
};

}  // namespace iqrx::testing
