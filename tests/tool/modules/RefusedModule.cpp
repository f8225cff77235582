// A library that no host accepts: KADOM_ENTRY names its one function, which has no module object to hand out.
#include "karst/KaModule.h"
#include "common/Export.h"

extern "C" KA_EXPORT karst::KaModule* KADOM_ENTRY();

karst::KaModule* KADOM_ENTRY() {
  return nullptr;
}
