// The two module-wide pointers, and what everyone does through them.
#pragma once

#include <utility>

#include "karst/KaDatabase.h"
#include "karst/KaHost.h"
#include "karst/KaSmartPtr.h"

namespace karst::impl {

// The host that the module is attached to, or null. Borrowed.
KaHost* Host();
// The database module that the host has for us, or null. Borrowed.
KaDatabase* DatabaseModule();
// Whether both pointers are there. Operations that reach for either answer false while it does not hold.
bool IsAttached();

// Sets both pointers: asks `host` for the database module, and logs when it has none.
void AttachTo(KaHost* host);
// Clears both pointers.
void Detach();

constexpr int32_t kModuleVersion = 101;
constexpr int32_t kLogFailure = 3;
constexpr int32_t kLogMissingModule = 4;

// Logs the sentence of a failed operation. 64-bit arguments are passed as long long, for %lld.
template <class... Arguments>
void LogFailure(const char* format, Arguments... arguments) {
  if (KaHost* host = Host()) host->GetLogger()->Log(kLogFailure, 0, format, arguments...);
}

// A memory block of the host, given back when the guard ends.
class HostBlock {
 public:
  HostBlock() = default;
  // Takes over `block`, which came from the host, or null.
  explicit HostBlock(void* block) : block(block) {}
  HostBlock(HostBlock&& other) noexcept : block(std::exchange(other.block, nullptr)) {}
  HostBlock& operator=(HostBlock&& other) noexcept {
    std::swap(block, other.block);
    return *this;
  }
  ~HostBlock() { Free(block); }

  // A block of `size` bytes; empty when the host has no memory or there is no host.
  static HostBlock Allocate(uint64_t size);
  // Gives a block back; null is ignored. Has the shape of a release function of BindBlob.
  static void Free(void* block);

  uint8_t* Bytes() const { return static_cast<uint8_t*>(block); }
  explicit operator bool() const { return block != nullptr; }
  // Hands the block over to the caller, who gives it back with Free.
  [[nodiscard]] void* Detach() { return std::exchange(block, nullptr); }

 private:
  void* block = nullptr;
};

// The text of a holder. An empty holder receives an empty string from the host first, and reads as an empty text.
const KaChar* TextOf(KaSmartPtr<KaString>& holder);

}  // namespace karst::impl
