#include "composition/system.h"

#include <csignal>
#include <cstdlib>
#include <iostream>

#include "control/control_tables.h"
#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "platform/posix/instance_registry.h"
#include "platform/posix/machine.h"
#include "platform/sqlite/sqlite_database.h"
#include "runtime/run_log.h"

namespace iqrx::hosting {

namespace {

void TellOfWaiting(const std::string& text) { std::cerr << runtime::DiagnosticLine(text) << std::endl; }

bool IsEmbedded(const platform::ConnectionString& keys) {
    const auto provider = keys.Find("Provider");
    return provider && platform::EqualIgnoringCase(*provider, "SQLite");
}

// A file that grows beyond the process's limit is then an error of the write, which can be told and leaves
// the table free, and not the end of the process.
void TakeFileSizeLimitAsError() { std::signal(SIGXFSZ, SIG_IGN); }

class LinuxSystem final : public System {
public:
    explicit LinuxSystem(const Surroundings& surroundings) : objects_(surroundings.instances) {
        TakeFileSizeLimitAsError();
    }

    platform::Machine Machine() override { return machine_.Ports(); }

    platform::ObjectFactory& Objects() override { return objects_; }

    std::unique_ptr<platform::Connection> CreateConnection(std::string_view text) override {
        const platform::ConnectionString keys(text);
        if (IsEmbedded(keys))
            return platform::CreateSqliteConnection(control::CoordinatingTables(),
                                                    platform::TellingEachMinute(TellOfWaiting));
        if (keys.Has("Driver") || keys.Has("DSN"))
            return platform::CreateOdbcConnection(control::CoordinatingTables());
        platform::RaiseRuntimeError(
            platform::kInvalidProcedureCall,
            "the connection string must begin with \"Provider=SQLite;Data Source=FILE\", or "
            "with \"Driver=...\" or \"DSN=...\" for ODBC");
    }

    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice&) override {
        platform::RaiseRuntimeError(
            platform::kInvalidProcedureCall,
            "the run parameter \"" + runParameter +
                "\" names no ERP that this system can reach; it takes extract=DIRECTORY");
    }

    bool ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script) override {
        const platform::ConnectionString keys(connectionString);
        if (!IsEmbedded(keys)) return false;
        platform::ApplySqliteScript(keys.Find("Data Source").value_or(""), script);
        return true;
    }

private:
    platform::posix::PosixMachine machine_;
    platform::posix::InstanceRegistryFactory objects_;
};

}  // namespace

std::optional<std::string> Variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (!value || !*value) return std::nullopt;
    return value;
}

std::unique_ptr<System> CreateSystem(const Surroundings& surroundings) {
    return std::make_unique<LinuxSystem>(surroundings);
}

}  // namespace iqrx::hosting
