#include "qrxctl/help.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "platform/text.h"
#include "qrxctl/command.h"
#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

// "DIRECTORY", which has to be given, or "[TABLE...]", of which there may be none.
std::string Usage(const CLI::Option& positional) {
    std::string name = platform::Upper(positional.get_name(true));
    if (positional.get_items_expected_max() == 1) return name;
    if (name.ends_with('S')) name.pop_back();
    return "[" + name + "...]";
}

// How many letters have to be put in, taken out or changed.
std::size_t Distance(std::string_view one, std::string_view other) {
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 1; i <= one.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t j = 1; j <= other.size(); ++j) {
            const std::size_t changed = diagonal + (one[i - 1] == other[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
        }
    }
    return row.back();
}

}  // namespace

HelpText::HelpText(const std::map<const CLI::Option*, std::string>& variables) : variables_(variables) {}

std::string HelpText::make_usage(const CLI::App* app, std::string) const {
    std::string usage = "Usage: qrxctl " + (app->get_parent() ? app->get_name() : "COMMAND") + " [OPTIONS]";
    for (const CLI::Option* option : app->get_options())
        if (option->get_positional()) usage += " " + Usage(*option);
    return usage + '\n';
}

std::string HelpText::make_option(const CLI::Option* option, bool isPositional) const {
    constexpr std::size_t kIndent = 24;
    std::string name = "  " + option->get_name(isPositional, !isPositional);
    if (option->get_type_size() != 0 && !isPositional) name += " " + option->get_type_name();
    std::string text = option->get_description();
    if (!option->get_default_str().empty()) text += " (default " + option->get_default_str() + ")";
    if (const auto named = variables_.find(option); named != variables_.end())
        text += " (Env:" + named->second + ")";
    name += name.size() < kIndent - 1 ? std::string(kIndent - name.size(), ' ')
                                      : "\n" + std::string(kIndent, ' ');
    return name + Wrapped(text, kIndent) + '\n';
}

std::string HelpText::make_subcommands(const CLI::App*, CLI::AppFormatMode) const {
    return CommandOverview();
}

std::string CommandOverview() {
    std::string text = "\n";
    std::string_view group;
    for (const CommandEntry& command : Commands()) {
        text += fmt::format("{:<10}{:<10}{}\n", group == command.group ? "" : command.group, command.name,
                            command.summary);
        group = command.group;
    }
    return text + "qrxctl COMMAND --help tells more.\n";
}

std::string Nearest(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kNear = 2;
    std::string nearest;
    std::size_t best = kNear + 1;
    for (const std::string& candidate : known) {
        const std::size_t distance = candidate.starts_with(word) ? 1 : Distance(word, candidate);
        if (distance >= best) continue;
        best = distance;
        nearest = candidate;
    }
    return nearest;
}

}  // namespace iqrx::qrxctl
