// What every module of the framework implements, and how a host gets at it.
#pragma once

#include "karst/KaTypes.h"

namespace karst {

class KaHost;

// A module: one loadable library with one exported function, KaGetModule. Modules are not counted; the module object
// lives until the process ends.
//
// A host converts the pointer to the module's own interface with dynamic_cast, so host and modules share one C++ ABI
// with run-time type information.
class KaModule {
 public:
  // Slot 0. Connects the module with its host, which stays borrowed until Detach. An earlier host is overwritten.
  // `host` must not be null. May be called only while no other call into the module is running.
  virtual void Attach(KaHost* host) = 0;
  // Slot 1. Forgets the host. Releases nothing: the caller has released every object that it got from the module.
  virtual void Detach() = 0;
  // Slot 2. The version of the module, attached or not: 101 for version 1.01.
  virtual int32_t GetVersion() = 0;
};

// The one function that a module library exports, under the plain name "KaGetModule". Never null; every call answers
// the same object. Safe against concurrent first calls.
using KaGetModuleFunction = KaModule* (*)();

}  // namespace karst
