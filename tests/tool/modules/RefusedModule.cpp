// A library that no host accepts: KADOM_ENTRY names its one function, which has no module object to hand out.
#include "karst/KaModule.h"

#if defined(_WIN32)
#define KA_EXPORT __declspec(dllexport)
#else
#define KA_EXPORT __attribute__((visibility("default")))
#endif

extern "C" KA_EXPORT karst::KaModule* KADOM_ENTRY();

karst::KaModule* KADOM_ENTRY() {
  return nullptr;
}
