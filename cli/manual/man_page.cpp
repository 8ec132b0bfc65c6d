#include <string>

#include "cli/manual/texts.h"

namespace kvx_cli {

namespace {

// A text as roff shows it: with dashes that can be copied, nothing read as a request or an escape.
std::string Shown(const std::string& text) {
    std::string shown;
    for (const char each : text) {
        switch (each) {
            case '\\':
                shown += "\\e";
                break;
            case '-':
                shown += "\\-";
                break;
            case '`':
                shown += "\\(ga";
                break;
            case '\'':
                shown += "\\(aq";
                break;
            default:
                shown += each;
        }
    }
    return shown.empty() || shown[0] != '.' ? shown : "\\&" + shown;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Shown(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Shown(text) + "\\fR";
}

std::string Sentence(const std::string& text) {
    return text.empty() || text.back() == '.' ? text : text + ".";
}

// A name in the table, of an option that one in the same command speaks of.
std::string NameOf(OptionId id, const CommandInfo& command) {
    return FindOption(id, command.id)->name;
}

// `command` is null for the program itself.
std::string OptionEntry(const OptionInfo& option, const CommandInfo* command) {
    std::string entry = ".TP\n";
    if (option.letter != nullptr) {
        entry += Bold(option.letter) + ", ";
    }
    entry += Bold(option.name);
    if (option.argument != nullptr) {
        entry += " " + Italic(option.argument);
    }
    std::string text = Sentence(option.help);
    if (option.kind == ValueKind::kChoice) {
        text += " " + std::to_string(option.least) + " or " + std::to_string(option.most) + ".";
    }
    if (option.initial != nullptr) {
        text += std::string(" Default: ") + option.initial + ".";
    }
    if (option.required) {
        text += " Required.";
    }
    if (command != nullptr && option.needs != OptionId::kNone) {
        text += " Requires " + NameOf(option.needs, *command) + ".";
    }
    if (command != nullptr && option.excludes != OptionId::kNone) {
        text += " Cannot be combined with " + NameOf(option.excludes, *command) + ".";
    }
    return entry + "\n" + Shown(text) + "\n";
}

std::string Options(const CommandInfo* command) {
    std::string entries = ".SH OPTIONS\n";
    for (const OptionInfo& option : OptionsOf(command)) {
        entries += OptionEntry(option, command);
    }
    return entries;
}

std::string Heading(std::string title, const std::string& version) {
    for (char& each : title) {
        each = each >= 'a' && each <= 'z' ? static_cast<char>(each - 'a' + 'A') : each;
    }
    // Without a date, so that the same sources give the same page.
    return ".TH \"" + Shown(title) + "\" 1 \"\" \"kvx " + version + "\" \"User Commands\"\n";
}

std::string ExitStatus() {
    const std::string text = Program().exitStatuses;
    return ".SH \"EXIT STATUS\"\n" + Shown(text.substr(text.find(": ") + 2)) + "\n";
}

std::string PageName(const CommandInfo& command) {
    return std::string("kvx-") + command.name;
}

}  // namespace

std::string ProgramPage(const std::string& version) {
    std::string page = Heading("kvx", version) + ".SH NAME\nkvx \\- look into QuickTime movies\n";
    page += ".SH SYNOPSIS\n" + Bold("kvx") + " [" + Italic("OPTION") + "]... " + Italic("COMMAND") +
            " [" + Italic("OPTION") + "]... " + Italic("MOVIE") + "...\n.br\n" + Bold("kvx help") +
            " [" + Italic("COMMAND") + "]\n";
    page += ".SH DESCRIPTION\n" + Shown(Program().summary) + "\n.SH COMMANDS\n";
    std::string others;
    for (const CommandInfo& command : CommandTable()) {
        page += ".TP\n" + Bold(command.name) + "\n" + Shown(Sentence(command.help)) + "\n";
        others += (others.empty() ? "" : ",\n") + Bold(PageName(command)) + "(1)";
    }
    return page + Options(nullptr) + ExitStatus() + ".SH \"SEE ALSO\"\n" + others + "\n";
}

std::string CommandPage(const CommandInfo& command, const std::string& version) {
    const std::string help = command.help;
    std::string page = Heading(PageName(command), version) + ".SH NAME\n" +
                       Shown(PageName(command)) + " \\- " +
                       Shown(static_cast<char>(help[0] - 'A' + 'a') + help.substr(1)) + "\n";
    page += ".SH SYNOPSIS\n" + Bold(std::string("kvx ") + command.name) + " [" + Italic("OPTION") +
            "]... " + Italic("MOVIE") + "...\n";
    page += ".SH DESCRIPTION\n" + Shown(Sentence(help)) + "\n.TP\n" + Italic("MOVIE") + "\n" +
            Shown(Sentence(Program().movies)) + "\n";
    return page + Options(&command) + ExitStatus() + ".SH \"SEE ALSO\"\n" + Bold("kvx") + "(1)\n";
}

}  // namespace kvx_cli
