#pragma once

#include <string>
#include <string_view>

namespace KVX::Platform {

// Text of the classic system's Western script, in UTF-8. Every byte is a character. Throws
// std::bad_alloc.
std::string MacRomanToUtf8(std::string_view text);

}  // namespace KVX::Platform
