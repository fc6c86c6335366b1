// libpq's own objects, freed with their owner.
#pragma once

#include <libpq-fe.h>

#include <memory>

namespace iqrx::platform::postgres {

struct FreeConnection {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};
struct FreeResult {
    void operator()(PGresult* result) const { PQclear(result); }
};
using Link = std::unique_ptr<PGconn, FreeConnection>;
using Answer = std::unique_ptr<PGresult, FreeResult>;

}  // namespace iqrx::platform::postgres
