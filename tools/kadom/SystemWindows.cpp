#if defined(_WIN32)

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <string>
#include <system_error>

#include "tools/kadom/System.h"

namespace karst::tool::system {

namespace fs = std::filesystem;

namespace {

// Another program may have a file open for a moment, to look for viruses or to index it.
constexpr int kMostTries = 20;
constexpr DWORD kPause = 50;

HANDLE HandleOf(Descriptor file) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(file));
}

// The latest error of the system as one of the C library.
void TakeError() {
  const std::error_code code(static_cast<int>(GetLastError()), std::system_category());
  const std::error_condition condition = code.default_error_condition();
  errno = condition.category() == std::generic_category() ? condition.value() : EIO;
}

Descriptor DescriptorOf(HANDLE handle, int flags) {
  if (handle != INVALID_HANDLE_VALUE) return _open_osfhandle(reinterpret_cast<intptr_t>(handle), flags | _O_BINARY);
  TakeError();
  return kNone;
}

// Everybody may open the file, rename it and remove it beside this handle: the lock tells that it is in use.
HANDLE OpenShared(const fs::path& path, DWORD disposition) {
  return CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
}

template <class Move>
bool TryToMove(Move move) {
  for (int i = 1; !move(); ++i) {
    const DWORD error = GetLastError();
    const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION;
    if (mayPass && i < kMostTries) {
      Sleep(kPause);
      continue;
    }
    TakeError();
    return false;
  }
  return true;
}

unsigned Part(size_t size) {
  return static_cast<unsigned>(std::min(size, size_t{1} << 20));
}

// The handler of the console's events runs on a thread of its own: gives it the time to note one.
void AwaitConsoleEvent() {
  Sleep(2 * kPause);
  errno = EINTR;
}

}  // namespace

Descriptor OpenToRead(const fs::path& path) {
  return _wopen(path.c_str(), _O_RDONLY | _O_BINARY);
}

Descriptor OpenToWrite(const fs::path& path) {
  return _wopen(path.c_str(), _O_WRONLY | _O_BINARY);
}

Descriptor OpenStandardOutput() {
  _setmode(_fileno(stdout), _O_BINARY);
  return _dup(_fileno(stdout));
}

ptrdiff_t Read(Descriptor file, char* buffer, size_t size) {
  SetLastError(ERROR_SUCCESS);
  const int done = _read(file, buffer, Part(size));
  if (done > 0 || GetLastError() != ERROR_OPERATION_ABORTED) return done;
  AwaitConsoleEvent();
  return -1;
}

ptrdiff_t Write(Descriptor file, const char* bytes, size_t size) {
  SetLastError(ERROR_SUCCESS);
  const int done = _write(file, bytes, Part(size));
  if (done >= 0) return done;
  const DWORD error = GetLastError();
  if (error == ERROR_NO_DATA || error == ERROR_BROKEN_PIPE || error == ERROR_PIPE_NOT_CONNECTED) errno = EPIPE;
  if (error == ERROR_OPERATION_ABORTED) AwaitConsoleEvent();
  return done;
}

void Close(Descriptor file) {
  _close(file);
}

bool Rewind(Descriptor file) {
  return _lseeki64(file, 0, SEEK_SET) == 0;
}

bool Sync(Descriptor file) {
  return _commit(file) == 0;
}

void SyncFolder(const fs::path&) {}

Descriptor CreateNew(const fs::path& path, bool) {
  return DescriptorOf(OpenShared(path, CREATE_NEW), _O_RDWR);
}

Descriptor OpenLeftover(const fs::path& path) {
  return DescriptorOf(OpenShared(path, OPEN_EXISTING), _O_RDWR);
}

bool LockForLife(Descriptor file) {
  OVERLAPPED place{};
  place.OffsetHigh = 0x7FFFFFFF;  // far beyond the end of any file
  if (LockFileEx(HandleOf(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &place)) return true;
  const DWORD error = GetLastError();
  errno = error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING ? EAGAIN : EIO;
  return false;
}

bool IsNameOf(const fs::path& path, Descriptor file) {
  FILE_STANDARD_INFO status{};
  const bool isKnown = GetFileInformationByHandleEx(HandleOf(file), FileStandardInfo, &status, sizeof status);
  return isKnown && !status.DeletePending && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<fs::path> FindNames(const fs::path& folder, const fs::path& prefix) {
  std::vector<fs::path> names;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW((folder / (prefix.native() + L"*")).c_str(), &found);
  for (bool isFound = search != INVALID_HANDLE_VALUE; isFound; isFound = FindNextFileW(search, &found)) {
    names.emplace_back(found.cFileName);
  }
  if (search != INVALID_HANDLE_VALUE) FindClose(search);
  return names;
}

bool TakeModeOf(const fs::path&, Descriptor) {
  return true;  // MoveOver sees to it
}

bool MoveToFreeName(const fs::path& from, const fs::path& to) {
  return TryToMove([&] { return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_WRITE_THROUGH) != 0; });
}

bool MoveOver(const fs::path& from, const fs::path& to) {
  return TryToMove([&] {
    // Keeps the attributes and access rights of the file that is replaced.
    if (ReplaceFileW(to.c_str(), from.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr)) return true;
    return MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
  });
}

fs::path FollowLinks(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return path;
  const HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return path;
  std::wstring followed(32768, L'\0');
  const DWORD length = GetFinalPathNameByHandleW(file, followed.data(), static_cast<DWORD>(followed.size()), 0);
  CloseHandle(file);
  if (length == 0 || length >= followed.size()) return path;
  followed.resize(length);
  return followed;
}

bool IsDeviceName(const fs::path& path) {
  std::wstring full(32768, L'\0');
  full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full.starts_with(L"\\\\.\\");
}

bool IsStandardOutput(const fs::path&) {
  return false;
}

Pipe::Pipe() {
  std::random_device random;
  writerPath = L"\\\\.\\pipe\\kadom-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(random());
  const HANDLE handle = CreateNamedPipeW(writerPath.c_str(), PIPE_ACCESS_INBOUND | FILE_FLAG_FIRST_PIPE_INSTANCE,
                                         PIPE_TYPE_BYTE | PIPE_REJECT_REMOTE_CLIENTS, 1, 0, DWORD{1} << 16, 0, nullptr);
  readEnd = DescriptorOf(handle, _O_RDONLY);
  if (readEnd == kNone) throw std::system_error(errno, std::generic_category());
}

Pipe::~Pipe() {
  Close(readEnd);
}

ptrdiff_t Pipe::Read(char* buffer, size_t size) {
  const HANDLE handle = HandleOf(readEnd);
  // Without a writer it waits for one. A writer that has come, and perhaps gone, is no error.
  if (!ConnectNamedPipe(handle, nullptr) && GetLastError() == ERROR_OPERATION_ABORTED) {
    AwaitConsoleEvent();
    return -1;
  }
  DWORD done = 0;
  if (ReadFile(handle, buffer, Part(size), &done, nullptr)) return done;
  const DWORD error = GetLastError();
  if (error == ERROR_BROKEN_PIPE) return 0;
  TakeError();
  if (error == ERROR_OPERATION_ABORTED) AwaitConsoleEvent();
  return -1;
}

void Pipe::EndWriting() {
  // A reader still waits for a writer that has not come.
  const HANDLE handle = CreateFileW(writerPath.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (handle != INVALID_HANDLE_VALUE) CloseHandle(handle);
}

}  // namespace karst::tool::system

#endif
