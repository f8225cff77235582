#include "framework/host/ModuleLibrary.h"

#include <cstdio>
#include <system_error>
#include <utility>

#include "common/PathText.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace karst::host {

namespace {

constexpr char kEntryPoint[] = "KaGetModule";

std::string VersionText(int32_t version) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%03d", version);
  return digits;
}

// One library of the process. It stays loaded unless Unload is called.
#if defined(_WIN32)

constexpr char kLibraryExtension[] = ".dll";

class Library {
 public:
  explicit Library(const std::filesystem::path& path) : handle(LoadLibraryW(path.c_str())) {
    if (handle == nullptr) error = std::system_category().message(static_cast<int>(GetLastError()));
  }
  explicit operator bool() const { return handle != nullptr; }
  const std::string& Error() const { return error; }
  KaGetModuleFunction EntryPoint() const {
    return reinterpret_cast<KaGetModuleFunction>(reinterpret_cast<void*>(GetProcAddress(handle, kEntryPoint)));
  }
  void Unload() { FreeLibrary(handle); }

 private:
  HMODULE handle;
  std::string error;
};

#else

constexpr char kLibraryExtension[] = ".so";

class Library {
 public:
  explicit Library(const std::filesystem::path& path) : handle(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle != nullptr) return;
    const char* reason = dlerror();
    error = reason != nullptr ? reason : "unknown reason";
  }
  explicit operator bool() const { return handle != nullptr; }
  const std::string& Error() const { return error; }
  KaGetModuleFunction EntryPoint() const { return reinterpret_cast<KaGetModuleFunction>(dlsym(handle, kEntryPoint)); }
  void Unload() { dlclose(handle); }

 private:
  void* handle;
  std::string error;
};

#endif

}  // namespace

std::filesystem::path ModuleFileName(const std::string& name, int32_t version) {
  return common::PathFromText(name + "-v" + VersionText(version) + "-x64" + kLibraryExtension);
}

std::filesystem::path ProgramFolder() {
#if defined(_WIN32)
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = 0;
  while ((length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()))) == path.size()) {
    path.resize(path.size() * 2);
  }
  path.resize(length);
  return std::filesystem::path(path).parent_path();
#else
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
#endif
}

LoadedModule LoadModule(const std::filesystem::path& folder, const std::string& name, int32_t version) {
  // An absolute path, so that the system never looks in folders of its own.
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(folder, error) / ModuleFileName(name, version);
  const auto refuse = [&](const std::string& reason) {
    return LoadedModule{nullptr, "Module " + name + " v" + VersionText(version) + ": " + reason};
  };
  const std::string file = "\"" + common::PathText(path) + "\"";

  if (!std::filesystem::exists(path, error)) return refuse("there is no file " + file + ".");
  Library library(path);
  if (!library) return refuse(file + " is not a library that can be loaded here: " + library.Error() + ".");
  const KaGetModuleFunction getModule = library.EntryPoint();
  if (getModule == nullptr) {
    library.Unload();
    return refuse(file + " is not a module: it has no function " + kEntryPoint + ".");
  }
  KaModule* module = getModule();
  if (module == nullptr) return refuse(file + " handed out no module object.");
  if (module->GetVersion() != version) {
    return refuse(file + " holds version " + VersionText(module->GetVersion()) + ".");
  }
  return {module, {}};
}

}  // namespace karst::host
