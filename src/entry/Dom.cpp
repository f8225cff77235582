#include "src/entry/Dom.h"

#include "src/database/DomDatabase.h"
#include "src/module/WhileAttached.h"

namespace karst::impl {

void Dom::Attach(KaHost* host) {
  AttachTo(host);
}

void Dom::Detach() {
  impl::Detach();
}

int32_t Dom::GetVersion() {
  return kModuleVersion;
}

bool Dom::OpenDatabase(const KaChar* path, KaDomDatabase** out) {
  if (path == nullptr || out == nullptr) return false;
  return WhileAttached([&] {
    KaSmartPtr<DomDatabase> database(new DomDatabase);
    if (!database->Open(path)) return false;
    HandOut(database.Get(), out);
    return true;
  });
}

KaModule* ModuleObject() {
  static Dom dom;  // has no destructor to run
  return &dom;
}

}  // namespace karst::impl
