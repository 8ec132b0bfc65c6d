// The subcommands, each in a file of its own.
#pragma once

#include <functional>
#include <string>

namespace CLI {
class App;
}

namespace kvx_cli {

// How every subcommand ends.
enum ExitCode : int {
    kExitDone = 0,
    kExitRefused = 1,  // a movie is not importable, or could not be carried through
    kExitUsage = 2,    // the command line, or the installation, is not right
};

// What holds for all subcommands.
struct CommonOptions {
    std::string modulePath;  // empty: the one that belongs to the program
};

// The work of the subcommand that was chosen; answers an ExitCode.
using Command = std::function<int()>;

// Each adds its subcommand, which sets `chosen` when it is called for. `common` is read then.
void AddInfoCommand(CLI::App& app, const CommonOptions& common, Command& chosen);
void AddTimecodeCommand(CLI::App& app, const CommonOptions& common, Command& chosen);
void AddAudioCommand(CLI::App& app, const CommonOptions& common, Command& chosen);
void AddFramesCommand(CLI::App& app, const CommonOptions& common, Command& chosen);
void AddSheetCommand(CLI::App& app, const CommonOptions& common, Command& chosen);

}  // namespace kvx_cli
