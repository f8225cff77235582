#include "framework/database/StatementPool.h"

#include <algorithm>
#include <charconv>

namespace karst::database {

namespace {

bool BeginsWithWord(std::string_view sql, const char* word, int length) {
  return sql.size() > static_cast<size_t>(length) && sqlite3_strnicmp(sql.data(), word, length) == 0;
}

// Parameters begin with the first five; a further statement stands behind the last.
bool StandsForMore(char c) {
  return c == '?' || c == '@' || c == ':' || c == '$' || c == '#' || c == ';';
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

std::optional<NumberedText> SplitNumber(std::string_view sql) {
  size_t end = sql.size();
  while (end > 0 && IsDigit(sql[end - 1])) --end;
  const std::string_view digits = sql.substr(end);
  if (digits.empty() || end == 0 || sql[end - 1] != '=') return std::nullopt;
  if (digits.size() > 1 && digits[0] == '0') return std::nullopt;
  if (!BeginsWithWord(sql, "SELECT ", 7) && !BeginsWithWord(sql, "UPDATE ", 7) && !BeginsWithWord(sql, "DELETE ", 7)) {
    return std::nullopt;
  }
  NumberedText split{sql.substr(0, end), 0};
  if (std::any_of(split.pattern.begin(), split.pattern.end(), StandsForMore)) return std::nullopt;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), split.number);
  if (error != std::errc()) return std::nullopt;
  return split;
}

CompiledStatement StatementPool::Take(std::string_view pattern) {
  const auto found =
      std::find_if(idle.rbegin(), idle.rend(), [=](const CompiledStatement& each) { return each.pattern == pattern; });
  if (found == idle.rend()) return {};
  CompiledStatement statement = std::move(*found);
  idle.erase(std::next(found).base());
  return statement;
}

void StatementPool::GiveBack(CompiledStatement statement) noexcept {
  if (statement.generation != generation) return;
  sqlite3_reset(statement.handle.get());
  try {
    if (idle.size() == kMostIdle) idle.erase(idle.begin());
    idle.push_back(std::move(statement));
  } catch (const std::bad_alloc&) {
    // It is finalized then.
  }
}

void StatementPool::Clear() noexcept {
  idle.clear();
  ++generation;
}

}  // namespace karst::database
