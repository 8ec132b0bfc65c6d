// Why a movie is not imported, in words.
#pragma once

#include <string>
#include <vector>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// What is wrong with `path` before any movie is looked for: missing, not a file, empty, not to
// be read. Nothing if nothing is.
Problem FileProblem(const std::string& path);

// The reason for a failed call of the module, from its status and from what it logged meanwhile.
Problem Refusal(long status, const std::string& log);

// A line of the module's log, "*** FUNCTION[LINE]: TEXT"; other lines have no function.
struct LogLine {
    std::string function;
    std::string text;
};

std::vector<LogLine> LogLines(const std::string& log);

// Whether a line is one of those that `format` prints, from its start to its end. `values` takes
// what is in the places of the conversions. The format's own characters are looked for in
// order, so that no value can pass for them at the start of the line.
bool IsPrintedBy(const std::string& format, const std::string& text,
                 std::vector<std::string>& values);

// The formats of the module that have a sentence here, for comparison with the module's code.
std::vector<std::string> KnownFormats();

// What a line of the module's log says about a frame that failed.
struct FailedFrame {
    bool isCause = false;  // not just one of those that follow from it, which may come late
    std::string words;     // empty: it reports no failure
};

FailedFrame FrameFailure(const LogLine& line);

}  // namespace kvx_cli
