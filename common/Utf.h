// Conversion between UTF-8 and UTF-16, strict in both directions.
#pragma once

#include <utf8.h>

#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "karst/KaTypes.h"

namespace karst::common {

using KaText = std::basic_string<KaChar>;
using KaTextView = std::basic_string_view<KaChar>;

// UTF-16 as UTF-8; nothing when it holds an unpaired surrogate.
inline std::optional<std::string> ToUtf8(KaTextView text) {
  std::string bytes;
  try {
    utf8::utf16to8(text.begin(), text.end(), std::back_inserter(bytes));
  } catch (const utf8::exception&) {
    return std::nullopt;
  }
  return bytes;
}

// UTF-8 as UTF-16; nothing when it is not valid UTF-8.
inline std::optional<KaText> ToUtf16(std::string_view bytes) {
  KaText text;
  try {
    utf8::utf8to16(bytes.begin(), bytes.end(), std::back_inserter(text));
  } catch (const utf8::exception&) {
    return std::nullopt;
  }
  return text;
}

}  // namespace karst::common
