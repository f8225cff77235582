// A string that the books count.
#pragma once

#include <utility>

#include "karst/KaHost.h"
#include "src/module/KaSmartImpl.h"
#include "tests/support/CallLog.h"
#include "tests/support/Text.h"

namespace karst::test {

class CountedString final : public impl::KaSmartImpl<KaString> {
 public:
  // Hands a new string out through `out`, one reference for the caller.
  static void HandOut(CallLog& calls, KaText text, KaString** out) {
    auto* string = new CountedString(calls, std::move(text));
    string->AddRef();
    *out = string;
  }

  const KaChar* GetText() override { return text.c_str(); }

 private:
  CountedString(CallLog& calls, KaText text) : calls(calls), text(std::move(text)) { calls.Born("string"); }
  ~CountedString() override { calls.Gone("string"); }

  void Unlisted3() override { calls.Violation("KaString slot 3"); }
  void Unlisted4() override { calls.Violation("KaString slot 4"); }
  void Unlisted5() override { calls.Violation("KaString slot 5"); }
  void Unlisted6() override { calls.Violation("KaString slot 6"); }
  void Unlisted7() override { calls.Violation("KaString slot 7"); }
  void Unlisted8() override { calls.Violation("KaString slot 8"); }
  void Unlisted9() override { calls.Violation("KaString slot 9"); }

  CallLog& calls;
  const KaText text;
};

}  // namespace karst::test
