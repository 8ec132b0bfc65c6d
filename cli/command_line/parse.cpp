// The one file that knows the library for command lines, which takes long to compile.

#include "cli/command_line/parse.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/output/complain.h"

namespace kvx_cli {

namespace {

struct Given {
    std::vector<std::string> movies;
    std::map<OptionId, std::string> values;
};

void AddOption(CLI::App& app, const OptionInfo& option, Given& given) {
    std::string names = option.name;
    if (option.letter != nullptr) {
        names = std::string(option.letter) + "," + names;
    }
    const OptionId id = option.id;
    if (option.kind == ValueKind::kFlag) {
        app.add_flag_callback(
            names, [id, &given] { given.values[id] = {}; }, option.help);
        return;
    }
    std::string argument = option.argument;
    if (option.initial != nullptr) {
        argument += std::string("=") + option.initial;
    }
    app.add_option_function<std::string>(
           names, [id, &given](const std::string& value) { given.values[id] = value; }, option.help)
        ->type_name(argument)
        ->required(option.required);
}

void AddOptions(CLI::App& app, CommandSet commands, Given& given) {
    for (const OptionInfo& option : OptionTable()) {
        if ((option.commands & commands) == commands) {
            AddOption(app, option, given);
        }
    }
}

CLI::App* AddCommand(CLI::App& app, const CommandInfo& command, Given& given) {
    CLI::App* const added = app.add_subcommand(command.name, command.help);
    added
        ->add_option("movie", given.movies,
                     command.takesMovies ? "QuickTime movies" : "A QuickTime movie")
        ->type_name(command.takesMovies ? "MOVIE..." : "MOVIE")
        ->required();
    AddOptions(*added, In(command.id), given);
    return added;
}

}  // namespace

std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv, int& exitCode) {
    Given given;
    CLI::App app(
        "Opens QuickTime movies through the KVX Importer module, as an editing host does.");
    app.name("kvx");
    AddOptions(app, kInAllCommands, given);
    std::vector<CLI::App*> added;
    for (const CommandInfo& command : CommandTable()) {
        added.push_back(AddCommand(app, command, given));
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? kExitDone : kExitUsage;
        return std::nullopt;
    }
    for (size_t index = 0; index < added.size(); ++index) {
        if (added[index]->parsed()) {
            const CommandInfo& command = CommandTable()[index];
            Arguments arguments(command.id, std::move(given.movies), std::move(given.values));
            const std::string problem = arguments.Problem();
            if (!problem.empty()) {
                exitCode = Complain(kExitUsage, problem);
                return std::nullopt;
            }
            return Invocation{&command, std::move(arguments)};
        }
    }
    std::cerr << app.help();
    exitCode = kExitUsage;
    return std::nullopt;
}

}  // namespace kvx_cli
