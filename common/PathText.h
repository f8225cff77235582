// Paths as the texts that messages and interfaces use.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace karst::common {

// A path as UTF-8, for messages.
inline std::string PathText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

// The path that a UTF-8 text names.
inline std::filesystem::path PathFromText(std::string_view text) {
  return {std::u8string(text.begin(), text.end())};
}

}  // namespace karst::common
