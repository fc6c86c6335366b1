// Where the tool's options come from: the command line, then an INI file, then variables. What comes first
// wins, also over an option that excludes its own.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "composition/composition.h"
#include "qrxctl/options.h"

namespace iqrx::qrxctl {

// The library's parser. What the command line leaves open is read here, since the library reads file and variables by
// narrow names, which are not UTF-8 on Windows. An option that must be given is therefore checked by its command.
class Arguments : public CLI::App {
public:
    static constexpr const char* kConfigVariable = "QRXCTL_CONFIG";

    // Borrows both; the options are filled when a command line is parsed.
    Arguments(const hosting::Variables& variables, Options& options);

    // Gives every option its variable: QRXCTL_LOG_DIR to --log-dir. To be called after the last option was added.
    void NameVariables() { NameVariables(*this, {}); }

protected:
    // The library calls it between the command line and the commands. Raises CLI::ParseError.
    void pre_callback() override;

private:
    void AddCommonOptions();
    void NameVariables(CLI::App& app, const std::vector<std::string>& parents);
    void ReadFile();
    void ReadVariables();
    void Take(const std::vector<CLI::ConfigItem>& items,
              const std::function<std::string(const CLI::ConfigItem&)>& place);
    CLI::Option* OptionOf(const CLI::ConfigItem& item);

    const hosting::Variables& variables_;
    Options& options_;
    std::string config_;  // the INI file's name
    std::map<const CLI::Option*, std::string> names_;
    std::vector<std::pair<CLI::ConfigItem, std::string>> fromVariables_;
};

}  // namespace iqrx::qrxctl
