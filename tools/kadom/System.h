// What the tool asks of the operating system about files.
#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

namespace karst::tool::system {

// A descriptor of the C library, on every platform. What answers a negative number or false tells the reason in errno.
using Descriptor = int;
constexpr Descriptor kNone = -1;

// These may wait: a FIFO for its other end, a terminal for its user. A signal ends the waiting with EINTR.
Descriptor OpenToRead(const std::filesystem::path& path);
Descriptor OpenToWrite(const std::filesystem::path& path);  // something that exists; nothing in it is removed
// A descriptor of its own.
Descriptor OpenStandardOutput();
ptrdiff_t Read(Descriptor file, char* buffer, size_t size);
ptrdiff_t Write(Descriptor file, const char* bytes, size_t size);

void Close(Descriptor file);
// Back to the front of the file.
bool Rewind(Descriptor file);
// Returns when the file is on the disk.
bool Sync(Descriptor file);
// The same for the names in a folder, where there is such a thing.
void SyncFolder(const std::filesystem::path& folder);

// Creates a file and opens it for writing. With `isSecret` nobody but its owner can read it, where files
// have modes. EEXIST: there is one.
Descriptor CreateNew(const std::filesystem::path& path, bool isSecret);
// Opens a file that CreateNew has made, to remove it if nobody uses it.
Descriptor OpenLeftover(const std::filesystem::path& path);
// Takes a lock on the file that lasts until the descriptor is closed or the process has ended. It does not meet the
// locks of a database engine. False with EAGAIN: somebody else has it.
bool LockForLife(Descriptor file);
// Whether the path still names the file of the descriptor.
bool IsNameOf(const std::filesystem::path& path, Descriptor file);

// The names in a folder that begin with a prefix, and perhaps others. None when the folder cannot be read.
std::vector<std::filesystem::path> FindNames(const std::filesystem::path& folder, const std::filesystem::path& prefix);

// Gives the file the mode and, where that is allowed, the owner of another.
bool TakeModeOf(const std::filesystem::path& other, Descriptor file);
// Renames a file, and never replaces another: false with EEXIST when there is one.
bool MoveToFreeName(const std::filesystem::path& from, const std::filesystem::path& to);
// Renames a file, over another if there is one.
bool MoveOver(const std::filesystem::path& from, const std::filesystem::path& to);

// Where a path leads when every link is followed, also one to a file that does not exist. What cannot be followed is
// answered as it is.
std::filesystem::path FollowLinks(const std::filesystem::path& path);
// Whether a path is the name of a device by itself, wherever it stands, as NUL is on Windows.
bool IsDeviceName(const std::filesystem::path& path);
// Whether a path leads to what standard output is.
bool IsStandardOutput(const std::filesystem::path& path);

// A pipe with a path at which its other end is opened for writing, once.
class Pipe {
 public:
  // Throws std::system_error when there can be none.
  Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe();

  const std::filesystem::path& WriterPath() const { return writerPath; }
  // As for a descriptor; 0 when the writer has ended.
  ptrdiff_t Read(char* buffer, size_t size);
  // The writer has ended, or has not come at all. May be called on another thread than Read.
  void EndWriting();

 private:
  std::filesystem::path writerPath;
  Descriptor readEnd = kNone;
  Descriptor writeEnd = kNone;
};

}  // namespace karst::tool::system
