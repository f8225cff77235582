// The holder through which every reference is owned.
#pragma once

#include <type_traits>
#include <utility>

namespace karst {

// Holds one reference to a counted object, or nothing.
template <class T>
class KaSmartPtr {
 public:
  KaSmartPtr() = default;
  // Takes a new reference, unless `object` is null.
  explicit KaSmartPtr(T* object) : pointer(object) {
    if (pointer != nullptr) pointer->AddRef();
  }
  KaSmartPtr(const KaSmartPtr& other) : KaSmartPtr(other.pointer) {}
  KaSmartPtr(KaSmartPtr&& other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
  // Takes the reference over from a holder of a derived class.
  template <class Derived, class = std::enable_if_t<std::is_convertible_v<Derived*, T*>>>
  KaSmartPtr(KaSmartPtr<Derived>&& other) noexcept : pointer(other.Detach()) {}
  KaSmartPtr& operator=(KaSmartPtr other) noexcept {
    std::swap(pointer, other.pointer);
    return *this;
  }
  ~KaSmartPtr() { Reset(); }

  // Releases the reference and leaves the holder empty.
  void Reset() {
    if (T* object = std::exchange(pointer, nullptr)) object->Release();
  }

  // The slot for an out-parameter: always empty, what the holder held is released first.
  T** Out() {
    Reset();
    return &pointer;
  }

  // Hands the reference over to the caller, who releases it.
  [[nodiscard]] T* Detach() { return std::exchange(pointer, nullptr); }

  T* Get() const { return pointer; }
  T* operator->() const { return pointer; }
  T& operator*() const { return *pointer; }
  explicit operator bool() const { return pointer != nullptr; }

 private:
  T* pointer = nullptr;
};

}  // namespace karst
