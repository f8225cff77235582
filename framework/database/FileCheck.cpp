#include "framework/database/FileCheck.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace karst::database {

namespace {

constexpr uintmax_t kSmallestPage = 512;

}  // namespace

const char* RefusalOf(const std::string& path) {
  const std::filesystem::path name(std::u8string(path.begin(), path.end()));
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(name, error);
  if (!std::filesystem::status_known(status) || !std::filesystem::exists(status)) return nullptr;
  if (!std::filesystem::is_regular_file(status)) return "this is not a plain file";
  const uintmax_t size = std::filesystem::file_size(name, error);
  return !error && size > 0 && size < kSmallestPage ? "this is too short for a database" : nullptr;
}

}  // namespace karst::database
