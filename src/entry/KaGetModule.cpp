// The library's one export. Its entry point is the runtime's own: it does nothing of ours and reports success.
#include "common/Export.h"
#include "src/entry/Dom.h"

extern "C" KA_EXPORT karst::KaModule* KaGetModule();

karst::KaModule* KaGetModule() {
  return karst::impl::ModuleObject();
}
