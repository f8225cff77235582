// The element tables: one a document, named by its id.
#pragma once

#include <cstdint>
#include <cstdio>

namespace karst::impl {

// The name of a document's element table, "Nodes_<document id>".
class NodeTableName {
 public:
  explicit NodeTableName(int64_t documentId) {
    std::snprintf(name, sizeof name, "Nodes_%lld", static_cast<long long>(documentId));
  }
  const char* Get() const { return name; }

 private:
  char name[64];
};

// The id of every document's root element: the first row of its table.
constexpr int64_t kRootElementId = 1;
// The parent of the root.
constexpr int64_t kNoParent = 0;
// The parent of an element that stands in no tree; also a parent that has not been read yet.
constexpr int64_t kUnattached = -1;

}  // namespace karst::impl
