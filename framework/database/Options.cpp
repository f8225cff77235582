#include "framework/database/Options.h"

#include <charconv>

namespace karst::database {

namespace {

template <class Value>
struct Choice {
  std::string_view word;
  Value value;
};

constexpr Choice<Options::Access> kAccess[] = {{"create", Options::Access::Create},
                                               {"readwrite", Options::Access::ReadWrite},
                                               {"readonly", Options::Access::ReadOnly}};
constexpr Choice<Options::Locking> kLocking[] = {{"held", Options::Locking::Held},
                                                 {"shared", Options::Locking::Shared}};
constexpr Choice<Options::Journal> kJournal[] = {{"requested", Options::Journal::Requested},
                                                 {"durable", Options::Journal::Durable}};
constexpr Choice<Options::Synchronous> kSynchronous[] = {
    {"off", Options::Synchronous::Off}, {"normal", Options::Synchronous::Normal}, {"full", Options::Synchronous::Full}};
constexpr Choice<Options::WriteLock> kWriteLock[] = {{"reserved", Options::WriteLock::Reserved},
                                                     {"exclusive", Options::WriteLock::Exclusive}};
constexpr Choice<Options::Spill> kSpill[] = {
    {"auto", Options::Spill::Auto}, {"on", Options::Spill::On}, {"off", Options::Spill::Off}};

template <class Value, size_t count>
bool Choose(const Choice<Value> (&choices)[count], std::string_view word, Value* out) {
  for (const Choice<Value>& choice : choices) {
    if (choice.word != word) continue;
    *out = choice.value;
    return true;
  }
  return false;
}

bool ReadNumber(std::string_view digits, int32_t least, int32_t* out) {
  int32_t number = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || number < least) return false;
  *out = number;
  return true;
}

struct Entry {
  std::string_view name;
  bool (*set)(Options& options, std::string_view value);
};

// Every option there is.
constexpr Entry kEntries[] = {
    {"access", [](Options& options, std::string_view value) { return Choose(kAccess, value, &options.access); }},
    {"locking", [](Options& options, std::string_view value) { return Choose(kLocking, value, &options.locking); }},
    {"journal", [](Options& options, std::string_view value) { return Choose(kJournal, value, &options.journal); }},
    {"synchronous",
     [](Options& options, std::string_view value) { return Choose(kSynchronous, value, &options.synchronous); }},
    {"write_lock",
     [](Options& options, std::string_view value) { return Choose(kWriteLock, value, &options.writeLock); }},
    {"spill", [](Options& options, std::string_view value) { return Choose(kSpill, value, &options.spill); }},
    {"cache_size",
     [](Options& options, std::string_view value) { return ReadNumber(value, 1, &options.cacheKibibytes); }},
    {"busy_timeout",
     [](Options& options, std::string_view value) { return ReadNumber(value, 0, &options.busyTimeoutMilliseconds); }},
};

}  // namespace

bool Options::Set(std::string_view name, std::string_view value) {
  for (const Entry& entry : kEntries) {
    if (entry.name == name) return entry.set(*this, value);
  }
  return false;
}

}  // namespace karst::database
