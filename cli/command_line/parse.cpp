// The one file that knows the library for command lines, which takes long to compile.

#include "cli/command_line/parse.h"

#include <CLI/CLI.hpp>
#include <algorithm>
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
        ->type_name(argument);
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
    added->add_option("movie", given.movies, Program().movies)->type_name("MOVIE...");
    AddOptions(*added, In(command.id), given);
    return added;
}

bool TakesNextWord(const std::string& word) {
    const std::vector<OptionInfo>& options = OptionTable();
    return std::any_of(options.begin(), options.end(), [&word](const OptionInfo& option) {
        return word == option.name && option.kind != ValueKind::kFlag;
    });
}

// The position of the command, after the options that may precede it; the number of words if there
// is none.
size_t PlaceOfCommand(const std::vector<std::string>& words) {
    size_t place = 0;
    while (place < words.size() && words[place].rfind("--", 0) == 0) {
        place += TakesNextWord(words[place]) ? 2 : 1;
    }
    return std::min(place, words.size());
}

// The library's message of several lines, in one line.
int ComplainOfUsage(std::string words) {
    words.erase(words.find_last_not_of('\n') + 1);
    std::replace(words.begin(), words.end(), '\n', ' ');
    return Complain(kExitUsage, words + " (see `kvx --help`)");
}

bool IsCommand(const std::string& name) {
    const std::vector<CommandInfo>& commands = CommandTable();
    return std::any_of(commands.begin(), commands.end(),
                       [&name](const CommandInfo& each) { return each.name == name; });
}

// What the library could not place. It counts the mark before names that look like options, too.
std::vector<std::string> Unplaced(const CLI::App& app) {
    std::vector<std::string> words = app.remaining(true);
    words.erase(std::remove(words.begin(), words.end(), "--"), words.end());
    return words;
}

// What is wrong with the words as such; nothing if they are in order.
std::string WordsProblem(const CLI::App& app) {
    const std::vector<std::string> unplaced = Unplaced(app);
    if (unplaced.empty()) {
        return {};
    }
    const auto isName = [](const std::string& word) { return word.empty() || word[0] != '-'; };
    const auto name = std::find_if(unplaced.begin(), unplaced.end(), isName);
    if (app.get_subcommands().empty() && name != unplaced.end()) {
        return "there is no command '" + *name + "'";
    }
    return "there is no option '" + unplaced.front() + "' here";
}

}  // namespace

std::optional<Invocation> ParseCommandLine(int argc, const char* const* argv, int& exitCode) {
    Given given;
    const ProgramInfo& program = Program();
    CLI::App app(program.summary);
    app.name("kvx");
    app.footer(program.exitStatuses);
    app.set_help_flag(std::string(program.help.letter) + "," + program.help.name,
                      program.help.help);
    app.allow_extras();
    app.add_flag(program.version.name, program.version.help);
    AddOptions(app, kInAllCommands, given);
    std::vector<CLI::App*> added;
    for (const CommandInfo& command : CommandTable()) {
        added.push_back(AddCommand(app, command, given));
    }
    std::vector<std::string> words(argv + 1, argv + argc);
    const size_t place = PlaceOfCommand(words);
    if (place < words.size() && words[place] == "help") {
        // "kvx help COMMAND" and "kvx help" are other names of the options.
        words.erase(words.begin() + static_cast<std::ptrdiff_t>(place));
        const size_t named = PlaceOfCommand(words);
        if (named < words.size() && !IsCommand(words[named])) {
            exitCode = ComplainOfUsage("there is no command '" + words[named] + "'");
            return std::nullopt;
        }
        words.emplace_back("--help");
    }
    try {
        // The library takes them from the end.
        std::reverse(words.begin(), words.end());
        app.parse(words);
    } catch (const CLI::Success& success) {
        exitCode = app.exit(success);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        exitCode = ComplainOfUsage(error.what());
        return std::nullopt;
    }
    if (app.count(program.version.name) != 0) {
        std::printf("kvx " KVX_VERSION "\n");
        exitCode = kExitDone;
        return std::nullopt;
    }
    if (const std::string problem = WordsProblem(app); !problem.empty()) {
        exitCode = ComplainOfUsage(problem);
        return std::nullopt;
    }
    for (size_t index = 0; index < added.size(); ++index) {
        if (added[index]->parsed()) {
            const CommandInfo& command = CommandTable()[index];
            Arguments arguments(command.id, std::move(given.movies), std::move(given.values));
            const std::string problem = arguments.Problem();
            if (!problem.empty()) {
                exitCode = ComplainOfUsage(problem);
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
