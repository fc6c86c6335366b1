// "ADODB.Connection" and "ADODB.Recordset" as the ADO adapter calls them, around connections of the database
// port. A statement that is reported done outside of a transaction is kept.
#pragma once

#include <functional>
#include <memory>

#include "platform/database.h"
#include "platform/object.h"

namespace iqrx::testing {

class AdoObjects : public platform::ObjectFactory {
public:
    using Connect = std::function<std::unique_ptr<platform::Connection>()>;

    // `connect` makes the connection of each new ADODB.Connection. Its exclusive sections serve as
    // transactions, so that they must not be victims, which would have to be run again.
    explicit AdoObjects(Connect connect) : connect_(std::move(connect)) {}

    platform::ObjectRef CreateObject(std::string_view progId) override;

private:
    Connect connect_;
};

}  // namespace iqrx::testing
