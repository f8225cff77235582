// Allocations of the whole process that fail when a test wants it: those of the program, of every library that it has
// loaded, and of the SQL engine.
#pragma once

#include <cstdint>

namespace karst::test {

// The allocations of this thread while a Region lives are counted.
class FailingMemory {
 public:
  enum class Fails { Once, FromThenOn };

  // The nth counted allocation from now on fails, alone or with all that follow it.
  static void Arm(int64_t nth, Fails fails);
  static void Disarm();
  // Whether an allocation has failed since Arm.
  static bool HasFailed();

  struct Region {
    Region();
    ~Region();
  };
};

}  // namespace karst::test
