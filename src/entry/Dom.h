// The module object.
#pragma once

#include "karst/KaDom.h"

namespace karst::impl {

// Has no state of its own: what it attaches to is module-wide.
class Dom final : public KaDom {
 public:
  void Attach(KaHost* host) override;
  void Detach() override;
  int32_t GetVersion() override;
  bool OpenDatabase(const KaChar* path, KaDomDatabase** out) override;
};

// The one module object of the process, made on the first call and never destroyed.
KaModule* ModuleObject();

}  // namespace karst::impl
