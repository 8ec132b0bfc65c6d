// What goes to standard error: everything that is no data.
#pragma once

#include <string>

#include "cli/output/exit_code.h"

namespace kvx_cli {

// Keeps standard error for what follows, even if it is redirected later, as the module's log is
// taken. Once, at the start of the program.
void KeepStandardError();

// "kvx: WORDS" on standard error, in one line and as Printable() has it. Returns `exitCode`.
int Complain(int exitCode, const std::string& words);

// "kvx: SUBJECT: WORDS"; the subject is usually a path.
int Complain(int exitCode, const std::string& subject, const std::string& words);
int Complain(const std::string& subject, const Problem& problem);

}  // namespace kvx_cli
