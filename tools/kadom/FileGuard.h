// Puts a database file back as it was when filling it has failed.
#pragma once

#include <cstdint>
#include <filesystem>

namespace karst::tool {

// For a file that does not exist yet or holds no tables: laying out a DOM database changes it before the import's
// transaction begins. Declare it before the session, so that the file is closed when it is put back.
class FileGuard {
 public:
  FileGuard() = default;
  FileGuard(const FileGuard&) = delete;
  FileGuard& operator=(const FileGuard&) = delete;
  ~FileGuard();

  // From now on the file is put back in the end. Throws Failure when it cannot be remembered.
  void Arm(const std::filesystem::path& guarded);

  // The file keeps what it has now.
  void Disarm();

 private:
  std::filesystem::path BackupPath() const;

  std::filesystem::path file;  // empty when not armed
  bool existed = false;
  uintmax_t size = 0;  // a file that is not empty is copied beside itself
};

}  // namespace karst::tool
