#include "tests/support/Text.h"

#include <cstdint>
#include <fstream>
#include <iterator>

namespace karst::test {

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string Hex(const void* data, size_t size) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    const uint8_t byte = static_cast<const uint8_t*>(data)[i];
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

}  // namespace karst::test
