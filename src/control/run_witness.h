// Who is told of the requests of a process, besides their caller.
#pragma once

#include <string>

namespace iqrx::control {

struct CopyRequest;
enum class Outcome;

// Members raise nothing: a copy does not suffer from being written down.
class RunWitness {
public:
    virtual ~RunWitness() = default;
    // `table` is the local table's name; empty for a request that names none. Every begin is followed by an end.
    virtual void RunBegins(const CopyRequest& request, const std::string& table) = 0;
    // `cause` is the error that the run met first; empty while there was none.
    virtual void RunEnded(Outcome outcome, const std::string& cause) = 0;
};

}  // namespace iqrx::control
