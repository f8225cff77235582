// The counting behind every reference-counted object.
#pragma once

#include <atomic>

#include "karst/KaSmart.h"

namespace karst::impl {

// Implements the counting of T, which is KaSmart or an interface derived from it.
//
// An object starts with count 0; its creator takes the first reference. The virtual destructor follows T's own slots.
// AddRef and Release are atomic, and Release acts on the value of its own decrement, so exactly one caller destroys.
template <class T>
class KaSmartImpl : public T {
 public:
  KaSmartImpl() = default;
  KaSmartImpl(const KaSmartImpl&) = delete;
  KaSmartImpl& operator=(const KaSmartImpl&) = delete;

  void AddRef() final { count.fetch_add(1); }

  void Release() final {
    if (count.fetch_sub(1) - 1 <= 0) delete this;
  }

  int32_t RefCount() final { return count.load(std::memory_order_relaxed); }

 protected:
  virtual ~KaSmartImpl() = default;

 private:
  std::atomic<int32_t> count{0};
};

// Hands `object` out through `out` with one new reference for the caller.
template <class T, class Interface>
void HandOut(T* object, Interface** out) {
  object->AddRef();
  *out = object;
}

}  // namespace karst::impl
