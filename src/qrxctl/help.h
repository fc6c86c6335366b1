// How the tool explains itself: an overview in groups, a page per command, 80 columns at most.
#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

namespace iqrx::qrxctl {

class HelpText : public CLI::Formatter {
public:
    // The variable that stands for an option, named in the help; borrowed.
    explicit HelpText(const std::map<const CLI::Option*, std::string>& variables);

    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override;

private:
    const std::map<const CLI::Option*, std::string>& variables_;
};

// The commands in their groups, for who types the tool's name and nothing else.
std::string CommandOverview();

// The word of `known` that is nearest to a mistyped one; empty when none is near.
std::string Nearest(const std::string& word, const std::vector<std::string>& known);

}  // namespace iqrx::qrxctl
