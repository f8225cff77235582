// Makes the counted strings and the narrow texts that modules ask their host for.
#pragma once

#include "karst/KaHost.h"

namespace karst::host {

// Strict: a text with an unpaired surrogate has no UTF-8 form.
class StringFactory final : public KaStringFactory {
 public:
  // Blocks of ToMultiByte come from `host`, borrowed.
  explicit StringFactory(KaHost& host) : allocator(host) {}

  // A null `text` counts as empty. False: `out` is null, or no memory.
  bool CreateString(const KaChar* text, KaString** out) override;
  // False, `*out` as it was: a null argument, a code page other than 65001, an unpaired surrogate, no memory.
  bool ToMultiByte(const KaChar* text, uint32_t codePage, char** out) override;

 private:
  void Unlisted0() override {}
  void Unlisted2() override {}

  KaHost& allocator;
};

}  // namespace karst::host
