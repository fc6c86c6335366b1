#include "hosting/composition.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

#include "control/control_tables.h"
#include "erp/extract/extract_erp.h"
#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "platform/posix/instance_registry.h"
#include "platform/posix/machine.h"
#include "platform/sqlite/sqlite_database.h"
#include "platform/trace/tracing_database.h"
#include "runtime/run_log.h"

namespace iqrx::hosting {

namespace {

void TellOfWaiting(const std::string& text) { std::cerr << runtime::DiagnosticLine(text) << std::endl; }

bool IsEmbedded(const platform::ConnectionString& keys) {
    const auto provider = keys.Find("Provider");
    return provider && platform::EqualIgnoringCase(*provider, "SQLite");
}

class DatabaseChooser : public platform::DatabaseProvider {
public:
    std::unique_ptr<platform::Connection> CreateConnection(std::string_view text) override {
        const platform::ConnectionString keys(text);
        if (IsEmbedded(keys))
            return platform::CreateSqliteConnection(control::CoordinatingTables(), TellOfWaiting);
        if (keys.Has("Driver") || keys.Has("DSN"))
            return platform::CreateOdbcConnection(control::CoordinatingTables());
        platform::RaiseRuntimeError(
            platform::kInvalidProcedureCall,
            "the connection string must begin with \"Provider=SQLite;Data Source=FILE\", or "
            "with \"Driver=...\" or \"DSN=...\" for ODBC");
    }
};

class ErpChooser : public erp::ErpProvider {
public:
    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice& notice) override {
        constexpr std::string_view kExtract = "extract=";
        if (!runParameter.starts_with(kExtract))
            platform::RaiseRuntimeError(
                platform::kInvalidProcedureCall,
                "the run parameter \"" + runParameter +
                    "\" names no ERP that this system can reach; it takes extract=DIRECTORY");
        return erp::extract::OpenExtract(runParameter.substr(kExtract.size()), notice);
    }
};

std::optional<std::filesystem::path> FileInVariable(const char* variable) {
    const char* value = std::getenv(variable);
    if (!value || !*value) return std::nullopt;
    return value;
}

// A file that grows beyond the process's limit is then an error of the write, which can be told and leaves
// the table free, and not the end of the process.
void TakeFileSizeLimitAsError() { std::signal(SIGXFSZ, SIG_IGN); }

}  // namespace

struct Composition::Parts {
    Parts() {
        TakeFileSizeLimitAsError();
        if (const auto file = FileInVariable("QRX_SQL_TRACE"))
            tracing.emplace(databases, machine.Ports().files, *file);
    }

    platform::posix::PosixMachine machine;
    DatabaseChooser databases;
    std::optional<platform::trace::TracingDatabaseProvider> tracing;
    ErpChooser erps;
    platform::posix::InstanceRegistryFactory objects{FileInVariable("QRX_INSTANCE")};
};

Composition::Composition() : parts_(std::make_unique<Parts>()) {}

Composition::~Composition() = default;

platform::Machine Composition::Machine() { return parts_->machine.Ports(); }

platform::DatabaseProvider& Composition::Databases() {
    if (parts_->tracing) return *parts_->tracing;
    return parts_->databases;
}

erp::ErpProvider& Composition::Erps() { return parts_->erps; }

platform::ObjectFactory& Composition::Objects() { return parts_->objects; }

bool Composition::ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script) {
    const platform::ConnectionString keys(connectionString);
    if (!IsEmbedded(keys)) return false;
    platform::ApplySqliteScript(keys.Find("Data Source").value_or(""), script);
    return true;
}

}  // namespace iqrx::hosting
