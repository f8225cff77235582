#include "tools/kadom/InputFile.h"

#include <system_error>

namespace karst::tool {

InputFile::InputFile(const std::filesystem::path& path) : file(File::OpenToRead(path)) {
  std::error_code error;
  isPlain = std::filesystem::is_regular_file(path, error);
  if (isPlain) size = std::filesystem::file_size(path, error);
  if (error) size = 0;
}

size_t InputFile::Read(char* buffer, size_t count) {
  size_t done = 0;
  while (done < count && !isAtEnd) {
    const size_t size = file.Read(buffer + done, count - done);
    isAtEnd = size == 0;
    done += size;
  }
  return done;
}

bool InputFile::Rewind() {
  isAtEnd = false;
  return isPlain && system::Rewind(file.Get());
}

}  // namespace karst::tool
