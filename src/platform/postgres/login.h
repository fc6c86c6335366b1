// How a connection comes to be.
#pragma once

#include "platform/postgres/handles.h"
#include "platform/postgres/settings.h"

namespace iqrx::platform::postgres {

// Raises what libpq or the server says of a login that fails, and that its time is over.
Link LogIn(const Settings& settings);

}  // namespace iqrx::platform::postgres
