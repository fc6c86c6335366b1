// What lives as long as the process: its ports, its settings and the services built on them. One object,
// handed down, so that a test can own two of them at once.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>

#include "control/control_tables.h"
#include "control/table_catalog.h"
#include "erp/erp.h"
#include "runtime/event_log.h"
#include "runtime/message_catalog.h"
#include "runtime/run_log.h"

namespace iqrx::control {

// What the process is for its caller.
struct Settings {
    bool standalone = false;  // no instance object, no relays to it
    platform::Integer currentInstanceNumber = 0;
    std::string treeGroup;
    bool allTables = false;  // while a request for all tables is handled
};

struct CopyRequest;
enum class Outcome;

// Who is told of the requests of a process, besides their caller. Members raise nothing: a copy does not
// suffer from being written down.
class RunWitness {
public:
    virtual ~RunWitness() = default;
    // `table` is the local table's name; empty for a request that names none. Every begin is followed by an end.
    virtual void RunBegins(const CopyRequest& request, const std::string& table) = 0;
    // Nobody has the table's lock, and it is about to be this process's own.
    virtual void TableTaken() {}
    // `cause` is the error that the run met first; empty while there was none.
    virtual void RunEnded(Outcome outcome, const std::string& cause) = 0;
};

// What the copy is made with. All is borrowed.
struct Ports {
    platform::Machine machine;
    std::reference_wrapper<platform::DatabaseProvider> databases;  // one that wraps another may take its place
    erp::ErpProvider& erps;
    platform::ObjectFactory& objects;
    std::ostream& diagnostics;      // standard error: what cannot be logged
    RunWitness* witness = nullptr;  // of each request; none: nobody
};

struct Process : Ports {
    explicit Process(const Ports& ports) : Ports(ports) {}

    Settings settings;
    runtime::MessageCatalog messages{machine.makeXmlDocument, machine.programFolder};
    runtime::EventLog eventLog{machine};
    runtime::RunLog runLog{machine, messages, diagnostics};
    runtime::DatabaseSession database{machine, databases};
    TableCatalog catalog;
    ControlTables controlTables{machine.clock, database};

    // An ERP business component that managers are registered with. Nothing assigns it; the hook is kept for a
    // site's own component.
    platform::ObjectRef sharedBusComponent;
};

}  // namespace iqrx::control
