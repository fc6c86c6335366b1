// The database port on top of "ADODB.Connection" and "ADODB.Recordset", late-bound. Connection strings are
// handed over as they stand.
#pragma once

#include "platform/database.h"
#include "platform/object.h"

namespace iqrx::platform::ado {

class AdoProvider : public DatabaseProvider {
public:
    explicit AdoProvider(ObjectFactory& factory) : factory_(factory) {}
    std::unique_ptr<Connection> CreateConnection(std::string_view connectionString) override;

private:
    ObjectFactory& factory_;
};

}  // namespace iqrx::platform::ado
