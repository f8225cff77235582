// What the module tells its host: one line for every error.
#pragma once

#include <sqlite3.h>

#include <array>
#include <new>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "karst/KaHost.h"

namespace karst::database {

// The host that receives the lines, borrowed; null while the module is not attached, and then nothing is logged.
void SetHost(KaHost* host);

// Logs "KaDatabase: " and the formatted text at level 3. Takes no memory. What is longer than a line is cut.
void Log(const char* format, ...) KA_PRINTF_LIKE(1, 2);

// A text as it stands in a log line: control characters are blanks, and what exceeds 200 bytes is cut off between two
// characters and shown as "…".
class Excerpt {
 public:
  explicit Excerpt(std::string_view text);
  const char* Text() const { return bytes.data(); }

 private:
  static constexpr size_t kMaxBytes = 200;
  static constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

  std::array<char, kMaxBytes + kEllipsis.size() + 1> bytes{};
};

// Logs the latest error of `engine` with the engine's own message, the names of its codes, and `text`: the SQL text
// that failed, or the path.
void LogEngineError(sqlite3* engine, const Excerpt& text);

// Answers what `body` answers, and false with a line in the log when it runs out of memory: no exception leaves the
// module.
template <class Body>
bool Guarded(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (const std::bad_alloc&) {
    Log("out of memory");
  } catch (const std::length_error&) {
    Log("out of memory");
  }
  return false;
}

}  // namespace karst::database
