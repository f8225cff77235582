// Feeds any bytes to everything that reads attribute records.
#include <cstdio>
#include <cstdlib>

#include "src/module/Attachment.h"
#include "tests/support/RecordingHost.h"
#include "tests/values/RecordLaws.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace karst::test;
  static CallLog calls;
  static RecordingHost host(calls);
  karst::impl::AttachTo(&host);
  host.TakeLog();
  calls.Take();
  const std::string broken = BrokenLaw(Bytes(data, data + size)) + calls.Imbalance() + host.TakeLog();
  if (!broken.empty()) {
    std::fprintf(stderr, "%s\n", broken.c_str());
    std::abort();
  }
  return 0;
}
