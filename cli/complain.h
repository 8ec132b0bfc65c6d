#pragma once

#include <string>

namespace kvx_cli {

// Tells on standard error what is wrong with `subject`, usually a file. Answers `exitCode`.
int Complain(int exitCode, const std::string& subject, const std::string& problem);

}  // namespace kvx_cli
