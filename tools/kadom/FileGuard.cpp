#include "tools/kadom/FileGuard.h"

#include <system_error>
#include <utility>

#include "framework/host/PathText.h"
#include "tools/kadom/Failure.h"

namespace karst::tool {

namespace fs = std::filesystem;

fs::path FileGuard::BackupPath() const {
  fs::path backup = file;
  return backup += "-before-import";
}

void FileGuard::Arm(const fs::path& guarded) {
  std::error_code error;
  existed = fs::exists(guarded, error);
  file = existed ? fs::canonical(guarded, error) : guarded;  // a link stays a link
  size = existed ? fs::file_size(file, error) : 0;
  if (!error && size > 0) fs::copy_file(file, BackupPath(), error);
  if (error) {
    const std::string name = host::PathText(std::exchange(file, {}));
    throw Failure(name + ": cannot be copied before it is changed: " + error.message());
  }
}

void FileGuard::Disarm() {
  std::error_code error;
  if (size > 0) fs::remove(BackupPath(), error);
  file.clear();
}

FileGuard::~FileGuard() {
  if (file.empty()) return;
  std::error_code error;
  fs::path journal = file;
  fs::remove(journal += "-journal", error);
  if (!existed) {
    fs::remove(file, error);
  } else if (size == 0) {
    fs::resize_file(file, 0, error);
  } else {
    fs::rename(BackupPath(), file, error);
  }
}

}  // namespace karst::tool
