#include "framework/host/Host.h"

#include <cstdint>
#include <cstdlib>

#include "common/OutOfMemory.h"

namespace karst::host {

Host::Host(std::filesystem::path folder) : moduleFolder(std::move(folder)), stringFactory(*this) {}

Host::~Host() {
  for (auto module = attached.rbegin(); module != attached.rend(); ++module) (*module)->Detach();
}

KaModule* Host::GetModule(const char* name, int32_t version) {
  if (name == nullptr) {
    lastError = "A module was asked for without a name.";
    return nullptr;
  }
  KaModule* module = nullptr;
  // Short enough to need no memory.
  if (!impl::RunWithinMemory([&] { module = FindModule(name, version); })) lastError = "Out of memory.";
  return module;
}

KaModule* Host::FindModule(const char* name, int32_t version) {
  const ModuleKey key(name, version);
  if (const auto found = provided.find(key); found != provided.end()) return found->second;
  if (const auto found = loaded.find(key); found != loaded.end()) return found->second;

  LoadedModule library = LoadModule(moduleFolder, name, version);
  if (library.module == nullptr) {
    lastError = std::move(library.error);
    return nullptr;
  }
  // Each loaded module has its place among the attached ones before it is attached.
  attached.reserve(loaded.size() + 1);
  // Remembered before it is attached: attaching asks for further modules, which may ask for this one.
  loaded.emplace(key, library.module);
  library.module->Attach(this);
  attached.push_back(library.module);
  return library.module;
}

void Host::Provide(const std::string& name, int32_t version, KaModule* module) {
  if (module == nullptr) {
    provided.erase({name, version});
  } else {
    provided[{name, version}] = module;
  }
}

void* Host::Allocate(uint64_t size) {
  if (size > SIZE_MAX) return nullptr;
  // A block of no bytes is a block too.
  return std::malloc(size != 0 ? static_cast<size_t>(size) : 1);
}

void Host::Free(void* block) {
  std::free(block);
}

}  // namespace karst::host
