// The fixture of the value tests: a host, and its books balanced after every test.
#pragma once

#include <gtest/gtest.h>

#include "src/module/Attachment.h"
#include "tests/support/RecordingHost.h"

namespace karst::test {

class ValuesTest : public ::testing::Test {
 protected:
  ValuesTest() {
    impl::AttachTo(&host);
    host.TakeLog();  // there is no database module, and none is needed
  }
  void TearDown() override {
    EXPECT_EQ(calls.Imbalance() + host.TakeLog(), "");
    impl::Detach();
  }

  // How many blocks `work` asks the host for while the host refuses them all.
  template <class Work>
  int64_t RefusedBlocks(Work work) {
    calls.Fail({.kind = "Allocate"});
    work();
    const int64_t hits = calls.Hits();
    calls.ClearFaults();
    return hits;
  }

  CallLog calls;
  RecordingHost host{calls};
};

}  // namespace karst::test
