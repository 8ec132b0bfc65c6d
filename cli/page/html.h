#pragma once

#include <string>

namespace kvx_cli {

// A text as a page shows it, inside an element or an attribute in double quotes: no sign of it is
// taken for the page's own. Bytes that are no character of UTF-8, and characters that control the
// line or the direction of writing, are shown as U+FFFD.
std::string HtmlText(const std::string& text);

}  // namespace kvx_cli
