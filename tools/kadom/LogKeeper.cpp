#include "tools/kadom/LogKeeper.h"

#include <cstdio>

#include "tools/kadom/Text.h"

namespace karst::tool {

namespace {

// The engine's own message out of a line of the database module, which adds codes and the SQL text; other lines whole.
std::string_view Essence(std::string_view line) {
  constexpr std::string_view kSource = "KaDatabase: ";
  if (!line.starts_with(kSource)) return line;
  line.remove_prefix(kSource.size());
  return line.substr(0, line.find(" (SQLITE_"));
}

}  // namespace

void LogKeeper::Add(int32_t level, std::string_view message) {
  const std::string line = OneLine(message);
  if (verbose) std::fprintf(stderr, "kadom: log %d: %s\n", level, line.c_str());
  if (level >= kFailureLevel && explanation.empty()) explanation = Essence(line);
}

}  // namespace karst::tool
