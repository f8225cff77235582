// Finding and loading module libraries.
#pragma once

#include <filesystem>
#include <string>

#include "karst/KaModule.h"

namespace karst::host {

// The outcome of loading a module: the module object, or the reason why there is none.
struct LoadedModule {
  KaModule* module = nullptr;
  std::string error;  // empty on success; one sentence, UTF-8, otherwise
};

// The file name of a module library on this platform: "KaDom-v101-x64.so" or ".dll".
std::filesystem::path ModuleFileName(const std::string& name, int32_t version);

// The folder of the running program, where modules are looked for unless a host says otherwise.
std::filesystem::path ProgramFolder();

// Loads the library of the module `name`, version `version`, from `folder` and answers its module object, not attached.
// A library stays loaded until the process ends. Each way of failing has its own message: no such file, not a library
// that this process can load, no entry point KaGetModule, no module object, another version.
LoadedModule LoadModule(const std::filesystem::path& folder, const std::string& name, int32_t version);

}  // namespace karst::host
