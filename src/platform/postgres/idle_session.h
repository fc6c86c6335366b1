// A session whose connection was closed, for the next connection to the same server: a login costs several
// waits. For one thread.
#pragma once

#include <chrono>
#include <memory>

#include "platform/postgres/session.h"

namespace iqrx::platform::postgres {

class IdleSession {
public:
    // Lets go of the one that was kept before.
    void Keep(const Settings& settings, std::unique_ptr<Session> session);

    // Null where there is none of these settings, or where it may be too old to be alive.
    std::unique_ptr<Session> Take(const Settings& settings);

private:
    Settings settings_;
    std::unique_ptr<Session> session_;
    std::chrono::steady_clock::time_point since_;
};

}  // namespace iqrx::platform::postgres
