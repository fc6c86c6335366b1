// What differs from system to system: machine, databases, objects, and every ERP that is not an extract.
#pragma once

#include "composition/composition.h"

namespace iqrx::hosting {

class System : public platform::DatabaseProvider, public erp::ErpProvider {
public:
    virtual platform::Machine Machine() = 0;
    virtual platform::Host& Host() = 0;
    virtual platform::ObjectFactory& Objects() = 0;
    virtual bool ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script) = 0;
};

// The counts are borrowed: a wait for the database is told there.
std::unique_ptr<System> CreateSystem(const Surroundings& surroundings, platform::watch::RowCounts& counts);

}  // namespace iqrx::hosting
