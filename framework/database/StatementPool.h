// Texts that differ in one number only, compiled once.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "framework/database/Engine.h"
#include "framework/database/Log.h"

namespace karst::database {

// A text that ends in "=<integer>", taken apart.
struct NumberedText {
  std::basic_string_view<KaChar> pattern;  // up to the "="
  int64_t number;
};

// Nothing: the text does not end so, or the integer is not written as the engine itself would (a sign, a leading zero)
// or has more than 18 digits.
std::optional<NumberedText> SplitNumber(std::basic_string_view<KaChar> sql);

// Whether a pattern (UTF-8) with a "?" behind it means the same as with a number, provided that the engine sees exactly
// one parameter there: in a comment it sees none. False: the text is no SELECT, UPDATE or DELETE, or it holds a
// character of parameters or further statements, be it in a string.
bool TakesNumber(std::string_view pattern);

// The text of a statement as it was given, for messages.
Excerpt TextOf(const CompiledStatement& statement);

// The idle statements of a connection that were compiled from patterns. They are reset, and so lock nothing. A
// statement that is in use is not here: of each pattern there may be any number, idle and in use.
class StatementPool {
 public:
  // Those that have waited longest make way for more.
  static constexpr size_t kMostIdle = 48;

  // An idle statement of that pattern. The number of its earlier use is still bound. Empty handle: there is none.
  CompiledStatement Take(std::basic_string_view<KaChar> pattern);
  // Keeps a statement for later. What is left in `statement` is the caller's to destroy.
  void GiveBack(CompiledStatement&& statement) noexcept;

  // Forgets all statements, also those that are in use. To be called when what they name may have changed: compiled
  // anew, such a text may be refused.
  void Clear() noexcept;
  // Which of the times between two calls of Clear it is.
  uint32_t Generation() const { return generation; }

 private:
  std::vector<CompiledStatement> idle;  // the latest last
  uint32_t generation = 0;
};

}  // namespace karst::database
