#include "tests/faults/FailingMemory.h"

#include <cerrno>
#include <cstddef>

namespace karst::test {
namespace {

struct State {
  int64_t left;  // until the failing one; not above 0: it has been
  bool isArmed, isForever, isCounting;
};
thread_local State state{};

bool IsAdmitted() {
  if (!state.isArmed || !state.isCounting) return true;
  --state.left;
  if (state.left > 0 || (state.left < 0 && !state.isForever)) return true;
  errno = ENOMEM;
  return false;
}

}  // namespace

void FailingMemory::Arm(int64_t nth, Fails fails) {
  state = {nth, true, fails == Fails::FromThenOn, false};
}
void FailingMemory::Disarm() {
  state.isArmed = false;
}
bool FailingMemory::HasFailed() {
  return state.left <= 0;
}
FailingMemory::Region::Region() {
  state.isCounting = true;
}
FailingMemory::Region::~Region() {
  state.isCounting = false;
}

}  // namespace karst::test

// In place of the C library's, which every library of the process finds here first.
#define KA_INTERPOSED extern "C" __attribute__((visibility("default")))

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
}

using karst::test::IsAdmitted;

KA_INTERPOSED void* malloc(size_t size) noexcept {
  return IsAdmitted() ? __libc_malloc(size) : nullptr;
}
KA_INTERPOSED void* calloc(size_t count, size_t size) noexcept {
  return IsAdmitted() ? __libc_calloc(count, size) : nullptr;
}
KA_INTERPOSED void* realloc(void* block, size_t size) noexcept {
  return IsAdmitted() ? __libc_realloc(block, size) : nullptr;
}
KA_INTERPOSED void* aligned_alloc(size_t alignment, size_t size) noexcept {
  return IsAdmitted() ? __libc_memalign(alignment, size) : nullptr;
}
KA_INTERPOSED void* memalign(size_t alignment, size_t size) noexcept {
  return aligned_alloc(alignment, size);
}
KA_INTERPOSED int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
  void* made = aligned_alloc(alignment, size);
  if (made == nullptr) return ENOMEM;
  *block = made;
  return 0;
}
