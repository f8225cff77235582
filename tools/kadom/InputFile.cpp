#include "tools/kadom/InputFile.h"

#include <system_error>

namespace karst::tool {

InputFile::InputFile(const std::filesystem::path& path) : file(File::OpenToRead(path)) {
  std::error_code error;
  isPlain = std::filesystem::is_regular_file(path, error);
  if (isPlain) size = std::filesystem::file_size(path, error);
  if (error) size = 0;
}

}  // namespace karst::tool
