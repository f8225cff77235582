// What the module expects of its host: allocator, modules, strings and logger.
#pragma once

#include "karst/KaSmart.h"

namespace karst {

class KaLogger;
class KaModule;
class KaString;
class KaStringFactory;

// The host, implemented by the program that loads the module. It is borrowed from Attach to Detach and never counted.
// Unlisted slots are never called by KaDom; what a host puts there is its own affair.
class KaHost {
 public:
  virtual void Unlisted0() = 0;
  virtual void Unlisted1() = 0;
  virtual void Unlisted2() = 0;
  virtual void Unlisted3() = 0;
  virtual void Unlisted4() = 0;
  // Slot 5. A block of `size` bytes, aligned for every scalar type, or null when there is no memory. Blocks serve for
  // stored payloads, attribute records and the narrow texts of ToMultiByte.
  virtual void* Allocate(uint64_t size) = 0;
  // Slot 6. Gives a block of Allocate back; null is ignored.
  virtual void Free(void* block) = 0;
  virtual void Unlisted7() = 0;
  virtual void Unlisted8() = 0;
  virtual void Unlisted9() = 0;
  // Slot 10. The module object of that name and version, or null. It stays valid until the asking module is detached.
  virtual KaModule* GetModule(const char* name, int32_t version) = 0;
  virtual void Unlisted11() = 0;
  // Slot 12. Never null; borrowed, fetched anew at each use.
  virtual KaStringFactory* GetStringFactory() = 0;
  // Slot 13. Never null; borrowed, fetched anew for each message.
  virtual KaLogger* GetLogger() = 0;
};

// The host's log. Borrowed.
class KaLogger {
 public:
  virtual void Unlisted0() = 0;
  virtual void Unlisted1() = 0;
  virtual void Unlisted2() = 0;
  virtual void Unlisted3() = 0;
  virtual void Unlisted4() = 0;
  // Slot 5. Takes one message: a narrow printf-style format, without a line end, and its arguments (%s UTF-8 text, %d,
  // %03d, %lld). KaDom logs failed operations at level 3 and a missing module at level 4. `reserved` is always 0.
  virtual void Log(int32_t level, int32_t reserved, const char* format, ...) KA_PRINTF_LIKE(4, 5) = 0;
};

// Makes strings. Borrowed, not counted.
class KaStringFactory {
 public:
  virtual void Unlisted0() = 0;
  // Slot 1. Stores a new string with a copy of `text` in `*out`, one reference for the caller. The result is not used.
  virtual bool CreateString(const KaChar* text, KaString** out) = 0;
  virtual void Unlisted2() = 0;
  // Slot 3. Converts `text` to the code page (65001: UTF-8) into a NUL-terminated block from Allocate, which the caller
  // gives back with Free. When it cannot, `*out` stays as it was. The result is not used.
  virtual bool ToMultiByte(const KaChar* text, uint32_t codePage, char** out) = 0;
};

// An immutable wide text.
class KaString : public KaSmart {
 public:
  virtual void Unlisted3() = 0;
  virtual void Unlisted4() = 0;
  virtual void Unlisted5() = 0;
  virtual void Unlisted6() = 0;
  virtual void Unlisted7() = 0;
  virtual void Unlisted8() = 0;
  virtual void Unlisted9() = 0;
  // Slot 10. The text, NUL-terminated, valid while the string lives; never null.
  virtual const KaChar* GetText() = 0;
};

}  // namespace karst
