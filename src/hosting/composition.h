// Where the ports meet the machine: the adapters of this system, chosen and owned here.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "erp/erp.h"
#include "platform/database.h"
#include "platform/machine.h"
#include "platform/object.h"

namespace iqrx::hosting {

// One per process; everything that it hands out is borrowed from it.
class Composition {
public:
    // Reads the environment: where statements are traced, where the instance registry is. Raises RuntimeError
    // when what it names cannot be used.
    Composition();
    ~Composition();
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;

    platform::Machine Machine();
    platform::DatabaseProvider& Databases();
    erp::ErpProvider& Erps();
    platform::ObjectFactory& Objects();

    // Runs the script where the connection string names an embedded database, whose file is created when it
    // is missing; returns false for every other connection string. Raises RuntimeError.
    bool ApplyEmbeddedSchema(const std::string& connectionString, std::string_view script);

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace iqrx::hosting
