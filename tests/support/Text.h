// Conversions between what tests write and what the interfaces take.
#pragma once

#include <filesystem>
#include <string>

#include "framework/common/Utf.h"

namespace karst::test {

using framework::KaText;

// UTF-16 as UTF-8 for comparing and printing; "<null>" and "<unpaired surrogate>" where there is none.
inline std::string Narrow(const KaChar* text) {
  if (text == nullptr) return "<null>";
  return framework::ToUtf8(text).value_or("<unpaired surrogate>");
}

// UTF-8 literals as UTF-16.
inline KaText Wide(const std::string& text) {
  return framework::ToUtf16(text).value();
}

inline KaText WidePath(const std::filesystem::path& path) {
  return path.string<KaChar>();
}

// The bytes of a file; empty when there is none.
std::string ReadFile(const std::filesystem::path& path);

// "0A0B…", two digits a byte.
std::string Hex(const void* data, size_t size);

}  // namespace karst::test
