// The command line as data: what commands there are, what options each takes, and what was given.
// Help, and everything else that describes the command line, is made from the tables here.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kvx_cli {

class Arguments;

enum class CommandId { kInfo, kCheck, kMend, kHash, kTimecode, kAudio, kFrames, kSheet, kReport };

// Several commands.
using CommandSet = uint32_t;
constexpr CommandSet In(CommandId command) {
    return CommandSet{1} << static_cast<unsigned>(command);
}
template <typename... Others>
constexpr CommandSet In(CommandId command, Others... others) {
    return In(command) | In(others...);
}
constexpr CommandSet kInAllCommands = ~CommandSet{0};

struct CommandInfo {
    CommandId id;
    const char* name;
    const char* help;                        // one line
    int (*run)(const Arguments& arguments);  // returns an ExitCode
};

enum class OptionId {
    kModule,
    kTimeout,
    kQuiet,
    kRecursive,
    kFilesFrom,
    kNull,
    kLog,
    kJson,
    kJsonLines,
    kOutput,
    kStream,
    kRange,
    kEvery,
    kTimecodeNames,
    kRaw,
    kY4m,
    kDepth,
    kCompression,
    kThreads,
    kCustom,
    kPartial,
    kColumns,
    kRows,
    kWidth,
    kDryRun,
    kForce,
    kAnyway,
    kSound,
    kCompare,
    kNative,
    kAll,
    kFrames,
    kNone
};

// The value of kPath is the name of a file or of a folder, which a shell can complete.
enum class ValueKind { kFlag, kText, kPath, kNumber, kChoice };

// A row of the table of options. One option may have several rows, each for other commands.
struct OptionInfo {
    OptionId id;
    CommandSet commands;
    const char* name;      // with its dashes
    const char* argument;  // its value's name in help; null for a flag
    const char* help;
    ValueKind kind;
    const char* initial = nullptr;  // the value where the option is not given; null: none
    int64_t least = 0;              // of a number; the two choices otherwise
    int64_t most = 0;
    const char* letter = nullptr;  // the short form, with its dash
    bool required = false;
    OptionId needs = OptionId::kNone;     // is of no use without this one
    OptionId excludes = OptionId::kNone;  // goes against this one

    constexpr OptionInfo Letter(const char* text) const {
        OptionInfo changed = *this;
        changed.letter = text;
        return changed;
    }
    constexpr OptionInfo Required() const {
        OptionInfo changed = *this;
        changed.required = true;
        return changed;
    }
    constexpr OptionInfo Needs(OptionId other) const {
        OptionInfo changed = *this;
        changed.needs = other;
        return changed;
    }
    constexpr OptionInfo Excludes(OptionId other) const {
        OptionInfo changed = *this;
        changed.excludes = other;
        return changed;
    }
};

// What the program takes besides the tables.
struct ProgramInfo {
    const char* summary;
    const char* exitStatuses;  // one sentence
    const char* movies;        // what the words after a command are
    OptionInfo help;           // of the program and of each command
    OptionInfo version;        // of the program alone
};

const ProgramInfo& Program();
const std::vector<CommandInfo>& CommandTable();
const std::vector<OptionInfo>& OptionTable();

// The row for an option in a command; null if the command does not take it.
const OptionInfo* FindOption(OptionId option, CommandId command);

// What was given on a command line.
class Arguments {
  public:
    Arguments(CommandId command, std::vector<std::string> movies,
              std::map<OptionId, std::string> values);

    const std::vector<std::string>& Movies() const { return mMovies; }

    // Whether what is named may be several movies, however many are found.
    bool MayNameMany() const {
        return mMovies.size() > 1 || Has(OptionId::kRecursive) || Has(OptionId::kFilesFrom);
    }

    bool Has(OptionId option) const { return mValues.count(option) != 0; }

    // The value, the initial one where the option is not given; empty without either.
    std::string Text(OptionId option) const;

    // The same of an option whose value is a number.
    int64_t Number(OptionId option) const;

    // What is wrong with the values and with their company; nothing if all is well. Ask it first.
    std::string Problem() const;

  private:
    CommandId mCommand;
    std::vector<std::string> mMovies;
    std::map<OptionId, std::string> mValues;
};

}  // namespace kvx_cli
