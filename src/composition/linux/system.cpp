#include "composition/system.h"

#include <csignal>
#include <cstdlib>
#include <iostream>

#include "control/control_tables.h"
#include "platform/connection_string.h"
#include "platform/error.h"
#include "platform/odbc/odbc_database.h"
#include "platform/posix/machine.h"
#include "platform/postgres/postgres_database.h"
#include "platform/sqlite/sqlite_database.h"
#include "runtime/run_log.h"

namespace iqrx::hosting {

namespace {

void TellOfWaiting(const std::string& text) { std::cerr << runtime::DiagnosticLine(text) << std::endl; }

bool IsEmbedded(const platform::ConnectionString& keys) {
    return platform::EqualIgnoringCase(keys.Provider(), "SQLite");
}

class LinuxSystem final : public System {
public:
    LinuxSystem(const Surroundings& surroundings, platform::watch::RowCounts& counts)
        : System(platform::posix::CreateMachine(), platform::posix::CreateHost(),
                 platform::posix::CreateInstanceRegistries(surroundings.instances)),
          counts_(counts),
          stop_(surroundings.stop),
          tell_(platform::TellingEachMinute(surroundings.onWait ? surroundings.onWait : TellOfWaiting)),
          idlePostgres_(surroundings.reusesSessions ? platform::IdlePostgresSession() : nullptr) {
        // A file that grows beyond the process's limit is then an error of the write, which can be told and
        // leaves the table free, and not the end of the process.
        std::signal(SIGXFSZ, SIG_IGN);
    }

    std::unique_ptr<platform::Connection> CreateConnection(std::string_view text) override {
        const platform::ConnectionString keys(text);
        if (IsEmbedded(keys))
            return platform::CreateSqliteConnection(control::CoordinatingTables(), Waiting());
        if (platform::EqualIgnoringCase(keys.Provider(), "PostgreSQL"))
            return platform::CreatePostgresConnection(control::CoordinatingTables(), idlePostgres_);
        if (keys.Has("Driver") || keys.Has("DSN"))
            return platform::CreateOdbcConnection(control::CoordinatingTables());
        platform::RaiseRuntimeError(
            platform::kInvalidProcedureCall,
            "the connection string must begin with \"Provider=SQLite;Data Source=FILE\", with "
            "\"Provider=PostgreSQL;Host=...\" or \"Service=...\", or with \"Driver=...\" or \"DSN=...\" for "
            "ODBC");
    }

    std::unique_ptr<erp::Erp> OpenOther(const std::string& runParameter) override {
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
    // A request to stop ends the wait that it meets. The next one goes on: it may be that of the statement
    // that frees the table.
    platform::WaitListener Waiting() {
        return
            [this, hasEnded = false](std::chrono::seconds waited, const std::filesystem::path& file) mutable {
                counts_.waitedSeconds = static_cast<int>(waited.count());
                tell_(waited, file);
                const bool ends = stop_ && stop_->Asked() && !hasEnded;
                hasEnded = hasEnded || ends;
                return !ends;
            };
    }

    platform::watch::RowCounts& counts_;
    const platform::StopRequest* const stop_;
    const platform::WaitListener tell_;
    const std::shared_ptr<platform::postgres::IdleSession> idlePostgres_;
};

}  // namespace

std::optional<std::string> Variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (!value || !*value) return std::nullopt;
    return value;
}

std::filesystem::path ProgramFolder() { return platform::posix::ProgramFile().parent_path(); }

std::unique_ptr<platform::StopRequest> ListenForStop() { return platform::posix::ListenForStopSignals(); }

std::unique_ptr<System> CreateSystem(const Surroundings& surroundings, platform::watch::RowCounts& counts) {
    return std::make_unique<LinuxSystem>(surroundings, counts);
}

}  // namespace iqrx::hosting
