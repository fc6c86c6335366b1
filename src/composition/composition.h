// Where the ports meet the machine: the adapters of this system, chosen and owned here.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/process.h"
#include "platform/host.h"
#include "platform/watch/removed_rows.h"
#include "platform/watch/watched_database.h"

namespace iqrx::hosting {

// The environment: the value of a variable by its name, both UTF-8; none when it is empty.
using Variables = std::function<std::optional<std::string>(const std::string& name)>;
std::optional<std::string> Variable(const std::string& name);  // of this process

// What a program learns from how it was started. Its main reads it, once.
struct Surroundings {
    std::optional<std::filesystem::path> trace = {};  // where statements are traced
    std::optional<std::filesystem::path> instances =
        {};                   // where the instance registry of a machine without one writes
    bool isEmbedded = false;  // COM started the process: nobody sees a message box
    std::optional<platform::watch::RemovalLimits> limits = {};  // how much a copy may remove; none: anything
    // Who keeps what a sweep takes, if anybody, borrowed; its dates are written for this platform.
    platform::watch::RemovedRows* removedRows = nullptr;
    platform::Integer platform = runtime::kSqlServer;
    // Who hears each minute that a copy waits for the database; else it is told on standard error, as the service.
    std::function<void(const std::string& text)> onWait = {};
    const platform::StopRequest* stop = nullptr;  // borrowed
};
Surroundings SurroundingsOf(const Variables& variables);
// Of the service: it is guarded where QRX_MAX_REMOVED, or MaxRemoved in the section [Guard] of
// iQRXyQRXSync.ini beside the program, says so. Raises RuntimeError when that is no limit.
Surroundings SurroundingsOfService(const Variables& variables, const platform::StopRequest* stop);
std::filesystem::path ProgramFolder();

// The directory of a run parameter that names an extract; nothing for one that names anything else.
std::optional<std::filesystem::path> ExtractOf(std::string_view runParameter);

// From now on whoever asks the process to end is heard: signals, or what a console and a shutdown send. A
// second request ends it at once.
std::unique_ptr<platform::StopRequest> ListenForStop();

struct System;

// One per process, or per thread of it that copies; everything that it hands out is borrowed from it.
class Composition {
public:
    // Raises RuntimeError when what the surroundings name cannot be used.
    explicit Composition(const Surroundings& surroundings);
    ~Composition();
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;

    control::Ports Ports(std::ostream& diagnostics, control::RunWitness* witness = nullptr);
    platform::Machine Machine();
    platform::Host& Host();

    // For statements that are not a request's: neither traced nor watched.
    platform::DatabaseProvider& PlainDatabases();

    // Of the request under way or the last one.
    platform::watch::RowCounts& Counts() { return counts_; }
    const std::optional<platform::watch::RefusedRemoval>& Refused() const { return refused_; }

    // Runs the script where the connection string names an embedded database, whose file is created when it
    // is missing; returns false for every other connection string. Raises RuntimeError.
    bool ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script);

private:
    platform::DatabaseProvider& Databases();

    platform::watch::RowCounts counts_;
    std::unique_ptr<System> system_;
    platform::watch::RemovalLimits limits_;
    std::optional<platform::watch::RefusedRemoval> refused_;
    std::vector<std::unique_ptr<platform::DatabaseProvider>> databases_;  // each around the one before
};

}  // namespace iqrx::hosting
