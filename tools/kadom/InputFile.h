// A file that is read from front to back.
#pragma once

#include <cstdint>
#include <filesystem>

#include "tools/kadom/File.h"

namespace karst::tool {

class InputFile {
 public:
  // Throws Failure when the file cannot be opened for reading. Waits for the writer of a FIFO.
  explicit InputFile(const std::filesystem::path& path);

  // Reads `count` bytes, and fewer only at the end of the file. Throws Failure when reading fails.
  size_t Read(char* buffer, size_t count);

  // Whether the file can be read again, from its front on, and is from now on. A pipe cannot.
  bool Rewind();

  // The size in bytes; 0 when it is not known, as for a pipe.
  uint64_t Size() const { return size; }

 private:
  File file;
  bool isPlain = false;
  bool isAtEnd = false;
  uint64_t size = 0;
};

}  // namespace karst::tool
