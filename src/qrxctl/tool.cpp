#include "qrxctl/tool.h"

#include <algorithm>
#include <functional>
#include <iostream>

#include "hosting/version.h"
#include "platform/date.h"
#include "platform/error.h"
#include "qrxctl/arguments.h"
#include "qrxctl/copy_command.h"
#include "qrxctl/init_command.h"
#include "qrxctl/status_command.h"
#include "sample/sample.h"

namespace iqrx::qrxctl {

namespace {

using hosting::Composition;

constexpr int kUsageError = 64;

// A command does its work when it was chosen and returns the exit code.
using Command = std::function<int(const hosting::Surroundings&)>;

void AddCommonOptions(Arguments& app, Options& options) {
    app.add_option("--config", app.config,
                   std::string("INI file that may hold any option (Env:") + Arguments::kConfigVariable + ")")
        ->configurable(false);
    app.allow_config_extras(CLI::config_extras_mode::error);
    app.add_option("--connection", options.connection, "connection string of the local database");
    app.add_option("--database", options.database, "database or schema; empty: the login's own");
    app.add_option("--platform", options.platform, "dialect of the statements")
        ->check(CLI::IsMember({"sqlserver", "oracle"}))
        ->capture_default_str();
    app.add_option("--erp", options.erp, "run parameter: extract=DIRECTORY, or what the ERP's classes take");
    app.add_option("--group", options.group, "tree group whose tables form the catalog")->capture_default_str();
    app.add_option("--log-dir", options.logDirectory, "where logs go; empty: the current directory");
}

void RequireConnection(const Options& options) {
    if (options.connection.empty()) throw CLI::RequiredError("--connection");
}

void AddInit(CLI::App& app, const Options& options, Command& chosen) {
    app.add_subcommand("init", "Put schema and catalog of the local database in place")->callback([&] {
        RequireConnection(options);
        chosen = [&](const hosting::Surroundings& surroundings) {
            Composition parts(surroundings);
            Init(parts, options, parts.Ports(std::cerr).machine.programFolder / "schema");
            return 0;
        };
    });
}

std::string WhatIsWrongWithMoment(const std::string& text) {
    return platform::ParseIsoDate(text) ? "" : "\"" + text + "\" is not YYYY-MM-DD [HH:MM:SS]";
}

void AddCopy(CLI::App& app, const Options& options, CopyOptions& copy, Command& chosen) {
    CLI::App* command = app.add_subcommand("copy", "Copy tables, one request each");
    CLI::Option* tables = command->add_option("tables", copy.tables, "names of tables");
    CLI::Option* all = command->add_flag("--all", copy.all, "every table of the catalog")->excludes(tables);
    CLI::Option* full = command->add_flag("--full", copy.full, "copy everything the ERP holds");
    CLI::Option* incremental =
        command->add_flag("--incremental", copy.incremental, "apply the audit trail since the last update");
    incremental->excludes(full);
    command->add_option("--since", copy.since, "set the last update back to YYYY-MM-DD [HH:MM:SS] first")
        ->check(CLI::Validator(WhatIsWrongWithMoment, "MOMENT"))
        ->excludes(full);
    command->callback([=, &options, &copy, &chosen] {
        RequireConnection(options);
        if (!*tables && !*all) throw CLI::RequiredError("TABLE... or --all");
        if (!*full && !*incremental) throw CLI::RequiredError("--full or --incremental");
        chosen = [&](const hosting::Surroundings& surroundings) {
            Composition parts(surroundings);
            return Copy(parts.Ports(std::cerr), options, copy, std::cout);
        };
    });
}

void AddStatus(CLI::App& app, const Options& options, bool& json, Command& chosen) {
    CLI::App* command = app.add_subcommand("status", "Show last update, lock and rows of each table");
    command->add_flag("--json", json, "as JSON");
    command->callback([&] {
        RequireConnection(options);
        chosen = [&](const hosting::Surroundings& surroundings) {
            Composition parts(surroundings);
            Status(parts.Ports(std::cerr), options, json, std::cout);
            return 0;
        };
    });
}

void AddSample(CLI::App& app, std::string& directory, sample::SampleSize& size, Command& chosen) {
    CLI::App* command = app.add_subcommand("sample", "Write an ERP extract of realistic, repeatable data");
    CLI::Option* where = command->add_option("directory", directory, "where to write it; required");
    CLI::Option* orders = command->add_option("--orders", size.orders, "number of service orders; required")
                              ->check(CLI::NonNegativeNumber);
    command->add_option("--changes", size.changes, "changes to orders in the audit trail")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    command->add_option("--seed", size.seed, "the same seed gives the same data")->capture_default_str();
    command->callback([=, &directory, &size, &chosen] {
        if (!*where) throw CLI::RequiredError(where->get_name());
        if (!*orders) throw CLI::RequiredError(orders->get_name());
        chosen = [&](const hosting::Surroundings&) {
            sample::WriteSample(std::u8string(directory.begin(), directory.end()), size);
            return 0;
        };
    });
}

int Complain(const std::string& what, int code) {
    std::string line = what;
    for (char& c : line)
        if (c == '\r' || c == '\n') c = ' ';
    std::cerr << "qrxctl: " << line << std::endl;
    return code;
}

// A word that is not a command is looked for last by the library, which then misses a command first.
std::string WhatIsWrong(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty())
        return "there is no command or option " + unknown.front();
    return error.what();
}

int Run(std::vector<std::string> words, const hosting::Variables& variables) {
    Options options;
    CopyOptions copy;
    bool json = false;
    std::string directory;
    sample::SampleSize size;
    Command chosen;

    Arguments app(
        "Operates the data copy service: prepares the local database, copies tables, shows their state.",
        variables);
    app.require_subcommand(1);
    app.set_version_flag("--version", hosting::VersionLine("qrxctl"));
    app.fallthrough();
    AddCommonOptions(app, options);
    AddInit(app, options, chosen);
    AddCopy(app, options, copy, chosen);
    AddStatus(app, options, json, chosen);
    AddSample(app, directory, size, chosen);
    app.NameVariables();

    try {
        app.name(words.front());
        words.erase(words.begin());
        std::ranges::reverse(words);  // as the library takes them
        app.parse(std::move(words));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        return Complain(WhatIsWrong(app, error), kUsageError);
    }
    return chosen(hosting::SurroundingsOf(variables));
}

}  // namespace

int RunTool(const std::vector<std::string>& words, const hosting::Variables& variables) {
    try {
        return Run(words, variables);
    } catch (const UnknownTable& error) {
        return Complain(error.what(), kUsageError);
    } catch (...) {
        return Complain(platform::CurrentError().description, hosting::kFailed);
    }
}

}  // namespace iqrx::qrxctl
