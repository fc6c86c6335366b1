// The tool's own questions about a table's copy, which are no part of the request.
#pragma once

#include <string>

#include "control/control_tables.h"
#include "qrxctl/options.h"
#include "runtime/database_session.h"

namespace iqrx::qrxctl {

// Over one connection, which the first question opens and the end of the object closes. Between two questions
// a request may take hours: a connection that was lost meanwhile is opened once more. All is borrowed.
class Look {
public:
    Look(platform::Machine& machine, platform::DatabaseProvider& databases, const Options& options)
        : options_(options), clock_(machine.clock), session_(machine, databases) {}

    // These raise RuntimeError.
    platform::Date LastUpdate(const std::string& table);
    std::int64_t Count(const platform::Statement& question);

private:
    template <class Question>
    auto Ask(Question question);

    const Options& options_;
    platform::Clock& clock_;
    runtime::DatabaseSession session_;
    bool isOpen_ = false;
};

}  // namespace iqrx::qrxctl
