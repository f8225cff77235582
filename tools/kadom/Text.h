// Text on its way between the command line, the interfaces and the screen.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "common/Utf.h"

namespace karst::tool {

using common::KaText;
using common::KaTextView;

// UTF-8 from the user as UTF-16. Throws Failure when it is not UTF-8; `what` names the text then.
KaText TextFromUser(std::string_view text, std::string_view what);

// A path as the interfaces take it. Throws Failure when it cannot be expressed.
KaText PathForModule(const std::filesystem::path& path);

// Text as one line of UTF-8 that is safe on a terminal: control characters and unpaired surrogates become escapes
// (\n, \u001b), the backslash is doubled.
std::string Escaped(KaTextView text);

// The same in quotation marks, which are escaped inside. A text longer than `limit` characters is cut there and ends
// in "…".
std::string Quoted(KaTextView text, size_t limit = KaTextView::npos);

// A message as one line: every run of white space and control characters becomes one blank.
std::string OneLine(std::string_view message);

// "1 element", "2 elements".
std::string Counted(uint64_t count, std::string_view noun);

}  // namespace karst::tool
