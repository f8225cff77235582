#if !defined(_WIN32)

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "tools/kadom/System.h"

namespace karst::tool::system {

namespace fs = std::filesystem;

namespace {

struct stat StatusOf(Descriptor file) {
  struct stat status {};
  fstat(file, &status);
  return status;
}

bool IsSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace

Descriptor OpenToRead(const fs::path& path) {
  return open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC);
}

Descriptor OpenToWrite(const fs::path& path) {
  return open(path.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
}

Descriptor OpenStandardOutput() {
  return fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
}

ptrdiff_t Read(Descriptor file, char* buffer, size_t size) {
  return read(file, buffer, size);
}

ptrdiff_t Write(Descriptor file, const char* bytes, size_t size) {
  return write(file, bytes, size);
}

void Close(Descriptor file) {
  close(file);
}

bool Rewind(Descriptor file) {
  return lseek(file, 0, SEEK_SET) == 0;
}

bool Sync(Descriptor file) {
  return fsync(file) == 0;
}

void SyncFolder(const fs::path& folder) {
  const Descriptor opened = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened == kNone) return;
  fsync(opened);
  close(opened);
}

Descriptor CreateNew(const fs::path& path, bool isSecret) {
  return open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, isSecret ? 0600 : 0666);
}

Descriptor OpenLeftover(const fs::path& path) {
  const Descriptor file = open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file == kNone || S_ISREG(StatusOf(file).st_mode)) return file;
  close(file);
  return kNone;
}

// A byte far beyond the end of any file: the engine locks others. Such a lock belongs to the descriptor, and stays when
// another one of the same file is closed.
bool LockForLife(Descriptor file) {
#if defined(F_OFD_SETLK)
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = std::numeric_limits<off_t>::max() - 1;
  lock.l_len = 1;
  const bool isTaken = fcntl(file, F_OFD_SETLK, &lock) == 0;
#else
  const bool isTaken = flock(file, LOCK_EX | LOCK_NB) == 0;
#endif
  if (!isTaken && errno == EACCES) errno = EAGAIN;
  return isTaken;
}

bool IsNameOf(const fs::path& path, Descriptor file) {
  struct stat named {};
  return lstat(path.c_str(), &named) == 0 && IsSameFile(named, StatusOf(file));
}

std::vector<fs::path> FindNames(const fs::path& folder, const fs::path& prefix) {
  struct CloseFolder {
    void operator()(DIR* opened) const { closedir(opened); }
  };
  std::vector<fs::path> names;
  const std::unique_ptr<DIR, CloseFolder> opened(opendir(folder.empty() ? "." : folder.c_str()));
  while (const dirent* entry = opened == nullptr ? nullptr : readdir(opened.get())) {
    if (std::string_view(entry->d_name).starts_with(prefix.native())) names.emplace_back(entry->d_name);
  }
  return names;
}

bool TakeModeOf(const fs::path& other, Descriptor file) {
  struct stat status {};
  if (stat(other.c_str(), &status) != 0) return errno == ENOENT;
  // What was granted to a group that the file cannot have is granted to no other one. Changing the owner clears bits of
  // the mode, so the mode comes last.
  const bool hasGroup = fchown(file, status.st_uid, status.st_gid) == 0 ||
                        fchown(file, static_cast<uid_t>(-1), status.st_gid) == 0 ||
                        StatusOf(file).st_gid == status.st_gid;
  return fchmod(file, status.st_mode & (hasGroup ? 07777U : 01707U)) == 0;
}

bool MoveToFreeName(const fs::path& from, const fs::path& to) {
#if defined(RENAME_NOREPLACE)
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
#endif
  if (link(from.c_str(), to.c_str()) != 0) return false;
  unlink(from.c_str());  // a second name that stays is cleared away like any private file
  return true;
}

bool MoveOver(const fs::path& from, const fs::path& to) {
  return rename(from.c_str(), to.c_str()) == 0;
}

fs::path FollowLinks(const fs::path& path) {
  constexpr int kMostLinks = 40;
  std::error_code error;
  fs::path followed = path;
  for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(followed, error)); ++i) {
    const fs::path target = fs::read_symlink(followed, error);
    if (error) return path;
    followed = followed.parent_path() / target;
  }
  // Links of the system to open files do not say where they lead.
  const bool isWrong = fs::exists(path, error) && !fs::equivalent(path, followed, error);
  return isWrong ? path : followed;
}

bool IsDeviceName(const fs::path&) {
  return false;
}

bool IsStandardOutput(const fs::path& path) {
  struct stat named {};
  struct stat output {};
  return stat(path.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &output) == 0 && IsSameFile(named, output);
}

Pipe::Pipe() {
  Descriptor ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
  readEnd = ends[0];
  writeEnd = ends[1];
  writerPath = "/dev/fd/" + std::to_string(writeEnd);
}

Pipe::~Pipe() {
  close(readEnd);
  EndWriting();
}

ptrdiff_t Pipe::Read(char* buffer, size_t size) {
  return read(readEnd, buffer, size);
}

void Pipe::EndWriting() {
  if (writeEnd != kNone) close(writeEnd);
  writeEnd = kNone;
}

}  // namespace karst::tool::system

#endif
