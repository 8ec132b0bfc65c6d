#pragma once

#include <string>

namespace kvx_cli {

// Tells on standard error what is wrong. Answers `exitCode`.
int Complain(int exitCode, const std::string& problem);

// The same of `subject`, usually a file.
int Complain(int exitCode, const std::string& subject, const std::string& problem);

}  // namespace kvx_cli
