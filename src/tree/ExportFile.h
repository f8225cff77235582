// The file that an export writes.
#pragma once

#include <cstdio>

#include "karst/KaTypes.h"

namespace karst::impl {

// A file created or emptied for writing, and closed when the guard ends. Nothing translates its bytes.
class ExportFile {
 public:
  explicit ExportFile(const KaChar* path);
  ExportFile(const ExportFile&) = delete;
  ExportFile& operator=(const ExportFile&) = delete;
  ~ExportFile();

  bool IsOpen() const { return stream != nullptr; }
  std::FILE* Stream() const { return stream; }

 private:
  std::FILE* const stream;
};

}  // namespace karst::impl
