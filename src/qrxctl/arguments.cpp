#include "qrxctl/arguments.h"

#include <filesystem>
#include <fstream>
#include <memory>

namespace iqrx::qrxctl {

namespace {

// Names an option's variable in the help.
class HelpText : public CLI::Formatter {
public:
    explicit HelpText(const std::map<const CLI::Option*, std::string>& variables) : variables_(variables) {}
    std::string make_option_opts(const CLI::Option* option) const override {
        const auto named = variables_.find(option);
        return CLI::Formatter::make_option_opts(option) +
               (named == variables_.end() ? "" : " (Env:" + named->second + ")");
    }

private:
    const std::map<const CLI::Option*, std::string>& variables_;
};

std::string VariableOf(std::string option) {
    for (char& c : option) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c == '-') c = '_';
    }
    return "QRXCTL_" + option;
}

}  // namespace

Arguments::Arguments(const std::string& description, const hosting::Variables& variables)
    : CLI::App(description), variables_(variables) {
    formatter(std::make_shared<HelpText>(names_));
}

void Arguments::NameVariables(CLI::App& app, const std::vector<std::string>& parents) {
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_lnames().empty() || option == app.get_help_ptr() || !option->get_configurable())
            continue;
        const std::string& name = option->get_lnames().front();
        names_[option] = VariableOf(name);
        fromVariables_.push_back({{parents, name, {}}, names_[option]});
    }
    for (CLI::App* command : app.get_subcommands({})) NameVariables(*command, {command->get_name()});
}

// An option that has a value already keeps it.
void Arguments::pre_callback() {
    ReadFile();
    ReadVariables();
    _process_callbacks();
    _process_requirements();
}

void Arguments::ReadFile() {
    if (config.empty()) config = variables_(kConfigVariable).value_or("");
    if (config.empty()) return;
    const std::filesystem::path file(std::u8string(config.begin(), config.end()));
    std::error_code unknown;
    std::ifstream stream(file);
    if (!stream || std::filesystem::is_directory(file, unknown)) throw CLI::FileError::Missing(config);
    _parse_config(get_config_formatter()->from_config(stream));
}

void Arguments::ReadVariables() {
    std::vector<CLI::ConfigItem> items;
    for (auto& [item, variable] : fromVariables_)
        if (auto value = variables_(variable)) {
            item.inputs = {*value};
            items.push_back(item);
        }
    _parse_config(items);
}

}  // namespace iqrx::qrxctl
