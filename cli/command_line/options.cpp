#include "cli/command_line/options.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>
#include <utility>

#include "cli/commands/commands.h"
#include "cli/picture/deflate.h"

namespace kvx_cli {

namespace {

using Id = OptionId;

constexpr int64_t kMostFrames = 1000;
constexpr int64_t kMostThreads = 1024;
constexpr int64_t kUnlimited = std::numeric_limits<int32_t>::max();

constexpr OptionInfo Flag(Id id, CommandSet commands, const char* name, const char* help) {
    return {id, commands, name, nullptr, help, ValueKind::kFlag};
}

constexpr OptionInfo Text(Id id, CommandSet commands, const char* name, const char* argument,
                          const char* help) {
    return {id, commands, name, argument, help, ValueKind::kText};
}

constexpr OptionInfo Path(Id id, CommandSet commands, const char* name, const char* argument,
                          const char* help) {
    return {id, commands, name, argument, help, ValueKind::kPath};
}

constexpr OptionInfo Number(Id id, CommandSet commands, const char* name, const char* argument,
                            const char* initial, int64_t least, int64_t most, const char* help) {
    return {id, commands, name, argument, help, ValueKind::kNumber, initial, least, most};
}

constexpr OptionInfo Choice(Id id, CommandSet commands, const char* name, const char* initial,
                            int64_t one, int64_t other, const char* help) {
    return {id, commands, name, "N", help, ValueKind::kChoice, initial, one, other};
}

constexpr ProgramInfo kProgram = {
    "Opens QuickTime movies through the KVX Importer module, as an editing host does.",
    "Exit status: 0 success; 1 a movie can't be imported, or part of what was requested is not "
    "available; "
    "2 usage error, such as an output that is also an input; 3 a movie can't be read, an output "
    "can't be written, or the importer can't be loaded; 4 (check only) imports, with warnings; 130 "
    "ended by Ctrl-C. `kvx help COMMAND` describes one command.",
    "QuickTime movies; with -r, folders of them",
    Flag(Id::kNone, kInAllCommands, "--help", "Print this help message and exit").Letter("-h"),
    Flag(Id::kNone, 0, "--version", "Print the version and exit"),
};

constexpr CommandInfo kCommands[] = {
    {CommandId::kInfo, "info", "Report what movies contain, or why they are not importable",
     RunInfo},
    {CommandId::kCheck, "check",
     "Report everything that keeps movies from being imported or will not be as expected",
     RunCheck},
    {CommandId::kMend, "mend",
     "Make movies importable where that changes no sample: data handler, sound layout", RunMend},
    {CommandId::kHash, "hash",
     "Print the MD5 of each frame's own bytes, in the format of ffmpeg's framemd5", RunHash},
    {CommandId::kTimecode, "timecode", "Print movies' start timecodes", RunTimecode},
    {CommandId::kAudio, "audio",
     "Write the sound of movies as WAV files: of 32-bit floats, or as it is in the file", RunAudio},
    {CommandId::kFrames, "frames", "Write the frames of movies as PNG pictures, or as their bytes",
     RunFrames},
    {CommandId::kSheet, "sheet",
     "Draw contact sheets: frames of the whole movie with their times, and its sound", RunSheet},
    {CommandId::kReport, "report",
     "Make a page about movies: what they contain, what is wrong with them, frames and sound",
     RunReport},
};

constexpr CommandSet kInfo = In(CommandId::kInfo);
constexpr CommandSet kCheck = In(CommandId::kCheck);
constexpr CommandSet kMend = In(CommandId::kMend);
constexpr CommandSet kHash = In(CommandId::kHash);
constexpr CommandSet kAudio = In(CommandId::kAudio);
constexpr CommandSet kFrames = In(CommandId::kFrames);
constexpr CommandSet kSheet = In(CommandId::kSheet);
constexpr CommandSet kReport = In(CommandId::kReport);

// For what goes after the command and not before it.
constexpr CommandSet OfEachCommand() {
    CommandSet commands = 0;
    for (const CommandInfo& command : kCommands) {
        commands |= In(command.id);
    }
    return commands;
}
constexpr CommandSet kEach = OfEachCommand();

constexpr OptionInfo kOptions[] = {
    Flag(Id::kRecursive, kEach, "--recursive",
         "Take the movies in folders and their subfolders: .mov and .qt, in order of name")
        .Letter("-r"),
    Path(Id::kFilesFrom, kEach, "--files-from", "FILE|-",
         "Take the movies that FILE lists, one per line; - is standard input"),
    Flag(Id::kNull, kEach, "--null",
         "Names in --files-from end with a zero byte, not with the line")
        .Letter("-0")
        .Needs(Id::kFilesFrom),
    Flag(Id::kLog, kInfo, "--log", "Show what the importer logged"),
    Flag(Id::kJson, kInfo, "--json", "Print JSON, an array with one object per movie")
        .Excludes(Id::kLog),
    Flag(Id::kJsonLines, kInfo, "--json-lines", "Print JSON, one object per line")
        .Excludes(Id::kLog),
    Flag(Id::kJson, kCheck, "--json", "Print JSON, an array with one object per movie"),
    Flag(Id::kJsonLines, kCheck, "--json-lines", "Print JSON, one object per line"),
    Path(Id::kOutput, kMend, "--output", "COPY",
         "Mend a copy, and leave the movie as it is; otherwise the movie itself is mended")
        .Letter("-o"),
    Flag(Id::kDryRun, kMend, "--dry-run",
         "Change nothing, and list what would be changed: offset, old and new bytes")
        .Letter("-n"),
    Flag(Id::kForce, kMend, "--force", "Replace an existing COPY").Needs(Id::kOutput),
    Flag(Id::kAnyway, kMend, "--anyway",
         "Mend what can be mended, even if the movie is still refused or plays as noise"),
    Flag(Id::kSound, kHash, "--sound",
         "Hash the sound instead: its own samples, one second at a time"),
    Path(Id::kOutput, kHash, "--output", "LIST|DIR|-",
         "The list to write; by default, and for -, standard output. For several movies, the "
         "folder for the list of each, MOVIE.framemd5")
        .Letter("-o"),
    Number(Id::kStream, kHash, "--stream", "N", "0", 0, kUnlimited,
           "The stream of that kind, as `kvx info` numbers them"),
    Path(Id::kCompare, kHash, "--compare", "FILE|-",
         "Print nothing, and compare one movie with a list written by kvx or ffmpeg")
        .Excludes(Id::kOutput),
    Number(Id::kThreads, kHash, "--threads", "N", nullptr, 1, 256,
           "How many frames are hashed at once; by default one for each processor"),
    Path(Id::kOutput, kAudio, "--output", "OUT.wav|DIR|-",
         "The WAV file to write; - is standard output. With --all, a name that does not end in "
         ".wav is a folder. For several movies, the folder for the output of each")
        .Letter("-o")
        .Required(),
    Number(Id::kStream, kAudio, "--stream", "N", "0", 0, kUnlimited,
           "The sound stream, as `kvx info` numbers them"),
    Flag(Id::kAll, kAudio, "--all",
         "All streams: into one file, with all their channels, or into a folder, a file for each")
        .Excludes(Id::kStream),
    Flag(Id::kNative, kAudio, "--native",
         "The file's own values, lossless: all samples of the track, ignoring edits; also of "
         "movies that are refused"),
    Flag(Id::kPartial, kAudio, "--partial",
         "Write the available part of a sound that is not all in the file"),
    Path(Id::kOutput, kFrames, "--output", "DIR|FILE|-",
         "The folder to write into, a file for each frame named by its number; with --y4m the "
         "file. - writes to standard output: with --raw or --y4m all frames, one after the other, "
         "otherwise one picture. For several movies, the folder for the output of each")
        .Letter("-o")
        .Required(),
    Text(Id::kRange, kFrames, "--range", "A:B|TC..TC",
         "The frames from A up to but not including B, counted from 0, or the same by timecode; "
         "either end may be omitted. Several, separated by commas"),
    Number(Id::kEvery, kFrames, "--every", "N", "1", 1, kUnlimited,
           "The first frame of each range, and then every Nth"),
    Flag(Id::kTimecodeNames, kFrames, "--timecode-names",
         "Name files by the frame's timecode: 01-00-00-00.png"),
    Flag(Id::kRaw, kFrames, "--raw",
         "Write each frame's bytes as they are in the file, not a picture"),
    Flag(Id::kY4m, kFrames, "--y4m",
         "Write the frames of 2vuy and v210 as one YUV4MPEG2 stream, of 8 and of 10 bits")
        .Excludes(Id::kRaw),
    Choice(Id::kDepth, kFrames, "--depth", "8", 8, 16, "The bits of a component in a picture")
        .Excludes(Id::kRaw),
    Number(Id::kCompression, kFrames | kSheet, "--compression", "N", "1", kLeastCompression,
           kMostCompression, "How hard to try for small files: 0 not at all, 1 fast, 9 slowest"),
    Number(Id::kThreads, kFrames | kSheet, "--threads", "N", nullptr, 1, kMostThreads,
           "How many threads compress pictures; by default one for each processor"),
    Flag(Id::kCustom, kFrames, "--custom",
         "Request the importer's own pixel format, which carries the file's bytes after a header. "
         "What is written is the frame's own bytes all the same, without the header")
        .Needs(Id::kRaw),
    Flag(Id::kPartial, kFrames, "--partial",
         "With --raw on standard output, and with --y4m, fill the places of frames that can't be "
         "read: with zeros, and with black"),
    Path(Id::kOutput, kSheet, "--output", "SHEET.png|-",
         "The picture to write; - is standard output. For several movies, the folder to write into")
        .Letter("-o")
        .Required(),
    Number(Id::kColumns, kSheet, "--columns", "N", "4", 1, 20, "Frames beside each other"),
    Number(Id::kRows, kSheet, "--rows", "N", "3", 1, 100, "Frames below each other"),
    Number(Id::kWidth, kSheet, "--width", "N", "1600", 400, 16000, "Of the sheet, in pixels"),
    Path(Id::kOutput, kReport, "--output", "PAGE.html|-",
         "The page to write, a self-contained HTML file; - is standard output")
        .Letter("-o")
        .Required(),
    Number(Id::kFrames, kReport, "--frames", "N", "6", 0, kMostFrames,
           "Frames of each movie on the page"),
    Path(Id::kModule, kInAllCommands, "--module", "PATH", "The importer module to load"),
    Number(Id::kTimeout, kInAllCommands, "--timeout", "SECONDS", "10", 1, kUnlimited,
           "How long to wait for a file that does not respond"),
    Flag(Id::kQuiet, kInAllCommands, "--quiet", "Report only problems, and draw no progress bar"),
};

bool ReadNumber(const std::string& text, int64_t& number) {
    const char* const end = text.data() + text.size();
    const auto [read, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && read == end;
}

std::string ValueProblem(const OptionInfo& option, const std::string& value) {
    int64_t number = 0;
    const bool isNumber = ReadNumber(value, number);
    const std::string given = std::string(option.name) + " takes ";
    const std::string instead = ", not '" + value + "'";
    if (option.kind == ValueKind::kChoice &&
        !(isNumber && (number == option.least || number == option.most))) {
        return given + std::to_string(option.least) + " or " + std::to_string(option.most) +
               instead;
    }
    if (option.kind == ValueKind::kNumber &&
        !(isNumber && number >= option.least && number <= option.most)) {
        return given + "a number from " + std::to_string(option.least) +
               (option.most == kUnlimited ? " up" : " to " + std::to_string(option.most)) + instead;
    }
    return {};
}

}  // namespace

const ProgramInfo& Program() {
    return kProgram;
}

const std::vector<CommandInfo>& CommandTable() {
    static const std::vector<CommandInfo> table(std::begin(kCommands), std::end(kCommands));
    return table;
}

const std::vector<OptionInfo>& OptionTable() {
    static const std::vector<OptionInfo> table(std::begin(kOptions), std::end(kOptions));
    return table;
}

const OptionInfo* FindOption(OptionId option, CommandId command) {
    const auto found =
        std::find_if(std::begin(kOptions), std::end(kOptions), [=](const OptionInfo& each) {
            return each.id == option && (each.commands & In(command)) != 0;
        });
    return found == std::end(kOptions) ? nullptr : &*found;
}

Arguments::Arguments(CommandId command, std::vector<std::string> movies,
                     std::map<OptionId, std::string> values)
    : mCommand(command), mMovies(std::move(movies)), mValues(std::move(values)) {}

std::string Arguments::Text(OptionId option) const {
    const auto given = mValues.find(option);
    if (given != mValues.end()) {
        return given->second;
    }
    const OptionInfo* const row = FindOption(option, mCommand);
    return row != nullptr && row->initial != nullptr ? row->initial : std::string();
}

int64_t Arguments::Number(OptionId option) const {
    int64_t number = 0;
    ReadNumber(Text(option), number);
    return number;
}

std::string Arguments::Problem() const {
    for (const OptionInfo& option : kOptions) {
        if ((option.commands & In(mCommand)) == 0) {
            continue;
        }
        if (!Has(option.id)) {
            if (option.required) {
                return std::string(option.name) + " is missing";
            }
            continue;
        }
        std::string problem = ValueProblem(option, mValues.at(option.id));
        if (!problem.empty()) {
            return problem;
        }
        if (option.needs != OptionId::kNone && !Has(option.needs)) {
            return std::string(option.name) + " needs " + FindOption(option.needs, mCommand)->name;
        }
        if (option.excludes != OptionId::kNone && Has(option.excludes)) {
            return std::string(option.name) + " and " +
                   FindOption(option.excludes, mCommand)->name + " exclude each other";
        }
    }
    if (mMovies.empty() && !Has(OptionId::kFilesFrom)) {
        return "no movie is named";
    }
    return {};
}

}  // namespace kvx_cli
