// Conversions between what tests write and what the interfaces take.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "common/Utf.h"

namespace karst::test {

using common::KaText;

// UTF-16 as UTF-8 for comparing and printing; "<null>" and "<unpaired surrogate>" where there is none.
inline std::string Narrow(const KaChar* text) {
  if (text == nullptr) return "<null>";
  return common::ToUtf8(text).value_or("<unpaired surrogate>");
}

inline KaText Wide(const std::string& text) {
  return common::ToUtf16(text).value();
}

inline KaText WidePath(const std::filesystem::path& path) {
  return path.string<KaChar>();
}

// The text with `to` in place of each `from`.
inline std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// How often `part` is in `text`.
inline size_t CountOf(const std::string& part, const std::string& text) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

// The bytes of a file; empty when there is none.
inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A new folder, removed with everything in it at the end.
class TempFolder {
 public:
  explicit TempFolder(const std::u16string& name = u"kadom-\u00e4\u6f22-")
      : path(std::filesystem::temp_directory_path() /
             std::filesystem::path(name).concat(std::to_string(std::random_device()()))) {
    std::filesystem::create_directories(path);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;  // a file that cannot be removed fails no test
    std::filesystem::remove_all(path, ignored);
  }

  const std::filesystem::path path;
};

// "0A0B…", two digits a byte.
inline std::string Hex(const void* data, size_t size) {
  std::string text;
  for (const auto* byte = static_cast<const uint8_t*>(data); size > 0; ++byte, --size) {
    text += "0123456789ABCDEF"[*byte >> 4];
    text += "0123456789ABCDEF"[*byte & 15];
  }
  return text;
}

}  // namespace karst::test
