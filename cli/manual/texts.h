// Texts for people who use the command, made from the tables of the command line: manual pages and
// what shells complete by. They are written while kvx is built; it needs none of them to run.
#pragma once

#include <string>
#include <vector>

#include "cli/command_line/options.h"

namespace kvx_cli {

// The options that a command's help lists, help itself included; those of the program itself, said
// before a command, where there is none.
std::vector<OptionInfo> OptionsOf(const CommandInfo* command);

// Pages in the form of man. That of the program is kvx(1), that of a command kvx-COMMAND(1).
std::string ProgramPage(const std::string& version);
std::string CommandPage(const CommandInfo& command, const std::string& version);

// Scripts that a shell reads once to complete `kvx`.
std::string BashCompletion();
std::string ZshCompletion();
std::string FishCompletion();

}  // namespace kvx_cli
