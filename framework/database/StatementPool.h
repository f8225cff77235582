// Texts that differ in one number only, compiled once.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "framework/database/Engine.h"

namespace karst::database {

// A text that ends in "=<integer>", taken apart.
struct NumberedText {
  std::string_view pattern;  // up to the "="
  int64_t number;
};

// Nothing: the text is no SELECT, UPDATE or DELETE, it does not end so, the integer is not written as the engine itself
// would (a sign, a leading zero, more than 64 bits), or it holds a character of parameters or further statements, be it
// in a string. Otherwise the pattern with a "?" behind it means the same as the text, provided that the engine sees
// exactly one parameter there: in a comment it sees none.
std::optional<NumberedText> SplitNumber(std::string_view sql);

// The idle statements of a connection that were compiled from patterns. They are reset, and so lock nothing. A
// statement that is in use is not here: of each pattern there may be any number, idle and in use.
class StatementPool {
 public:
  // Those that have waited longest make way for more.
  static constexpr size_t kMostIdle = 48;

  // An idle statement of that pattern. The number of its earlier use is still bound. Empty handle: there is none.
  CompiledStatement Take(std::string_view pattern);
  // Keeps a statement for later, or finalizes it.
  void GiveBack(CompiledStatement statement) noexcept;

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
