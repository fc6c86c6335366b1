// A command-line start.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "control/cls_data_copy.h"

namespace iqrx::hosting {

// What a program says to --version: its name and the version, which the build says in one place.
std::string VersionLine(std::string_view program);

// What the service says to `--version` or `--help`; nothing for any other command line, its program's name included.
std::optional<std::string> AnswerAboutItself(std::span<const std::string> words);

// The request of a start: the words after the program's name, joined by one blank each.
std::string RequestText(std::span<const std::string> words);

enum ExitCode : int { kCompleted = 0, kFailed = 1, kTableInUse = 2 };

// A run may go on after an error, its cause, and report that it is complete; who looks at the exit code only
// must not be told that all is well.
ExitCode ExitCodeOf(const std::string& cause, control::Outcome outcome);

// Runs the request of a command line. Raises nothing: a failure goes to the request error log of the log
// directory and, in one line, to the process's diagnostics.
ExitCode SubMain(control::Process& process, const std::string& commandLine);

// Loads the catalog of the settings' tree group from the request's database; the description of an error is
// in the catalog's words.
void LoadCatalog(control::Process& process, const control::CopyRequest& request);

}  // namespace iqrx::hosting
