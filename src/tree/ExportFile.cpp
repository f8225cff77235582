#include "src/tree/ExportFile.h"

#if !defined(_WIN32)
#include <string>
#endif

namespace karst::impl {

namespace {

#if defined(_WIN32)

std::FILE* OpenForWriting(const KaChar* path) {
  std::FILE* stream = nullptr;
  return _wfopen_s(&stream, path, L"wb") == 0 ? stream : nullptr;
}

#else

constexpr bool IsHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit < 0xDC00;
}
constexpr bool IsLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit < 0xE000;
}

void AppendUtf8(char32_t character, std::string* bytes) {
  const auto tail = [character](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) {
    *bytes += static_cast<char>(character);
  } else if (character < 0x800) {
    *bytes += {static_cast<char>(0xC0 | (character >> 6)), tail(0)};
  } else if (character < 0x10000) {
    *bytes += {static_cast<char>(0xE0 | (character >> 12)), tail(6), tail(0)};
  } else {
    *bytes += {static_cast<char>(0xF0 | (character >> 18)), tail(12), tail(6), tail(0)};
  }
}

// File names are bytes here, by convention UTF-8. A path with an unpaired surrogate names no file.
std::FILE* OpenForWriting(const KaChar* path) {
  std::string bytes;
  for (; *path != 0; ++path) {
    char32_t character = *path;
    if (IsHighSurrogate(character) && IsLowSurrogate(path[1])) {
      character = 0x10000 + ((character - 0xD800) << 10) + (*++path - 0xDC00U);
    } else if (IsHighSurrogate(character) || IsLowSurrogate(character)) {
      return nullptr;
    }
    AppendUtf8(character, &bytes);
  }
  return std::fopen(bytes.c_str(), "wb");
}

#endif

}  // namespace

ExportFile::ExportFile(const KaChar* path) : stream(OpenForWriting(path)) {}

ExportFile::~ExportFile() {
  // Errors while writing are not reported: a reader of the file sees them.
  if (stream != nullptr) std::fclose(stream);
}

}  // namespace karst::impl
