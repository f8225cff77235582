#include "tests/faults/FailingMemory.h"

#include <cerrno>
#include <cstddef>

namespace karst::test {

constinit thread_local FailingMemory failingMemory;

static bool IsAdmitted() {
  if (!failingMemory.isCounting) return true;
  const int64_t left = --failingMemory.left;
  if (left > 0 || (left < 0 && !failingMemory.isForever)) return true;
  errno = ENOMEM;
  return false;
}

}  // namespace karst::test

// In place of the C library's: every library of the process finds those of the
// program first.
extern "C" {
#pragma GCC visibility push(default)

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);

void* malloc(size_t size) noexcept {
  return karst::test::IsAdmitted() ? __libc_malloc(size) : nullptr;
}
void* calloc(size_t count, size_t size) noexcept {
  return karst::test::IsAdmitted() ? __libc_calloc(count, size) : nullptr;
}
void* realloc(void* block, size_t size) noexcept {
  return karst::test::IsAdmitted() ? __libc_realloc(block, size) : nullptr;
}
#pragma GCC visibility pop
}
