// Files on their way to the place where the user wants them.
#pragma once

#include <filesystem>
#include <string>

#include "tools/kadom/File.h"

namespace karst::tool {

// A file beside the one that it is to become, its target: NAME.kadom-XXXXXXXXXXXXXXXX. It belongs to this process, and
// goes away with this object unless it has come to its place. When the process is killed before, the file stays until
// ClearLeftovers finds it.
//
// Where the target exists, the file is its owner's secret until it replaces the target. Operations throw Failure.
class PrivateFile {
 public:
  // `target` is no link. `shownName` is what the user calls it.
  PrivateFile(const std::filesystem::path& target, const std::string& shownName);
  PrivateFile(const PrivateFile&) = delete;
  PrivateFile& operator=(const PrivateFile&) = delete;
  ~PrivateFile() { Remove(); }

  const std::filesystem::path& Path() const { return path; }
  File& Content() { return file; }

  // Both bring the file onto the disk and into its place. Whoever else has opened it has closed it before.
  //
  // False: the place is taken; what is there stays, and so does this file.
  bool Place();
  // Replaces the target, if there is one, and takes its mode over.
  void Replace();

  // Gives the file up now.
  void Remove() noexcept;

 private:
  void Create();
  void Sync();

  const std::filesystem::path target;
  const std::string name;
  std::filesystem::path path;  // empty when there is no private file any more
  File file;
};

// Removes the private files beside `target` whose processes have ended. The caller has nothing open there.
void ClearLeftovers(const std::filesystem::path& target) noexcept;

}  // namespace karst::tool
