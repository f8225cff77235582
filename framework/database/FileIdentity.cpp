#include "framework/database/FileIdentity.h"

#if defined(_WIN32)
#if !defined(NOMINMAX)  // MinGW's library defines it
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace karst::database {

#if defined(_WIN32)

std::optional<FileIdentity> IdentityOf(sqlite3* engine) {
  HANDLE handle = nullptr;
  BY_HANDLE_FILE_INFORMATION information{};
  if (sqlite3_file_control(engine, "main", SQLITE_FCNTL_WIN32_GET_HANDLE, &handle) != SQLITE_OK ||
      GetFileInformationByHandle(handle, &information) == 0) {
    return std::nullopt;
  }
  return FileIdentity{information.dwVolumeSerialNumber,
                      (uint64_t{information.nFileIndexHigh} << 32U) | information.nFileIndexLow};
}

#else

std::optional<FileIdentity> IdentityOf(sqlite3* engine) {
  struct stat information {};
  if (stat(sqlite3_db_filename(engine, "main"), &information) != 0) return std::nullopt;
  return FileIdentity{information.st_dev, information.st_ino};
}

#endif

}  // namespace karst::database
