#include "tools/kadom/PrivateFile.h"

#include <algorithm>
#include <cerrno>
#include <random>
#include <system_error>

namespace karst::tool {

namespace fs = std::filesystem;

namespace {

constexpr size_t kDigits = 16;
// What is longer leaves no room for the ending in the name of a file.
constexpr size_t kMostOfName = 200;

using Name = fs::path::string_type;

bool IsDigit(fs::path::value_type c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

// Whether a unit goes on with a character that the one before it began.
bool GoesOn(fs::path::value_type unit) {
#if defined(_WIN32)
  return unit >= 0xDC00 && unit < 0xE000;
#else
  return (static_cast<unsigned char>(unit) & 0xC0U) == 0x80U;
#endif
}

// What the names of all private files of a target begin with.
Name PrefixFor(const fs::path& target) {
  const Name name = target.filename().native();
  size_t length = std::min(name.size(), kMostOfName);
  while (length > 0 && length < name.size() && GoesOn(name[length])) --length;
  return name.substr(0, length) + fs::path(".kadom-").native();
}

fs::path RandomName(const fs::path& target) {
  std::random_device random;
  Name name = PrefixFor(target);
  for (size_t i = 0; i < kDigits; ++i) name += static_cast<fs::path::value_type>("0123456789abcdef"[random() % 16]);
  return target.parent_path() / name;
}

bool IsPrivateName(const Name& name, const Name& prefix) {
  return name.size() == prefix.size() + kDigits && name.starts_with(prefix) &&
         std::all_of(name.begin() + static_cast<ptrdiff_t>(prefix.size()), name.end(), IsDigit);
}

void RemoveIfDead(const fs::path& path) {
  const system::Descriptor file = system::OpenLeftover(path);
  if (file == system::kNone) return;
  std::error_code error;
  if (system::LockForLife(file) && system::IsNameOf(path, file)) fs::remove(path, error);
  system::Close(file);
}

}  // namespace

PrivateFile::PrivateFile(const fs::path& targetPath, const std::string& shownName)
    : target(targetPath), name(shownName), file(system::kNone, shownName) {
  Create();
}

void PrivateFile::Create() {
  std::error_code error;
  const bool isSecret = fs::exists(target, error);
  for (;;) {
    path = RandomName(target);
    const system::Descriptor made = system::CreateNew(path, isSecret);
    if (made == system::kNone && errno == EEXIST) continue;
    if (made == system::kNone) throw LatestFileFailure(name);
    // Whoever clears the folder may have come before the lock. Where there are no locks, nobody clears.
    if ((system::LockForLife(made) || errno != EAGAIN) && system::IsNameOf(path, made)) {
      file.Take(made);
      return;
    }
    system::Close(made);
  }
}

void PrivateFile::Sync() {
  if (!system::Sync(file.Get())) throw LatestFileFailure(name);
}

bool PrivateFile::Place() {
  Sync();
  if (!system::MoveToFreeName(path, target)) {
    if (errno == EEXIST) return false;
    throw LatestFileFailure(name);
  }
  path.clear();
  system::SyncFolder(target.parent_path());
  return true;
}

void PrivateFile::Replace() {
  if (!system::TakeModeOf(target, file.Get())) throw LatestFileFailure(name);
  Sync();
  if (!system::MoveOver(path, target)) throw LatestFileFailure(name);
  path.clear();
  system::SyncFolder(target.parent_path());
}

void PrivateFile::Remove() noexcept {
  std::error_code error;
  if (!path.empty()) fs::remove(path, error);
  path.clear();
  file.Close();
}

void ClearLeftovers(const fs::path& target) noexcept {
  try {
    const Name prefix = PrefixFor(target);
    const fs::path folder = target.parent_path();
    for (const fs::path& name : system::FindNames(folder, prefix)) {
      if (IsPrivateName(name.native(), prefix)) RemoveIfDead(folder / name);
    }
  } catch (const std::bad_alloc&) {
    // The next command clears.
  }
}

}  // namespace karst::tool
