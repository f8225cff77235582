#include "tools/kadom/InputFile.h"

#include <system_error>

namespace karst::tool {

InputFile::InputFile(const std::filesystem::path& filePath) : path(filePath), file(OpenFile(path, "rb")) {
  std::error_code error;
  if (std::filesystem::is_regular_file(path, error)) size = std::filesystem::file_size(path, error);
  if (error) size = 0;
}

size_t InputFile::Read(char* buffer, size_t count) {
  const size_t done = std::fread(buffer, 1, count, file.get());
  if (done < count && std::ferror(file.get()) != 0) throw FileFailure(path, LatestError());
  return done;
}

}  // namespace karst::tool
