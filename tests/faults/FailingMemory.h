// Allocations that fail when a test wants it: of the program, of each library
// that it has loaded, of the SQL engine.
#pragma once

#include <cstdint>

namespace karst::test {

// While it is counting, the allocation of this thread that brings `left` to 0
// fails, and forever also those after it.
struct FailingMemory {
  int64_t left = 0;
  bool isForever = false;
  bool isCounting = false;
};
extern constinit thread_local FailingMemory failingMemory;

}  // namespace karst::test
