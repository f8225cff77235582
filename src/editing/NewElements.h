// What the editors of a document know of the elements that they created.
#pragma once

#include <memory>
#include <vector>

#include "src/database/ScopeLedger.h"

namespace karst::impl {

// Remembers where the elements stand that the open editors of one document have created, so that building a tree costs
// no query for the check that an element is never appended below itself. All editors of a document share one.
//
// Invariant: an element that is not remembered stands below a remembered one only if `adopted` says so. What is
// remembered may be stale once a transaction scope has been abandoned, and is forgotten then.
class NewElements {
 public:
  explicit NewElements(std::shared_ptr<const ScopeLedger> ledger) : ledger(std::move(ledger)) {}

  // An element is about to be created: what needs memory is done before the file changes.
  void Expect();
  // The element was created, in no tree. Follows Expect, and cannot fail.
  void Created(int64_t id);
  // The element `child` was appended to `parent`.
  void Appended(int64_t child, int64_t parent);
  void Forget();

  // Whether it is certain that `ancestor` does not stand above `element`.
  bool IsCertainlyNotAbove(int64_t ancestor, int64_t element);

 private:
  // What is remembered takes little memory, however many elements are created: then it starts again.
  static constexpr size_t kMostRemembered = size_t{1} << 20;

  bool IsNew(int64_t id) const { return id >= first && id < first + static_cast<int64_t>(parents.size()); }
  size_t Position(int64_t id) const { return static_cast<size_t>(id - first); }
  void ForgetWhenStale();

  const std::shared_ptr<const ScopeLedger> ledger;
  uint64_t abandonedScopes = 0;
  int64_t first = 0;             // the lowest id that is remembered; the others follow without gaps
  std::vector<int64_t> parents;  // of each, or kUnattached
  std::vector<bool> hasChildren;
  bool adopted = false;  // an element that is not remembered was appended to one that is
  // The highest id that is not remembered and was appended to. Not every such element is there: one that is created
  // later may have children from the start.
  int64_t highestOtherParent = 0;
};

}  // namespace karst::impl
