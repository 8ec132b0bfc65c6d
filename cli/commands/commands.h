// The subcommands, each in a file of its own.
#pragma once

#include "cli/command_line/options.h"
#include "cli/output/exit_code.h"

namespace kvx_cli {

// Each does what its subcommand was called for, and returns an ExitCode.
int RunInfo(const Arguments& arguments);
int RunCheck(const Arguments& arguments);
int RunHash(const Arguments& arguments);
int RunMend(const Arguments& arguments);
int RunTimecode(const Arguments& arguments);
int RunAudio(const Arguments& arguments);
int RunFrames(const Arguments& arguments);
int RunSheet(const Arguments& arguments);
int RunReport(const Arguments& arguments);

}  // namespace kvx_cli
