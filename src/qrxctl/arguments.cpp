#include "qrxctl/arguments.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/text.h"
#include "qrxctl/help.h"

namespace iqrx::qrxctl {

namespace {

std::string VariableOf(std::string option) {
    for (char& c : option) {
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (c == '-') c = '_';
    }
    return "QRXCTL_" + option;
}

bool IsSet(const CLI::Option* option) { return option->count() > 0; }

// The lines in which an INI file has the item: the section and the key tell, as the library tells them.
std::vector<int> LinesOf(const std::string& text, const CLI::ConfigItem& item) {
    std::vector<int> found;
    const std::string section = item.parents.empty() ? "" : item.parents.front();
    std::istringstream lines(text);
    std::string current, line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string bare = CLI::detail::trim_copy(line);
        if (bare.starts_with('[')) current = CLI::detail::trim_copy(bare.substr(1, bare.find(']') - 1));
        const std::string key = CLI::detail::trim_copy(bare.substr(0, bare.find('=')));
        if (current == section && key == item.name) found.push_back(number);
    }
    return found;
}

// Raises CLI::ParseError.
std::string ReadText(const std::string& name) {
    const std::filesystem::path file = platform::Path(name);
    std::error_code failure, unknown;
    std::ifstream stream(file);
    if (!stream) failure = {errno != 0 ? errno : EIO, std::generic_category()};
    if (std::filesystem::is_directory(file, unknown))
        failure = std::make_error_code(std::errc::is_a_directory);
    if (failure) throw CLI::FileError(name + " cannot be read: " + failure.message());
    std::stringstream text;
    text << stream.rdbuf();
    const std::string all = text.str();
    return all.starts_with(platform::kByteOrderMark) ? all.substr(platform::kByteOrderMark.size()) : all;
}

}  // namespace

Arguments::Arguments(const hosting::Variables& variables, Options& options)
    : CLI::App("Copies service data from the ERP into the local database, and watches over it."),
      variables_(variables),
      options_(options) {
    formatter(std::make_shared<HelpText>(names_));
    allow_config_extras(CLI::config_extras_mode::error);
    require_subcommand(1);
    fallthrough();
    AddCommonOptions();
}

void Arguments::AddCommonOptions() {
    add_option("--config", config_,
               std::string("INI file that may hold any option (Env:") + kConfigVariable + ")")
        ->configurable(false);
    add_option("--connection", options_.connection, "connection string of the local database");
    add_option("--database", options_.database, "database or schema; empty: the login's own");
    add_option("--platform", options_.platform, "dialect of the statements")
        ->check(CLI::IsMember({"sqlserver", "oracle"}))
        ->capture_default_str();
    add_option("--erp", options_.erp, "run parameter: extract=DIRECTORY, or what the ERP's classes take");
    add_option("--group", options_.group, "tree group whose tables form the catalog")->capture_default_str();
    add_option("--log-dir", options_.logDirectory, "where logs go; empty: the current directory");
    add_option("--state-dir", options_.stateDirectory,
               "where the tool keeps its books; empty: FILE.state beside an embedded database, else .qrx in "
               "the log directory");
    add_flag("--json", options_.json, "results as JSON");
    add_flag("-q,--quiet", options_.quiet, "no word unless something is wrong");
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

void Arguments::pre_callback() {
    ReadFile();
    ReadVariables();
    _process_callbacks();
    _process_requirements();
}

CLI::Option* Arguments::OptionOf(const CLI::ConfigItem& item) {
    if (item.parents.empty()) return get_option_no_throw("--" + item.name);
    for (CLI::App* command : get_subcommands({}))
        if (command->get_name() == item.parents.front())
            return command->get_option_no_throw("--" + item.name);
    return nullptr;
}

// An option that has a value keeps it, and so does one that an item of this source would exclude.
void Arguments::Take(const std::vector<CLI::ConfigItem>& items,
                     const std::function<std::string(const CLI::ConfigItem&)>& place) {
    std::vector<const CLI::ConfigItem*> wanted;
    for (const CLI::ConfigItem& item : items) {
        const CLI::Option* option = OptionOf(item);
        if (!option || !std::ranges::any_of(option->get_excludes(), IsSet)) wanted.push_back(&item);
    }
    for (const CLI::ConfigItem* item : wanted) try {
            const CLI::Option* option = OptionOf(*item);
            if (option && option->get_items_expected_max() == 1 && item->inputs.size() > 1)
                throw CLI::ConversionError("put the value of " + item->name + " in double quotes");
            if (!_parse_single_config(*item))
                throw CLI::ConfigError("there is no option " + item->fullname());
            if (option) OptionOf(*item)->run_callback();  // while it is known where the value stands
        } catch (const CLI::ParseError& error) {
            throw CLI::ConfigError(place(*item) + ": " + error.what());
        }
}

void Arguments::ReadFile() {
    if (config_.empty()) config_ = variables_(kConfigVariable).value_or("");
    options_.configFile = config_;
    if (config_.empty()) return;
    const std::string text = ReadText(config_);
    std::istringstream stream(text);
    std::vector<CLI::ConfigItem> items = get_config_formatter()->from_config(stream);
    for (const CLI::ConfigItem& item : items)
        if (const auto lines = LinesOf(text, item); lines.size() > 1)
            throw CLI::ConfigError(config_ + " line " + std::to_string(lines[1]) + ": " + item.name +
                                   " stands in line " + std::to_string(lines[0]) + " already");
    const CLI::Option* limit = OptionOf({{"copy"}, "max-removed", {}});
    const bool isLimitGiven = limit && IsSet(limit);
    std::erase_if(items, [&](const CLI::ConfigItem& item) {
        if (item.name == "++" || item.name == "--") return true;  // the library's marks of a section's ends
        if (item.parents != std::vector<std::string>{"guard"}) return false;
        // The command line's limit is meant for every table.
        if (!isLimitGiven) options_.guard[item.name] = item.inputs.empty() ? "" : item.inputs.front();
        return true;
    });
    Take(items, [&](const CLI::ConfigItem& item) {
        const std::vector<int> lines = LinesOf(text, item);
        return lines.empty() ? config_ : config_ + " line " + std::to_string(lines.front());
    });
}

void Arguments::ReadVariables() {
    std::vector<CLI::ConfigItem> items;
    for (auto& [item, variable] : fromVariables_)
        if (auto value = variables_(variable)) {
            item.inputs = {*value};
            items.push_back(item);
        }
    Take(items, [&](const CLI::ConfigItem& item) { return names_.at(OptionOf(item)); });
}

}  // namespace iqrx::qrxctl
