#include "framework/database/StatementPool.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace karst::database {

namespace {

bool BeginsWithWord(std::string_view sql, const char* word, int length) {
  return sql.size() > static_cast<size_t>(length) && sqlite3_strnicmp(sql.data(), word, length) == 0;
}

// Parameters begin with the first five; a further statement stands behind the last.
bool StandsForMore(char c) {
  return c == '?' || c == '@' || c == ':' || c == '$' || c == '#' || c == ';';
}

bool IsDigit(KaChar unit) {
  return unit >= '0' && unit <= '9';
}

constexpr size_t kMostDigits = 18;  // all of which fit into 64 bits

}  // namespace

std::optional<NumberedText> SplitNumber(std::basic_string_view<KaChar> sql) {
  size_t end = sql.size();
  while (end > 0 && IsDigit(sql[end - 1])) --end;
  const std::basic_string_view<KaChar> digits = sql.substr(end);
  if (digits.empty() || digits.size() > kMostDigits || end == 0 || sql[end - 1] != '=') return std::nullopt;
  if (digits.size() > 1 && digits[0] == '0') return std::nullopt;
  NumberedText split{sql.substr(0, end), 0};
  for (const KaChar digit : digits) split.number = split.number * 10 + (digit - '0');
  return split;
}

bool TakesNumber(std::string_view pattern) {
  return (BeginsWithWord(pattern, "SELECT ", 7) || BeginsWithWord(pattern, "UPDATE ", 7) ||
          BeginsWithWord(pattern, "DELETE ", 7)) &&
         std::none_of(pattern.begin(), pattern.end(), StandsForMore);
}

Excerpt TextOf(const CompiledStatement& statement) {
  const std::string_view sql = sqlite3_sql(statement.handle.get());
  if (!statement.IsPooled()) return Excerpt(sql);
  std::array<char, 256> text{};  // more than an excerpt shows
  std::snprintf(text.data(), text.size(), "%.*s%lld", static_cast<int>(sql.size() - 1), sql.data(),
                static_cast<long long>(statement.number));
  return Excerpt(text.data());
}

CompiledStatement StatementPool::Take(std::basic_string_view<KaChar> pattern) {
  // The library would compare unit by unit.
  const auto fits = [pattern](const CompiledStatement& each) {
    return each.pattern.size() == pattern.size() &&
           std::memcmp(each.pattern.data(), pattern.data(), pattern.size() * sizeof(KaChar)) == 0;
  };
  const auto found = std::find_if(idle.rbegin(), idle.rend(), fits);
  if (found == idle.rend()) return {};
  CompiledStatement statement = std::move(*found);
  idle.erase(std::next(found).base());
  return statement;
}

void StatementPool::GiveBack(CompiledStatement&& statement) noexcept {
  if (statement.generation != generation) return;
  sqlite3_reset(statement.handle.get());
  try {
    if (idle.size() == kMostIdle) idle.erase(idle.begin());
    idle.push_back(std::move(statement));
  } catch (const std::bad_alloc&) {
    // It stays with the caller.
  }
}

void StatementPool::Clear() noexcept {
  idle.clear();
  ++generation;
}

}  // namespace karst::database
