// The operator's tool.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace iqrx::qrxctl {

// The environment: the value of a variable by its name.
using Variables = std::function<std::optional<std::string>(const std::string& name)>;

// Runs the words of a command line, the program's name first. Words and values of variables are UTF-8.
// Returns the exit code; raises nothing.
int RunTool(const std::vector<std::string>& words, const Variables& variables);

}  // namespace iqrx::qrxctl
