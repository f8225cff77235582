// Files of the C library, by path.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "tools/kadom/Failure.h"

namespace karst::tool {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Opens a file in a binary mode: "rb", "ab". Throws Failure in the system's own words when that fails.
File OpenFile(const std::filesystem::path& path, const char* mode);

// "PATH: reason".
Failure FileFailure(const std::filesystem::path& path, const std::string& reason);

// The system's words for the latest error of the C library.
std::string LatestError();

}  // namespace karst::tool
