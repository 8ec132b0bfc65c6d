#include <string>
#include <vector>

#include "cli/manual/texts.h"

namespace kvx_cli {

namespace {

// The word that asks for help on what follows, besides the commands.
constexpr char kHelpCommand[] = "help";
constexpr char kHelpOfHelp[] = "Describe a command";

// What fits next to a suggested word: the first sentence.
std::string Brief(const std::string& help) {
    return help.substr(0, help.find(". "));
}

std::string Escaped(const std::string& text, const std::string& special) {
    std::string escaped;
    for (const char each : text) {
        if (special.find(each) != std::string::npos) {
            escaped += '\\';
        }
        escaped += each;
    }
    return escaped;
}

// Between single quotes, for bash and zsh.
std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char each : text) {
        quoted += each == '\'' ? std::string("'\\''") : std::string(1, each);
    }
    return quoted + "'";
}

std::string Choices(const OptionInfo& option) {
    return std::to_string(option.least) + " " + std::to_string(option.most);
}

std::string CommandNames() {
    std::string names;
    for (const CommandInfo& command : CommandTable()) {
        names += (names.empty() ? "" : " ") + std::string(command.name);
    }
    return names;
}

// The names of options with their dashes, between them `separator`; of those alone whose values are
// of the kind, where a kind is named.
std::string Names(const std::vector<OptionInfo>& options, const char* separator,
                  const ValueKind* kind = nullptr) {
    std::string names;
    for (const OptionInfo& option : options) {
        if (kind != nullptr && option.kind != *kind) {
            continue;
        }
        for (const char* const name : {option.letter, option.name}) {
            if (name != nullptr) {
                names += (names.empty() ? "" : separator) + std::string(name);
            }
        }
    }
    return names;
}

// A branch of bash for what the word before asks for.
std::string BashBranch(const std::string& names, const std::string& action) {
    return names.empty() ? "" : "                " + names + ") " + action + "; return ;;\n";
}

// One arm of the choice between commands; `name` is empty where there is no command yet.
std::string BashArm(const std::string& name, const CommandInfo* command) {
    const std::vector<OptionInfo> options = OptionsOf(command);
    std::string arm = "        " + (name.empty() ? "''" : name) + ")\n";
    arm += "            options='" + Names(options, " ") + "'\n";
    arm += "            case $before in\n";
    const ValueKind path = ValueKind::kPath;
    arm += BashBranch(Names(options, "|", &path), "_kvx_files \"$word\"");
    for (const OptionInfo& option : options) {
        if (option.kind == ValueKind::kChoice) {
            arm += BashBranch(Names({option}, "|"), "mapfile -t COMPREPLY < <(compgen -W '" +
                                                        Choices(option) + "' -- \"$word\")");
        }
    }
    for (const ValueKind kind : {ValueKind::kText, ValueKind::kNumber}) {
        arm += BashBranch(Names(options, "|", &kind), "COMPREPLY=()");
    }
    return arm + "            esac ;;\n";
}

std::string OfZsh(const OptionInfo& option) {
    const std::string described = "[" + Escaped(Brief(option.help), "[]\\:") + "]";
    std::string value;
    if (option.argument != nullptr) {
        value = ":" + Escaped(option.argument, ":\\") + ":";
        if (option.kind == ValueKind::kPath) {
            value += "_files";
        } else if (option.kind == ValueKind::kChoice) {
            value += "(" + Choices(option) + ")";
        } else {
            value += " ";
        }
    }
    if (option.letter == nullptr) {
        return "        " + Quoted(option.name + described + value) + " \\\n";
    }
    const std::string both = std::string("(") + option.letter + " " + option.name + ")";
    const auto line = [&](const char* name) {
        return "        " + Quoted(both + name + described + value) + " \\\n";
    };
    return line(option.letter) + line(option.name);
}

std::string OfFish(const OptionInfo& option, const std::string& where) {
    std::string line = "complete -c kvx -n " + Quoted(where);
    if (option.letter != nullptr) {
        line += std::string(" -s ") + (option.letter + 1);
    }
    line += std::string(" -l ") + (option.name + 2);
    if (option.kind == ValueKind::kPath) {
        line += " -r -F";
    } else if (option.kind == ValueKind::kChoice) {
        line += " -x -a '" + Choices(option) + "'";
    } else if (option.kind != ValueKind::kFlag) {
        line += " -x";
    }
    return line + " -d '" + Escaped(Brief(option.help), "'\\") + "'\n";
}

}  // namespace

std::string BashCompletion() {
    const std::string commands = CommandNames();
    std::string arms = BashArm("", nullptr);
    for (const CommandInfo& command : CommandTable()) {
        arms += BashArm(command.name, &command);
    }
    const std::vector<OptionInfo> global = OptionsOf(nullptr);
    std::string valued;
    for (const ValueKind kind : {ValueKind::kPath, ValueKind::kText, ValueKind::kNumber}) {
        const std::string names = Names(global, "|", &kind);
        valued += (valued.empty() || names.empty() ? "" : "|") + names;
    }
    return R"(# bash completion for kvx

_kvx_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

# Movies and folders that may hold some; whatever is there, where that is nothing.
_kvx_movies() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -d -- "$1"
        shopt -s extglob nocasematch
        compgen -f -- "$1" | while IFS= read -r name; do
            [[ $name == *.@(mov|qt) && ! -d $name ]] && printf '%s\n' "$name"
        done)
    [ ${#COMPREPLY[@]} -gt 0 ] || _kvx_files "$1"
}

_kvx() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command='' options='' place ended=''
    COMPREPLY=()
    # Bash takes --option=value for three words.
    if [ "$word" = = ]; then
        word=''
    elif [ "$before" = = ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    for ((place = 1; place < COMP_CWORD; ++place)); do
        case ${COMP_WORDS[place]} in
            --) ended=yes ;;
            )" +
           valued +
           R"() [ -n "$command" ] || ((++place)) ;;
            -* | =) ;;
            *)
                if [ -z "$command" ] || [ "$command" = help ]; then
                    command+=${command:+ }${COMP_WORDS[place]}
                fi ;;
        esac
    done
    case $command in
)" + arms + R"(        help)
            mapfile -t COMPREPLY < <(compgen -W ')" +
           commands + R"(' -- "$word")
            return ;;
        *) return ;;
    esac
    if [[ $word == -* && -z $ended ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    elif [ -z "$command" ]; then
        mapfile -t COMPREPLY < <(compgen -W ')" +
           commands + " " + kHelpCommand + R"(' -- "$word")
    else
        _kvx_movies "$word"
    fi
}

complete -F _kvx kvx
)";
}

std::string ZshCompletion() {
    std::string described;
    std::string arms;
    for (const CommandInfo& command : CommandTable()) {
        described += "        " +
                     Quoted(std::string(command.name) + ":" + Escaped(command.help, ":\\")) + "\n";
        arms += std::string("    ") + command.name + ")\n        _arguments -s \\\n";
        for (const OptionInfo& option : OptionsOf(&command)) {
            arms += OfZsh(option);
        }
        arms += R"sh(        '*:movie:_files -g "*.(#i)(mov|qt)(-.)"' ;;
)sh";
    }
    std::string global;
    for (const OptionInfo& option : OptionsOf(nullptr)) {
        global += OfZsh(option);
    }
    return R"(#compdef kvx

_kvx() {
    local curcontext=$curcontext state line
    typeset -A opt_args
    local -a commands=(
)" + described +
           R"(    )
    _arguments -C -s \
)" + global +
           R"(        '1: :->command' \
        '*:: :->rest'
    case $state in
    command)
        commands+=(')" +
           kHelpCommand + ":" + kHelpOfHelp + R"(')
        _describe -t commands command commands
        return ;;
    rest) ;;
    *) return ;;
    esac
    curcontext=${curcontext%:*}-$words[1]:
    case $words[1] in
)" + arms + R"(    help)
        (( CURRENT == 2 )) && _describe -t commands command commands ;;
    esac
}

if [ "$funcstack[1]" = _kvx ]; then
    _kvx "$@"
else
    compdef _kvx kvx
fi
)";
}

std::string FishCompletion() {
    const std::string all = CommandNames() + " " + kHelpCommand;
    const std::string none = "not __fish_seen_subcommand_from " + all;
    std::string lines = "# fish completion for kvx\n\n";
    lines += "complete -c kvx -n " + Quoted(none) + " -f\n";
    lines +=
        "complete -c kvx -n '__fish_seen_subcommand_from help' -f -a '" + CommandNames() + "'\n";
    for (const OptionInfo& option : OptionsOf(nullptr)) {
        lines += OfFish(option, none);
    }
    lines += "complete -c kvx -n " + Quoted(none) + " -a " + kHelpCommand + " -d " +
             Quoted(kHelpOfHelp) + "\n";
    for (const CommandInfo& command : CommandTable()) {
        lines += "\ncomplete -c kvx -n " + Quoted(none) + " -a " + command.name + " -d '" +
                 Escaped(command.help, "'\\") + "'\n";
        const std::string seen = std::string("__fish_seen_subcommand_from ") + command.name +
                                 "; and not __fish_seen_subcommand_from help";
        for (const OptionInfo& option : OptionsOf(&command)) {
            lines += OfFish(option, seen);
        }
    }
    return lines;
}

}  // namespace kvx_cli
