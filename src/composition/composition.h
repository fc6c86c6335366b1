// Where the ports meet the machine: the adapters of this system, chosen and owned here.
#pragma once

#include <vector>

#include "composition/system.h"

namespace iqrx::hosting {

Surroundings SurroundingsOf(const Variables& variables);
// Of the service: it is guarded where QRX_MAX_REMOVED, or MaxRemoved in the section [Guard] of
// iQRXyQRXSync.ini beside the program, says so. Raises RuntimeError when that is no limit.
Surroundings SurroundingsOfService(const Variables& variables, const platform::StopRequest* stop);

// The directory of a run parameter that names an extract; nothing for one that names anything else.
std::optional<std::filesystem::path> ExtractOf(std::string_view runParameter);

// One per process, or per thread of it that copies; everything that it hands out is borrowed from it.
class Composition {
public:
    // Raises RuntimeError when what the surroundings name cannot be used.
    explicit Composition(const Surroundings& surroundings);
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;

    control::Ports Ports(std::ostream& diagnostics, control::RunWitness* witness = nullptr);
    platform::Machine Machine() { return *system_->machine; }
    platform::Host& Host() { return *system_->host; }

    // For statements that are not a request's: neither traced nor watched.
    platform::DatabaseProvider& PlainDatabases() { return *system_; }

    // Of the request under way or the last one.
    platform::watch::RowCounts& Counts() { return counts_; }
    const std::optional<platform::watch::RefusedRemoval>& Refused() const { return refused_; }

    // Runs the script where the connection string names an embedded database, whose file is created when it
    // is missing; returns false for every other connection string. Raises RuntimeError.
    bool ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script) {
        return system_->ApplyEmbeddedSchema(connectionString, script);
    }

private:
    platform::DatabaseProvider& Databases();

    platform::watch::RowCounts counts_;
    std::unique_ptr<System> system_;
    platform::watch::RemovalLimits limits_;
    std::optional<platform::watch::RefusedRemoval> refused_;
    std::vector<std::unique_ptr<platform::DatabaseProvider>> databases_;  // each around the one before
};

// Writes down the service's runs: a run sheet while one copies, a line of history when it has ended. All is
// borrowed. What cannot be written is told there, in one line a run, and the copy goes on.
std::unique_ptr<control::RunWitness> RecordRuns(Composition& parts, std::ostream& diagnostics,
                                                const platform::StopRequest& stop);

}  // namespace iqrx::hosting
