// One table's two copies: what they send, compared with the golden files
// tests/golden/TABLE.(full|incremental).(sqlserver|oracle).txt, and what they ask the ERP.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "support/test_process.h"

namespace iqrx::testing {

struct TableCase {
    std::string table;
    control::Routine* copy;
    Fields known = {};                    // a record whose row is there
    Fields fresh = {};                    // a record whose row is not
    Fields gone = {};                     // the key of a deleted record; nothing else is asked of it
    std::string updateOfFresh = {};       // how the UPDATE begins that finds no row
    std::vector<std::string> parameters;  // of the audit criteria: "'FIELD' 'FROM' 'TO'"
    std::vector<std::string> outputFields;
    std::string fetch = {};                         // the manager's call of a full copy
    std::function<void(RecordingErp&)> serve = {};  // how the ERP serves the records, where not by an enumerator
};

struct GoldenCase {
    const TableCase* table;
    platform::Integer databasePlatform;
    platform::Integer syncMethod;
};
// Every table in both modes on both platforms.
std::vector<GoldenCase> GoldenCases(std::span<const TableCase> tables);
void PrintTo(const GoldenCase& golden, std::ostream* out);
std::string GoldenTestName(const ::testing::TestParamInfo<GoldenCase>& info);
void PrintTo(const TableCase& table, std::ostream* out);
std::string TableTestName(const ::testing::TestParamInfo<TableCase>& info);

// Copies `known` and `fresh`, or a trail in which `known` changed, `fresh` came, `gone` was deleted after a
// change and one element has no status, and compares the statements with the golden file.
void ExpectGoldenCopy(const GoldenCase& golden);

// A full copy without records: the manager is created, told the run parameter, asked and closed.
void ExpectFullCopysCalls(const TableCase& table);
// An incremental copy with an empty trail: the order of the audit calls; the manager stays open.
void ExpectIncrementalCopysCalls(const TableCase& table);

}  // namespace iqrx::testing
