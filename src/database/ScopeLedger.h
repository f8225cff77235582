// Which keyword rows an abandoned transaction may have taken with it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace karst::impl {

// Keeps account of the transaction scopes of one connection, for those whose memory must agree with the tables.
//
// Keyword ids are handed out in ascending order, so everything that a scope may have stored has an id not below the
// number of names at its beginning. When it is abandoned, the rows from there on count as missing until they have been
// looked at, and stored again where they are gone. A row that was stored again belongs to whatever scopes are open at
// that moment, so until all of them have ended, each one that is abandoned makes it missing once more.
class ScopeLedger {
 public:
  static constexpr size_t kNone = std::numeric_limits<size_t>::max();

  void Began() { ++openScopes; }

  // A scope has ended that began when there were `namesBefore` names; `kept` says whether it was committed.
  void Ended(size_t namesBefore, bool kept) {
    if (!kept) {
      missingFrom = std::min({missingFrom, namesBefore, storedAgainFrom});
      ++abandonedScopes;
    }
    if (--openScopes == 0) storedAgainFrom = kNone;
  }

  // The lowest keyword id whose row may be missing, or kNone.
  size_t MissingFrom() const { return missingFrom; }

  // The rows below `id` are in the table again; `stored` tells whether any of them had to be written.
  void Restored(size_t id, bool stored) {
    if (stored && openScopes > 0) storedAgainFrom = std::min(storedAgainFrom, missingFrom);
    missingFrom = id;
  }

  // Ids from `id` on are forgotten and given out again: their rows belong to the open scopes as those do that were
  // stored again.
  void GivenAnew(size_t id) {
    if (openScopes > 0) storedAgainFrom = std::min(storedAgainFrom, id);
  }

  // How many scopes have been abandoned so far. What was remembered of the tables before is stale when it changes.
  uint64_t AbandonedScopes() const { return abandonedScopes; }

 private:
  int64_t openScopes = 0;
  uint64_t abandonedScopes = 0;
  size_t missingFrom = kNone;
  size_t storedAgainFrom = kNone;
};

}  // namespace karst::impl
