// A small host: what a program needs to use modules.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "karst/KaHost.h"
#include "framework/host/Logger.h"
#include "framework/host/ModuleLibrary.h"
#include "framework/host/StringFactory.h"

namespace karst::host {

// Finds and loads modules, hands out memory and strings, and takes the log.
//
// A module belongs to one host at a time, so a program has one Host at a time. It outlives every object that its
// modules handed out, and is used by one thread at a time. Nothing that modules call throws when memory ends: the
// answer is null or false.
class Host final : public KaHost {
 public:
  // Modules are looked for in `folder`.
  explicit Host(std::filesystem::path folder = ProgramFolder());
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  // Detaches the modules that this host attached, the latest first.
  ~Host();

  // The module of that name and version: one that was provided, or else the one in the module folder, which is loaded
  // and attached to this host at the first call. The same pointer at every call. Null: LastError says why; nothing is
  // logged, and the next call tries again.
  KaModule* GetModule(const char* name, int32_t version) override;

  // The same, as the interface `Interface`. Null also for a module that is of another kind.
  template <class Interface>
  Interface* GetModuleAs(const char* name, int32_t version) {
    KaModule* module = GetModule(name, version);
    if (module == nullptr) return nullptr;
    auto* typed = dynamic_cast<Interface*>(module);
    if (typed == nullptr) lastError = std::string("Module ") + name + " is not of the kind that was asked for.";
    return typed;
  }

  // Answers `module`, borrowed, for that name and version from now on, in place of any library. A provided module is
  // never attached or detached by the host. A null `module` takes the provision back.
  void Provide(const std::string& name, int32_t version, KaModule* module);

  // Why the latest GetModule that failed did so: one sentence; empty when none has failed.
  const std::string& LastError() const { return lastError; }

  // Blocks of the C library's heap.
  void* Allocate(uint64_t size) override;
  void Free(void* block) override;

  StringFactory* GetStringFactory() override { return &stringFactory; }
  Logger* GetLogger() override { return &logger; }

 private:
  using ModuleKey = std::pair<std::string, int32_t>;

  void Unlisted0() override {}
  void Unlisted1() override {}
  void Unlisted2() override {}
  void Unlisted3() override {}
  void Unlisted4() override {}
  void Unlisted7() override {}
  void Unlisted8() override {}
  void Unlisted9() override {}
  void Unlisted11() override {}

  KaModule* FindModule(const char* name, int32_t version);

  const std::filesystem::path moduleFolder;
  std::string lastError;
  Logger logger;
  StringFactory stringFactory;
  std::map<ModuleKey, KaModule*> provided;
  std::map<ModuleKey, KaModule*> loaded;
  std::vector<KaModule*> attached;  // in the order in which attaching ended: a module after those that it asked for
};

}  // namespace karst::host
