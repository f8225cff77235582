// The library's one export. Its entry point is the runtime's own: it does nothing of ours and reports success.
#include "src/module/Dom.h"

#if defined(_WIN32)
#define KA_EXPORT __declspec(dllexport)
#else
#define KA_EXPORT __attribute__((visibility("default")))
#endif

extern "C" KA_EXPORT karst::KaModule* KaGetModule();

karst::KaModule* KaGetModule() {
  return karst::impl::ModuleObject();
}
