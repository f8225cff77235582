// The boundary of the module: no exception passes it.
#pragma once

#include <type_traits>

#include "common/OutOfMemory.h"
#include "src/module/Attachment.h"

namespace karst::impl {

// Runs the body of an operation and answers what it answers. While the module is not attached, and when memory ends
// ("Out of memory."), the answer is that of an operation that failed: false, null, 0, or an empty text.
template <class Body>
auto WhileAttached(Body&& body) {
  using Answer = decltype(body());
  Answer answer{};
  if constexpr (std::is_same_v<Answer, const KaChar*>) answer = KA_TEXT("");
  if (IsAttached() && !RunWithinMemory([&] { answer = body(); })) LogFailure("Out of memory.");
  return answer;
}

}  // namespace karst::impl
