#pragma once

#include <string>

namespace kvx_test {

// `text` with each run of `digits` after `lead` as "?", where one of `followers` comes next.
inline std::string WithoutNumbers(const std::string& text, const std::string& lead,
                                  const char* digits, const char* followers) {
    std::string spelled;
    size_t from = 0;
    for (size_t at = text.find(lead); at != std::string::npos; at = text.find(lead, from)) {
        const size_t begin = at + lead.size();
        const size_t end = text.find_first_not_of(digits, begin);
        spelled += text.substr(from, begin - from);
        from = begin;
        if (end != std::string::npos && end != begin &&
            std::string(followers).find(text[end]) != std::string::npos) {
            spelled += "?";
            from = end;
        }
    }
    return spelled + text.substr(from);
}

// A log as a table can spell it: "Function: text" lines with each address as "0x?" and the
// descriptor of a read that met the end of its file as "?".
inline std::string Spelled(const std::string& text) {
    return WithoutNumbers(WithoutNumbers(text, "0x", "0123456789abcdef", " ,\n"), "pread(",
                          "0123456789", ",");
}

}  // namespace kvx_test
