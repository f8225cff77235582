// The path of elements that a walk stands on.
#pragma once

#include <algorithm>
#include <cstdint>
#include <unordered_set>
#include <vector>

namespace karst::impl {

// Keeps a walk of the tree from going round in a circle, which only a foreign file can hold: an element is never
// entered while it is on its own path.
class ElementPath {
 public:
  // Steps down into an element. False: it is on the path already, which stays as it is.
  bool Enter(int64_t id) {
    if (Contains(id)) return false;
    path.push_back(id);
    if (path.size() > kSearched) deep.insert(id);
    return true;
  }

  // Steps back out of the element entered last.
  void Leave() {
    if (path.size() > kSearched) deep.erase(path.back());
    path.pop_back();
  }

  int64_t Last() const { return path.back(); }

 private:
  // The upper levels, which is all that most trees have, are searched one by one; the rest through a set.
  static constexpr size_t kSearched = 16;

  bool Contains(int64_t id) const {
    const auto searchedEnd = path.begin() + static_cast<std::ptrdiff_t>(std::min(path.size(), kSearched));
    return std::find(path.begin(), searchedEnd, id) != searchedEnd || (!deep.empty() && deep.count(id) != 0);
  }

  std::vector<int64_t> path;
  std::unordered_set<int64_t> deep;
};

}  // namespace karst::impl
