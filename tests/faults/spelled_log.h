#pragma once

#include <regex>
#include <string>

namespace kvx_test {

// A log as a table can spell it: "Function: text" lines with each address as "0x?" and the
// descriptor of a read that met the end of its file as "?".
inline std::string Spelled(const std::string& text) {
    static const std::regex address("0x[0-9a-f]+(?=[ ,\n])");
    static const std::regex descriptor("pread\\([0-9]+, ");
    return std::regex_replace(std::regex_replace(text, address, "0x?"), descriptor, "pread(?, ");
}

}  // namespace kvx_test
