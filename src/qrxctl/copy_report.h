// The end of a run: what was copied, what was not and why, what to do about it. Nothing is said twice.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "qrxctl/copy_result.h"

namespace iqrx::qrxctl {

struct CopyReport {
    std::string run;                           // "20261121-104032"
    std::vector<TableResult> results = {};     // in the order of the catalog
    std::vector<std::string> notBegun = {};    // the tables that a stop left
    std::vector<std::string> doneBefore = {};  // the tables that a resumed run left out
    double seconds = 0;
    std::string resume = {};  // the command that goes on; empty for a run that was not stopped
};

ExitCode CodeOf(const CopyReport& report);

void ShowClosingTable(const CopyReport& report, std::ostream& out);
// What was stopped, failed or in use, with its next step; the notes of all.
void ShowTroubles(const CopyReport& report, std::ostream& out);

// A table's result as a line of JSON, and the run's.
std::string JsonOf(const TableResult& result, const std::string& run, const std::string& at);
std::string JsonOf(const CopyReport& report, const std::string& at);
// Of a copy that is only spoken of.
std::string JsonOfIntent(const std::string& table, const std::string& method, const std::string& what);

}  // namespace iqrx::qrxctl
