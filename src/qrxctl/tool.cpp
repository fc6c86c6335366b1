#include "qrxctl/tool.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "hosting/sub_main.h"
#include "platform/error.h"
#include "platform/printable.h"
#include "qrxctl/arguments.h"
#include "qrxctl/command.h"
#include "qrxctl/help.h"
#include "qrxctl/lines.h"

namespace iqrx::qrxctl {

namespace {

ExitCode Complain(const std::string& what, ExitCode code) {
    const std::string step = StepAfter(what);
    std::cerr << Complaint(platform::OneLine(what)) << (step.empty() ? "" : NextStep(step)) << std::flush;
    return code;
}

std::vector<std::string> KnownWords(const CLI::App& app, const std::string& like) {
    std::vector<std::string> known;
    if (!like.starts_with('-')) {
        for (const CommandEntry& command : Commands()) known.emplace_back(command.name);
        return known;
    }
    for (const CLI::App* each = &app; each;) {
        for (const CLI::Option* option : each->get_options())
            for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
        each = each->get_subcommands().empty() ? nullptr : each->get_subcommands().front();
    }
    return known;
}

// A word that is not a command is looked for last by the library, which then misses a command first.
std::string WhatIsWrong(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    if (unknown.empty()) return error.what();
    const std::string& word = unknown.front();
    const std::string nearest = Nearest(word, KnownWords(app, word));
    return "there is no command or option " + word + (nearest.empty() ? "" : "; did you mean " + nearest + "?");
}

void AddCommands(CLI::App& app, std::vector<std::unique_ptr<Command>>& commands, Command*& chosen) {
    for (const CommandEntry& entry : Commands()) {
        Command* command = commands.emplace_back(entry.make()).get();
        CLI::App* page = app.add_subcommand(entry.name, entry.summary);
        command->AddOptions(*page);
        page->footer("qrxctl --help tells what all commands take.");
        page->callback([&chosen, command] { chosen = command; });
    }
}

// `help COMMAND` is `COMMAND --help`, as `version` is `--version`.
void TakeWordsForOptions(std::vector<std::string>& words) {
    if (words.empty()) return;
    if (words.front() == "version" || words.front() == "-V") words = {"--version"};
    if (words.front() != "help") return;
    words.erase(words.begin());
    if (words.empty() || std::ranges::count(Commands(), words.front(), &CommandEntry::name) > 0)
        words.emplace_back("--help");
}

// Who reads what was printed must not take a part for the whole.
ExitCode AfterPrinting(ExitCode code) {
    if (std::cout.flush()) return code;
    return Worse(code, Complain("the results could not be written to standard output", kFailed));
}

ExitCode Run(std::vector<std::string> words, const hosting::Variables& variables) {
    Options options;
    Command* chosen = nullptr;
    std::vector<std::unique_ptr<Command>> commands;
    Arguments app(variables, options);
    app.set_version_flag("--version", hosting::VersionLine("qrxctl"));
    AddCommands(app, commands, chosen);
    app.NameVariables();
    words.erase(words.begin());  // the program's own name
    if (words.empty()) return std::cout << app.get_description() << '\n' << CommandOverview(), kUsedWrongly;
    TakeWordsForOptions(words);
    try {
        std::ranges::reverse(words);  // as the library takes them
        app.parse(std::move(words));
        chosen->Check(options);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error), kAllWell;
        return Complain(WhatIsWrong(app, error), kUsedWrongly);
    }
    hosting::Surroundings surroundings = hosting::SurroundingsOf(variables);
    surroundings.onWait = [](const std::string& text) { std::cerr << Complaint(text) << std::flush; };
    return chosen->Run({options, surroundings, std::cout, std::cerr});
}

}  // namespace

void RequireConnection(const Options& options) {
    if (options.connection.empty()) throw CLI::RequiredError("--connection");
}

int RunTool(const std::vector<std::string>& words, const hosting::Variables& variables) {
    try {
        return AfterPrinting(Run(words, variables));
    } catch (const UsageError& error) {
        return Complain(error.what(), kUsedWrongly);
    } catch (...) {
        return Complain(platform::CurrentError().description, kFailed);
    }
}

}  // namespace iqrx::qrxctl
