#include "cli/manual/texts.h"

namespace kvx_cli {

std::vector<OptionInfo> OptionsOf(const CommandInfo* command) {
    std::vector<OptionInfo> options = {Program().help};
    if (command == nullptr) {
        options.push_back(Program().version);
    }
    const CommandSet commands = command == nullptr ? kInAllCommands : In(command->id);
    for (const OptionInfo& option : OptionTable()) {
        if ((option.commands & commands) == commands) {
            options.push_back(option);
        }
    }
    return options;
}

}  // namespace kvx_cli
