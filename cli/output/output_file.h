// Files that the command writes.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "cli/output/exit_code.h"
#include "cli/output/input_files.h"
#include "cli/output/unfinished_files.h"

namespace kvx_cli {

// One file, which gets its name when it is whole. Until then it is
// written next to its destination; if that is a link, next to its target. A device or a pipe is
// written to directly, as is standard output.
class OutputFile {
  public:
    OutputFile() = default;
    // Removes a file that was not finished.
    ~OutputFile();

    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // What is done about a file that is there.
    enum class Existing { kReplace, kRefuse };

    // "-" is standard output. Refuses a place that is one of `inputs`.
    Problem Open(const std::string& place, const InputFiles& inputs,
                 Existing existing = Existing::kReplace);

    std::FILE* Stream() const { return mStream; }

    // Whether what was written can be written again.
    bool CanSeek() const { return mIsOwn; }

    // The message for the errno value of a failed write.
    Problem Failure() const;

    // Closes the file and gives it its name. The file is whole if there is no problem.
    Problem Finish();

  private:
    Problem OpenBeside(const std::string& target, bool isThere, mode_t mode);

    std::string mPlace;
    Existing mExisting = Existing::kReplace;
    UnfinishedFile mUnfinished;
    std::FILE* mStream = nullptr;
    bool mIsOwn = false;  // not standard output, a device or a pipe
};

// Whether standard output has been led into a regular file.
bool IsStandardOutputFile();

// Refuses if standard output has been led into one of `inputs`.
Problem CheckStandardOutput(const InputFiles& inputs);

// Flushes what has been printed. If it could not be written, reports that on standard error and
// returns false.
bool FlushStandardOutput();

// Closes standard output. If not everything could be written there, reports that on standard error,
// once for the whole program, and returns the exit code for it; otherwise `exitCode`.
int CloseStandardOutput(int exitCode);

// Makes the folder if it is not there.
Problem MakeOutputFolder(const std::string& folder);

// <folder>/<name>.<extension>
std::string PathIn(const std::string& folder, const std::string& name,
                   const std::string& extension);

// A frame's number with zeros before it, so that the frames of any usual movie are listed in order.
std::string FrameName(int64_t frame);

// "cannot write PLACE: REASON", for an errno.
Problem CannotWrite(const std::string& place, int error);

}  // namespace kvx_cli
