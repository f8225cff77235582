#include "tools/kadom/Files.h"

#include <cerrno>
#include <system_error>

#include "framework/host/PathText.h"

namespace karst::tool {

File OpenFile(const std::filesystem::path& path, const char* mode) {
#if defined(_WIN32)
  const std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
  File file(_wfopen(path.c_str(), wideMode.c_str()));
#else
  File file(std::fopen(path.c_str(), mode));
#endif
  if (file == nullptr) throw FileFailure(path, LatestError());
  return file;
}

Failure FileFailure(const std::filesystem::path& path, const std::string& reason) {
  return Failure(host::PathText(path) + ": " + reason);
}

std::string LatestError() {
  return std::error_code(errno, std::generic_category()).message();
}

}  // namespace karst::tool
