#include "cli/movie/refusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "premiere/import_records.h"

namespace kvx_cli {

namespace {

struct Reason {
    const char* logged;
    const char* sentence;
};

// The module logs a line at each level that a failure passes; the cause is the innermost. The first
// row whose text is found decides, so rows that explain more stand before rows that explain less.
constexpr Reason kReasons[] = {
    {"and subtype 'url '",
     "its tracks name the data handler \"url \", as ffmpeg's movies do; only media under "
     "QuickTime's own handler, \"alis\", is imported. A movie with the same content from a "
     "program that writes \"alis\", such as GStreamer's qtmux, is"},
    {"Unsupported data handler type",
     "its tracks name a data handler that is not QuickTime's own, \"alis\""},
    {"Unrecognised 5.1 channel layout tag",
     "its six-channel sound has a channel layout that is none of the four MPEG 5.1 orders; from "
     "ffmpeg, sound in the layout \"5.1(side)\" is imported, in \"5.1\" it is not"},
    {"Unsupported sound description version",
     "its sound is described in a version of the format that the importer does not know"},
    {"Unable to determine bytes per frame",
     "its sound does not say how many bytes a sample takes; only plain PCM is imported"},
    {"Unable to determine number of channels",
     "its sound does not say how many channels it has; only plain PCM is imported"},
    {"Invalid sound description", "its sound is described by numbers that no sound can have"},
    {"URL data references not supported",
     "its media lies elsewhere, under a web address, and the importer does not follow those"},
    {"Resource data references not supported",
     "its media lies in a file's resource fork, and the importer does not look there"},
    {"data references not recognised",
     "its media lies elsewhere, named in a way that the importer does not know"},
    {"Invalid data reference entry size",
     "it is damaged: what should name the file with its media cannot be read"},
    {"FSCopyAliasInfo returned",
     "its media lies in another file, and the record that names this file is damaged"},
    {"Failed to open movie file", "the file cannot be opened"},
    {"open returned", "its media lies in another file, which is not there or cannot be opened"},
    {"'moov' atom not found",
     "it is not a QuickTime movie, or it is one that was never finished: there is no movie atom"},
    {"Invalid atom length",
     "it is not a QuickTime movie, or it is damaged or cut off: its chain of atoms breaks"},
    {"has invalid length", "its movie atom has no acceptable size: 8 MiB is the most"},
    {" bytes failed with ", "the file could not be read, or is shorter than its atoms say"},
    {"does not hold", "it is damaged: one of its atoms is too short for what belongs in it"},
    {"passes the end of the movie atom",
     "it is damaged: its last track reaches beyond the end of the movie atom"},
    {"Invalid movie time scale", "it does not say how it counts time: a time scale is 0"},
    {"Invalid number of sample description entries",
     "one of its tracks does not say what it holds: there is no sample description"},
    {"Invalid sample description entry size",
     "one of its tracks does not say what it holds: its sample description is damaged"},
    {"Invalid sample to chunk table",
     "its sample tables are damaged: they do not say which samples lie in which chunk"},
    {"Got invalid offset", "its sample tables are damaged: a chunk has no place in the file"},
    {"Got invalid first size", "its sample tables are damaged: a sample has no size"},
    {"Failed to find", "it is incomplete: one of its tracks lacks an atom that it must have"},
    {"channel audio not supported",
     "its sound has a number of channels that is not delivered: only mono, stereo and 5.1 are"},
    {"bit integer audio not supported",
     "its sound has a sample form that is not delivered: no unsigned samples above 8 bits, no "
     "64-bit integers"},
    {"bit audio not supported",
     "its sound has a sample size that is not delivered: only 8, 16, 24, 32 and 64 bits are"},
};

// The module has one answer for all these movies, and no log line: it cannot be said which it is.
const char kNotPlayable[] =
    "it can be read as a QuickTime movie, but it is not of the kind that is imported. Such a movie "
    "has exactly one video track, which is uncompressed (2vuy, 2Vuy, r210 or v210; not H.264, "
    "ProRes or another compression), and its sound tracks, if any, are all PCM of one and the same "
    "sample size, number form and byte order. The importer does not tell which of these is amiss";

}  // namespace

std::string LineWith(const std::string& words, const std::string& log) {
    const size_t found = log.find(words);
    if (found == std::string::npos) {
        return {};
    }
    const size_t start = log.rfind('\n', found) + 1;  // 0 when there is none before
    return log.substr(start, log.find('\n', found) - start);
}

std::string FileProblem(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? "there is no such file"
                               : std::string("the file cannot be reached: ") + std::strerror(errno);
    }
    if (S_ISDIR(status.st_mode)) {
        return "it is a folder, not a file";
    }
    // A pipe would be waited for, with nobody at its other end.
    if (!S_ISREG(status.st_mode)) {
        return "it is a device, a pipe or a socket, not a file";
    }
    if (status.st_size == 0) {
        return "the file is empty";
    }
    if (access(path.c_str(), R_OK) != 0) {
        return std::string("the file cannot be read: ") + std::strerror(errno);
    }
    return "";
}

std::string RefusalInWords(long status, const std::string& log) {
    for (const Reason& reason : kReasons) {
        if (log.find(reason.logged) != std::string::npos) {
            return reason.sentence;
        }
    }
    // A movie that was read and is not playable is the one refusal without a log line.
    if (status == imBadFile && log.find("***") == std::string::npos) {
        return kNotPlayable;
    }
    std::string words = "the importer refused it with status " + std::to_string(status);
    if (!log.empty()) {
        words += ": " + log.substr(0, log.find('\n'));
    }
    return words;
}

}  // namespace kvx_cli
