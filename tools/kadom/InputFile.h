// A file that is read from front to back.
#pragma once

#include <cstdint>
#include <filesystem>

#include "tools/kadom/Files.h"

namespace karst::tool {

class InputFile {
 public:
  // Throws Failure when the file cannot be opened for reading.
  explicit InputFile(const std::filesystem::path& filePath);

  // Reads up to `count` bytes; 0 at the end of the file. Throws Failure when reading fails.
  size_t Read(char* buffer, size_t count);

  // The size in bytes; 0 when it is not known, as for a pipe.
  uint64_t Size() const { return size; }

 private:
  std::filesystem::path path;
  File file;
  uint64_t size = 0;
};

}  // namespace karst::tool
