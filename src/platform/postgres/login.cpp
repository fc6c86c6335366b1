#include "platform/postgres/login.h"

#include <poll.h>

#include <cerrno>
#include <chrono>

#include "platform/postgres/errors.h"

namespace iqrx::platform::postgres {

namespace {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;
constexpr Deadline kNever = Deadline::max();

// False: the time is over.
bool WaitFor(int socket, short events, Deadline deadline) {
    for (;;) {
        int milliseconds = -1;
        if (deadline != kNever) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0) return false;
            milliseconds = static_cast<int>(left.count());
        }
        pollfd ready{socket, events, 0};
        if (const int found = poll(&ready, 1, milliseconds); found > 0 || (found < 0 && errno != EINTR))
            return true;
    }
}

Link Begin(const Settings& settings) {
    std::vector<const char*> keywords, values;
    for (const auto& [keyword, value] : settings.keywords) {
        keywords.push_back(keyword.c_str());
        values.push_back(value.c_str());
    }
    keywords.push_back(nullptr);
    values.push_back(nullptr);
    return Link(PQconnectStartParams(keywords.data(), values.data(), 0));
}

}  // namespace

Link LogIn(const Settings& settings) {
    const Deadline deadline =
        settings.timeout > 0 ? Clock::now() + std::chrono::seconds(settings.timeout) : kNever;
    Link link = Begin(settings);
    if (!link) throw std::bad_alloc();
    if (PQstatus(link.get()) == CONNECTION_BAD) RaiseLogin(link.get());
    PQsetErrorVerbosity(link.get(), PQERRORS_VERBOSE);
    PQsetNoticeReceiver(
        link.get(), [](void*, const PGresult*) {}, nullptr);
    for (auto next = PGRES_POLLING_WRITING; next != PGRES_POLLING_OK; next = PQconnectPoll(link.get())) {
        if (next == PGRES_POLLING_FAILED) RaiseLogin(link.get());
        if (!WaitFor(PQsocket(link.get()), next == PGRES_POLLING_READING ? POLLIN : POLLOUT, deadline))
            Raise("08001", "The server did not answer within " + std::to_string(settings.timeout) + " s");
    }
    PQsetErrorVerbosity(link.get(), PQERRORS_DEFAULT);
    return link;
}

}  // namespace iqrx::platform::postgres
