// The counted string that the components of the framework hand out.
#pragma once

#include <utility>

#include "karst/KaHost.h"
#include "common/KaSmartImpl.h"
#include "common/Utf.h"

namespace karst::common {

class String final : public impl::KaSmartImpl<KaString> {
 public:
  // Hands a new string out through `out`, one reference for the caller.
  static void Create(KaText text, KaString** out) {
    auto* string = new String(std::move(text));
    string->AddRef();
    *out = string;
  }

  const KaChar* GetText() override { return text.c_str(); }

 private:
  explicit String(KaText content) : text(std::move(content)) {}
  ~String() override = default;

  void Unlisted3() override {}
  void Unlisted4() override {}
  void Unlisted5() override {}
  void Unlisted6() override {}
  void Unlisted7() override {}
  void Unlisted8() override {}
  void Unlisted9() override {}

  const KaText text;
};

}  // namespace karst::common
