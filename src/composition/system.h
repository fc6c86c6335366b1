// What differs from system to system: machine, databases, objects, and every ERP that is not an extract.
#pragma once

#include "composition/composition.h"

namespace iqrx::hosting {

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
