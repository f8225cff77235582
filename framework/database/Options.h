// What a host can choose for the connections that it opens.
#pragma once

#include <cstdint>
#include <string_view>

namespace karst::database {

// The options of a connection with their defaults. What each of them means is told in Database.h.
struct Options {
  enum class Access { Create, ReadWrite, ReadOnly };
  enum class Locking { Held, Shared };
  enum class Journal { Requested, Durable };
  enum class Synchronous { Off, Normal, Full };
  enum class WriteLock { Reserved, Exclusive };
  enum class Spill { Auto, On, Off };

  Access access = Access::Create;
  Locking locking = Locking::Held;
  Journal journal = Journal::Durable;
  Synchronous synchronous = Synchronous::Full;
  WriteLock writeLock = WriteLock::Reserved;
  Spill spill = Spill::Auto;
  int32_t cacheKibibytes = 64 * 1024;
  int32_t busyTimeoutMilliseconds = 5000;

  // Sets the option `name` from its text. False: no such option or value, and nothing changes.
  bool Set(std::string_view name, std::string_view value);

  // Whether changed pages may reach the file before the commit.
  bool SpillsBeforeCommit() const {
    return spill == Spill::On || (spill == Spill::Auto && journal == Journal::Durable);
  }
};

}  // namespace karst::database
