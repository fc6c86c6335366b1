// What differs from system to system: machine, databases, objects, and every ERP that is not an extract.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

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
    bool reusesSessions = false;  // a database is opened again as soon as it was closed: spare the login
};

std::filesystem::path ProgramFolder();

// From now on whoever asks the process to end is heard: signals, or what a console and a shutdown send. A
// second request ends it at once.
std::unique_ptr<platform::StopRequest> ListenForStop();

struct System : public platform::DatabaseProvider, public erp::ErpProvider {
    System(std::shared_ptr<const platform::Machine> machine, std::unique_ptr<platform::Host> host,
           std::unique_ptr<platform::ObjectFactory> objects)
        : machine(std::move(machine)), host(std::move(host)), objects(std::move(objects)) {}

    const std::shared_ptr<const platform::Machine> machine;
    const std::unique_ptr<platform::Host> host;
    const std::unique_ptr<platform::ObjectFactory> objects;

    std::unique_ptr<erp::Erp> Open(const std::string& runParameter, const erp::Notice& notice) final;
    virtual std::unique_ptr<erp::Erp> OpenOther(const std::string& runParameter) = 0;
    virtual bool ApplyEmbeddedSchema(const std::string&, std::string_view) { return false; }
};

// The counts are borrowed: a wait for the database is told there.
std::unique_ptr<System> CreateSystem(const Surroundings& surroundings, platform::watch::RowCounts& counts);

}  // namespace iqrx::hosting
