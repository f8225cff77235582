// An element's attributes in memory, while they are edited, and the way from and to the stored records.
#pragma once

#include <utility>
#include <vector>

#include "src/module/Attachment.h"
#include "src/values/Value.h"

namespace karst::impl {

// The attributes of one element by the ids of their names.
//
// Invariant: `order` and `values` hold the same ids, each once, and `values` by ascending id: elements have few
// attributes, and a row of them is faster than a tree. When memory ends in an operation, the set is as it was.
class AttributeSet {
 public:
  using Entries = std::vector<std::pair<int64_t, KaSmartPtr<Value>>>;

  // Stores `value`, which is complete, under `nameId`, which is not 0. An id that is there keeps its place in the
  // order, and its earlier value is released; a new one goes last. Finding an id takes logarithmic time, adding one
  // that is not the highest moves those above it.
  void SetValue(int64_t nameId, KaSmartPtr<Value> value);
  // Makes the set the attributes of `records`, in any order. Of those with the same id the last one counts.
  void Assign(Entries records);
  // Removes the attribute and releases its value. Linear in the size of the set; an absent id costs a look-up.
  void RemoveValue(int64_t nameId);
  // Removes all attributes.
  void Clear();

  // The number of attributes.
  size_t Size() const { return order.size(); }
  // The ids in the order in which they entered the set. That order is not stored: records are written by ascending id.
  const std::vector<int64_t>& Order() const { return order; }
  // The values by ascending id.
  const Entries& Values() const { return values; }

 private:
  std::vector<int64_t> order;
  Entries values;
};

// Makes `*set` the attributes that the records from `begin` to `end` hold, up to the first record that is malformed or
// has the name id 0. Of records with the same name id the last one counts. False: the host has no memory, and `*set` is
// unchanged.
bool LoadRecords(const uint8_t* begin, const uint8_t* end, AttributeSet* set);

// Makes the records of `set`: `*size` bytes in a block of the host, in ascending order of name ids. An empty set gives
// an empty block and size 0. False: the records would have more than 2^31 - 1 bytes, or the host has no memory; nothing
// is written.
bool EncodeAttributes(const AttributeSet& set, HostBlock* buffer, size_t* size);

}  // namespace karst::impl
