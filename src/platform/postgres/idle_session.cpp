#include "platform/postgres/idle_session.h"

#include <utility>

namespace iqrx::platform::postgres {

void IdleSession::Keep(const Settings& settings, std::unique_ptr<Session> session) {
    settings_ = settings;
    session_ = std::move(session);
    since_ = std::chrono::steady_clock::now();
}

std::unique_ptr<Session> IdleSession::Take(const Settings& settings) {
    constexpr std::chrono::seconds kMost{2};
    std::unique_ptr<Session> kept = std::move(session_);
    const bool isAlive = kept && kept->IsQuiet() && std::chrono::steady_clock::now() - since_ < kMost;
    if (!isAlive || settings_.keywords != settings.keywords) kept.reset();
    return kept;
}

}  // namespace iqrx::platform::postgres
