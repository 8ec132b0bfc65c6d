#include "cli/movie/refusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string_view>

#include "premiere/import_records.h"

namespace kvx_cli {

namespace {

struct Reason {
    const char* format;  // as it is in the module's code, without the end of the line
    const char* value;   // that must be among those printed; null: any will do
    const char* sentence;
    ExitCode code = kExitRefused;
};

// The module logs a line at each level that a failure passes; the cause is the innermost, the
// first. The first row that fits that line decides, so rows that explain more come before rows
// that explain less.
constexpr Reason kReasons[] = {
    {"Unsupported data handler type %s and subtype %s", "'url '",
     "its tracks name the data handler \"url \", as ffmpeg's movies do; only media under "
     "QuickTime's own handler, \"alis\", is imported. `kvx mend` replaces it and "
     "changes no sample"},
    {"Unsupported data handler type %s and subtype %s", nullptr,
     "its tracks name a data handler that is not QuickTime's own, \"alis\""},
    {"Unrecognised 5.1 channel layout tag 0x%08x", nullptr,
     "its six-channel sound has a channel layout that is none of the four MPEG 5.1 orders; "
     "`kvx mend` changes ffmpeg's \"5.1\" to one of these and changes no sample"},
    {"Unsupported sound description version: %d", nullptr,
     "its sound is described in a version of the format that the importer does not know"},
    {"Unable to determine bytes per frame", nullptr,
     "its sound does not say how many bytes a sample takes; only plain PCM is imported"},
    {"Unable to determine number of channels", nullptr,
     "its sound does not say how many channels it has; only plain PCM is imported"},
    {"Invalid sound description: %lld bytes per frame, %lld bits per channel", nullptr,
     "its sound is described by numbers that no sound can have"},
    {"%s data references not supported", "URL",
     "its tracks name their media by a \"url \" reference, which the importer does not follow, be "
     "it to this file or to another"},
    {"%s data references not supported", "Resource",
     "its media lies in a file's resource fork, and the importer does not look there"},
    {"%s data references not recognised", nullptr,
     "its media lies elsewhere, named in a way that the importer does not know"},
    {"Invalid data reference entry size: %u", nullptr,
     "it is damaged: what should name the file with its media cannot be read"},
    {"FSCopyAliasInfo returned %ld", nullptr,
     "its media lies in another file, and the record that names this file is damaged"},
    {"Failed to open movie file at \"%s\"", nullptr, "the file cannot be opened", kExitFailed},
    {"open returned %d", nullptr,
     "its media lies in another file, which is not there or cannot be opened"},
    {"'moov' atom not found in file \"%s\"", nullptr,
     "it is not a QuickTime movie, or it is one that was never finished: there is no movie atom"},
    {"Invalid atom length %llu (0x%llx)", nullptr,
     "it is not a QuickTime movie, or it is damaged or cut off: its chain of atoms breaks"},
    {"'moov' atom in file \"%s\" has invalid length of %llu", nullptr,
     "its movie atom has no acceptable size: 8 MiB is the most"},
    {"read of %llu bytes failed with %ld", nullptr,
     "the file could not be read, or is shorter than its atoms say"},
    {"read of %lu bytes failed with %ld", nullptr,
     "the file could not be read, or is shorter than its atoms say"},
    {"%s atom of %llu bytes does not hold %llu bytes at %llu", nullptr,
     "it is damaged: one of its atoms is too short for what belongs in it"},
    {"The last track atom passes the end of the movie atom", nullptr,
     "it is damaged: its last track reaches beyond the end of the movie atom"},
    {"Invalid movie time scale %lld or media time scale %lld", nullptr,
     "it does not say how it counts time: a time scale is 0"},
    {"Invalid number of sample description entries: %d", nullptr,
     "one of its tracks does not say what it holds: there is no sample description"},
    {"Invalid sample description entry size: %u", nullptr,
     "one of its tracks does not say what it holds: its sample description is damaged"},
    {"Invalid sample to chunk table at chunk %lld", nullptr,
     "its sample tables are damaged: they do not say which samples lie in which chunk"},
    {"Got invalid offset of %lld", nullptr,
     "its sample tables are damaged: a chunk has no place in the file"},
    {"Got invalid first size of %u", nullptr,
     "its sample tables are damaged: a sample has no size"},
    {"Failed to find %s atom", nullptr,
     "it is incomplete: one of its tracks lacks an atom that it must have"},
    {"Failed to find %s atom in track", nullptr,
     "it is incomplete: one of its tracks lacks an atom that it must have"},
    {"Movie has no tracks", nullptr, "it has neither video nor sound"},
    {"File length %lld(0x%llx) too short for read of %lld(0x%llx) bytes from offset "
     "%lld(0x%llx)",
     nullptr, "the file ends before it does"},
    {"Invalid frame size %dx%d", nullptr, "its width or its height is below 1"},
    {"%d channel audio not supported", nullptr,
     "its sound has a number of channels that is not delivered: only mono, stereo and 5.1 are"},
    {"Unsigned %d bit integer audio not supported", nullptr,
     "its sound has a sample form that is not delivered: no unsigned samples above 8 bits, no "
     "64-bit integers"},
    {"64 bit integer audio not supported", nullptr,
     "its sound has a sample form that is not delivered: no unsigned samples above 8 bits, no "
     "64-bit integers"},
    {"%d bit audio not supported", nullptr,
     "its sound has a sample size that is not delivered: only 8, 16, 24, 32 and 64 bits are"},
    {"pread returned %d", nullptr, "the file with its sound could not be read", kExitFailed},
};

// The module has one status for all these movies, and no log line: they cannot be told apart.
const char kNotPlayable[] =
    "it can be read as a QuickTime movie, but it is not of the kind that is imported. Such a movie "
    "has exactly one video track, which is uncompressed (2vuy, 2Vuy, r210 or v210; not H.264, "
    "ProRes or another compression), and its sound tracks, if any, are all PCM of one and the same "
    "sample size, number form and byte order. The importer does not say which of these is wrong";

constexpr char kReadFailed[] = "pread returned %ld for request %p";
constexpr char kTooSmall[] = "Sample too small for its frame: %lld of %lld bytes";
constexpr char kTicketFailed[] = "%s returned %ld for request %p";
constexpr char kFailed[] = "%s returned %ld";

// A format taken apart: its conversions, and the texts around them, of which there is one more.
struct FormatParts {
    std::vector<std::string> texts;
    std::string conversions;  // the last character of each
};

FormatParts TakeApart(const std::string& format) {
    FormatParts parts;
    parts.texts.emplace_back();
    for (size_t index = 0; index < format.size(); ++index) {
        if (format[index] != '%') {
            parts.texts.back() += format[index];
            continue;
        }
        index = std::min(format.find_first_of("csdiuxXpfg", index), format.size() - 1);
        parts.conversions += format[index];
        parts.texts.emplace_back();
    }
    return parts;
}

const Reason* FindReason(const LogLine& line) {
    const auto fits = [&line](const Reason& reason) {
        std::vector<std::string> values;
        return IsPrintedBy(reason.format, line.text, values) &&
               (reason.value == nullptr ||
                std::find(values.begin(), values.end(), reason.value) != values.end());
    };
    const auto found = std::find_if(std::begin(kReasons), std::end(kReasons), fits);
    return found == std::end(kReasons) ? nullptr : &*found;
}

}  // namespace

Problem FileProblem(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return {kExitFailed, errno == ENOENT ? "there is no such file"
                                             : std::string("the file cannot be reached: ") +
                                                   std::strerror(errno)};
    }
    if (S_ISDIR(status.st_mode)) {
        return {kExitFailed, "it is a folder, not a file; -r takes the movies in it"};
    }
    // Opening a pipe would wait for a writer.
    if (!S_ISREG(status.st_mode)) {
        return {kExitFailed, "it is a device, a pipe or a socket, not a file"};
    }
    if (status.st_size == 0) {
        return {kExitRefused, "the file is empty"};
    }
    if (access(path.c_str(), R_OK) != 0) {
        return {kExitFailed, std::string("the file cannot be read: ") + std::strerror(errno)};
    }
    return {};
}

Problem Refusal(long status, const std::string& log) {
    std::string first;
    for (const LogLine& line : LogLines(log)) {
        if (line.function.empty()) {
            continue;
        }
        if (const Reason* const reason = FindReason(line)) {
            return {reason->code, reason->sentence};
        }
        if (first.empty()) {
            first = line.function + ": " + line.text;
        }
    }
    // A movie that was read and is not playable is the one refusal without a log line.
    if (status == imBadFile && first.empty()) {
        return {kExitRefused, kNotPlayable};
    }
    return {kExitRefused, "the importer refused it with status " + std::to_string(status) +
                              (first.empty() ? first : ": " + first)};
}

std::vector<LogLine> LogLines(const std::string& log) {
    const std::string_view kStart = "*** ";
    std::vector<LogLine> lines;
    std::istringstream stream(log);
    for (std::string text; std::getline(stream, text);) {
        const size_t bracket = text.find('[');
        const size_t colon = text.find("]: ");
        const bool hasFunction = text.compare(0, kStart.size(), kStart) == 0 &&
                                 bracket != std::string::npos && colon != std::string::npos &&
                                 bracket < colon;
        const bool isInQuotes =
            !lines.empty() &&
            std::count(lines.back().text.begin(), lines.back().text.end(), '"') % 2 == 1;
        if (isInQuotes) {
            lines.back().text += "\n" + text;  // a name with an end of line in it
        } else if (hasFunction) {
            lines.push_back(
                {text.substr(kStart.size(), bracket - kStart.size()), text.substr(colon + 3)});
        } else {
            lines.push_back({"", text});
        }
    }
    return lines;
}

bool IsPrintedBy(const std::string& format, const std::string& text,
                 std::vector<std::string>& values) {
    const auto [texts, conversions] = TakeApart(format);
    if (conversions.empty()) {
        return text == format;
    }
    if (text.compare(0, texts.front().size(), texts.front()) != 0) {
        return false;
    }
    size_t position = texts.front().size();
    for (size_t index = 0; index < conversions.size(); ++index) {
        const std::string& next = texts[index + 1];
        const bool isLast = index + 1 == conversions.size();
        const size_t found = isLast && text.size() >= next.size() ? text.size() - next.size()
                                                                  : text.find(next, position);
        if (found == std::string::npos || found < position ||
            text.compare(found, next.size(), next) != 0) {
            return false;
        }
        values.push_back(text.substr(position, found - position));
        if (conversions[index] != 's' && values.back().find(' ') != std::string::npos) {
            return false;  // no number
        }
        position = found + next.size();
    }
    return true;
}

std::vector<std::string> KnownFormats() {
    std::vector<std::string> formats = {kReadFailed, kTooSmall, kTicketFailed, kFailed};
    for (const Reason& reason : kReasons) {
        formats.emplace_back(reason.format);
    }
    return formats;
}

FailedFrame FrameFailure(const LogLine& line) {
    const auto isPrintedBy = [&line](const char* format, std::vector<std::string>& values) {
        values.clear();
        return IsPrintedBy(format, line.text, values);
    };
    std::vector<std::string> values;
    if (line.function.empty()) {
        return {};
    }
    if (isPrintedBy(kReadFailed, values)) {
        return {true, std::string("its bytes could not be read: ") +
                          std::strerror(std::atoi(values.front().c_str()))};
    }
    if (isPrintedBy(kTooSmall, values)) {
        return {true, "its sample is too small for a frame: " + values[0] + " of " + values[1] +
                          " bytes"};
    }
    if (const Reason* const reason = FindReason(line)) {
        return {true, reason->sentence};
    }
    if (isPrintedBy(kTicketFailed, values) || isPrintedBy(kFailed, values)) {
        return {false, "the importer could not deliver it, with status " + values[1]};
    }
    return {};
}

}  // namespace kvx_cli
