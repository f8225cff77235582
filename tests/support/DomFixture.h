// The fixture of the tests that use the loaded module.
#pragma once

#include <gtest/gtest.h>

#include "tests/support/DomWorld.h"
#include "tests/support/Text.h"

namespace karst::test {

// One world per test. Afterwards everything must have been given back, every rule of the outside interfaces kept, and
// every message expected.
class DomFixture : public ::testing::Test, public DomWorld {
 protected:
  void TearDown() override {
    EXPECT_EQ(host.TakeLog(), "") << "messages that nobody expected";
    EXPECT_EQ(Settle(), "");
  }

  // Compares the messages since the last look, as of RecordingHost::TakeLog, and forgets them.
  void ExpectLog(const std::string& expected) { EXPECT_EQ(host.TakeLog(), expected); }
  // Compares the database calls since the last look, as of CallLog::Take, and forgets them.
  void ExpectCalls(const std::string& expected) { EXPECT_EQ(calls.Take(), expected); }
};

}  // namespace karst::test
