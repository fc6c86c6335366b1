#include "tables/orders/statement_guards.h"

#include "platform/error.h"

namespace iqrx::tables {

namespace {

[[noreturn]] void RaiseWithSource(const std::string& source) {
    constexpr std::int32_t kMalformedStatement = 100;
    throw platform::RuntimeError(kMalformedStatement, source, "Application-defined or object-defined error");
}

}  // namespace

void RequireUpdate(control::CopyRun&, const std::string& sql) {
    if (sql.empty()) RaiseWithSource("Malformed UPDATE Statement");
}

void RequireStatement(control::CopyRun& run, const std::string& sql) {
    if (sql.empty()) RaiseWithSource(run.process.messages.GetI18nText("SLBL0250"));
}

void RequireExecutedStatement(control::CopyRun&, const std::string& sql) {
    if (sql.find_first_not_of(' ') == std::string::npos)
        RaiseWithSource("Error in SQL Statement INSERT/UPDATE formation");
}

}  // namespace iqrx::tables
