#include "support/table_case.h"

#include <gmock/gmock.h>

namespace iqrx::testing {

using platform::Integer;
using ::testing::ElementsAreArray;

namespace {

std::string GoldenName(const GoldenCase& golden) {
    return golden.table->table + (golden.syncMethod == 1 ? ".full." : ".incremental.") +
           (golden.databasePlatform == 1 ? "sqlserver" : "oracle");
}

void Copy(TestProcess& process, const TableCase& table, Integer syncMethod) {
    if (table.serve) table.serve(process.erp);
    table.copy({process.run, table.table, "run parameter", syncMethod});
}

}  // namespace

std::vector<GoldenCase> GoldenCases(std::span<const TableCase> tables) {
    std::vector<GoldenCase> cases;
    for (const TableCase& table : tables)
        for (const Integer databasePlatform : {Integer{1}, Integer{2}})
            for (const Integer syncMethod : {Integer{1}, Integer{2}})
                cases.push_back({&table, databasePlatform, syncMethod});
    return cases;
}

void PrintTo(const GoldenCase& golden, std::ostream* out) { *out << GoldenName(golden); }

std::string GoldenTestName(const ::testing::TestParamInfo<GoldenCase>& info) {
    std::string name = GoldenName(info.param);
    for (char& c : name)
        if (c == '.') c = '_';
    return name;
}

void PrintTo(const TableCase& table, std::ostream* out) { *out << table.table; }

std::string TableTestName(const ::testing::TestParamInfo<TableCase>& info) { return info.param.table; }

void ExpectGoldenCopy(const GoldenCase& golden) {
    const TableCase& table = *golden.table;
    TestProcess process;
    process.OpenDatabase(golden.databasePlatform);
    process.database.defaultAffected = 1;
    process.database.WhenExecutedBeginning(table.updateOfFresh, 0);
    process.erp.records = {table.known, table.fresh};
    process.erp.trail = {{"U", table.known}, {"I", table.fresh}, {"DU", table.gone}, {"", table.known}};
    Copy(process, table, golden.syncMethod);
    ExpectGolden(process.database, GoldenName(golden) + ".txt");
}

void ExpectFullCopysCalls(const TableCase& table) {
    TestProcess process;
    process.OpenDatabase();
    Copy(process, table, 1);
    std::vector<std::string> calls = process.erp.calls;
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("page"); });
    std::vector<std::string> expected = {"create manager " + table.table,
                                         "manager.SetRunParameter('run parameter')", "manager." + table.fetch};
    if (!table.serve) expected.push_back("enumerator.hasMoreElements()");
    expected.push_back("manager.CloseManager()");
    EXPECT_THAT(calls, ElementsAreArray(expected));
}

void ExpectIncrementalCopysCalls(const TableCase& table) {
    TestProcess process;
    process.OpenDatabase();
    Copy(process, table, 2);
    std::vector<std::string> expected = {"create manager " + table.table, "create record " + table.table,
                                         "create com.orva.erp.audit.AuditCriteria",
                                         "create com.orva.erp.audit.Period"};
    const auto expect = [&](const std::string& call) { expected.push_back(call); };
    for (std::size_t i = 0; i < table.parameters.size(); ++i) expect("create com.orva.erp.audit.Parameter");
    expect("create com.orva.erp.audit.AuditReader");
    expect("create com.orva.erp.audit.RecordStatus");
    expect("manager.SetRunParameter('run parameter')");
    expect("Period.setFrom(1970-01-01 00:00:00)");
    expect("Period.setTo(2026-03-04 05:06:07)");
    expect("AuditCriteria.setPeriod(Period)");
    for (const std::string& parameter : table.parameters) {
        const auto first = parameter.find(' '), second = parameter.find(' ', first + 1);
        expect("Parameter.setFieldName(" + parameter.substr(0, first) + ")");
        expect("Parameter.setFrom(" + parameter.substr(first + 1, second - first - 1) + ")");
        expect("Parameter.setTo(" + parameter.substr(second + 1) + ")");
    }
    for (std::size_t i = 0; i < table.parameters.size(); ++i) expect("AuditCriteria.addParameter(Parameter)");
    for (const std::string& field : table.outputFields)
        expect("AuditCriteria.addOutputField('" + field + "')");
    expect("AuditReader.Initialize(manager, record, AuditCriteria)");
    expect("AuditReader.hasMoreElements()");
    EXPECT_THAT(process.erp.calls, ElementsAreArray(expected));
}

}  // namespace iqrx::testing
