// What every command of the tool looks like to the tool.
#pragma once

#include <iosfwd>
#include <memory>
#include <span>
#include <stdexcept>

#include "composition/composition.h"
#include "qrxctl/exit_code.h"
#include "qrxctl/options.h"

namespace CLI {
class App;
}

namespace iqrx::qrxctl {

// Where a command works; options and streams are borrowed.
struct Workplace {
    const Options& options;
    hosting::Surroundings surroundings;
    std::ostream& out;   // results
    std::ostream& talk;  // what goes on meanwhile and what is wrong
};

class Command {
public:
    virtual ~Command() = default;

    virtual void AddOptions(CLI::App& command) = 0;

    // Raises CLI::ParseError for what is missing or contradictory once command line, INI file and variables
    // were read. An option that must be given is checked here, since only then is it known whether it was.
    virtual void Check(const Options&) const {}

    // Raises RuntimeError, and UsageError for names that only the database can tell to be wrong.
    virtual ExitCode Run(const Workplace& place) = 0;
};

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Each makes a command, and stands in the command's file.
using MakeCommand = std::unique_ptr<Command>();
MakeCommand MakeInit, MakeCheck, MakeCopy, MakeUndo, MakeStatus, MakeHistory, MakeUnlock, MakeSample;

// A command as the overview lists it.
struct CommandEntry {
    const char* group;
    const char* name;
    const char* summary;
    MakeCommand* make;
};
std::span<const CommandEntry> Commands();  // in the overview's order

void RequireConnection(const Options& options);

}  // namespace iqrx::qrxctl
