#include "bench/Tree.h"

#include <algorithm>

namespace karst::bench {

namespace {

constexpr uint32_t kLeastChildren = 8;
constexpr uint32_t kMostChildren = 20;
constexpr uint32_t kUsualChildren = (kLeastChildren + kMostChildren) / 2;

// Shares the elements that are to stand below `element` out among its new children: evenly, among as few as get enough.
void AppendChildren(size_t element, std::vector<uint32_t>* below) {
  const uint32_t share = (*below)[element];
  const auto wanted = static_cast<uint32_t>(kLeastChildren + Scatter(element) % (kMostChildren - kLeastChildren + 1));
  const uint32_t children = share <= kMostChildren ? share : wanted;
  const uint32_t rest = share - children;
  const uint32_t parents = rest == 0 ? 0 : std::clamp(rest / kUsualChildren, 1U, children);
  for (uint32_t child = 0; child < children; ++child) {
    below->push_back(child < parents ? rest / parents + (child < rest % parents ? 1 : 0) : 0);
  }
}

}  // namespace

uint64_t Scatter(uint64_t number) {
  number = (number + 0x9E3779B97F4A7C15U) * 0xBF58476D1CE4E5B9U;
  return (number ^ (number >> 29)) * 0x94D049BB133111EBU >> 17;
}

Tree::Tree(int64_t size) {
  std::vector<uint32_t> below{static_cast<uint32_t>(size)};
  for (size_t element = 0; element < below.size(); ++element) {
    firstChild.push_back(static_cast<uint32_t>(below.size()));
    AppendChildren(element, &below);
  }
  firstChild.push_back(static_cast<uint32_t>(below.size()));
}

std::vector<int64_t> Tree::Path(int64_t element) const {
  std::vector<int64_t> path;
  while (element != 0) {
    path.insert(path.begin(), element);
    element = std::upper_bound(firstChild.begin(), firstChild.end(), element) - firstChild.begin() - 1;
  }
  return path;
}

// Affine transforms: twelve numbers with all their digits, then 0 0 0 1.
const Matrix& Tree::MatrixOf(int64_t element) {
  static const std::array<Matrix, 61> matrices = [] {
    std::array<Matrix, 61> made{};
    uint64_t seed = 0;
    for (Matrix& matrix : made) {
      for (size_t i = 0; i < 12; ++i)
        matrix[i] = static_cast<double>(Scatter(seed++)) / static_cast<double>(1ULL << 46) - 1;
      matrix[15] = 1;
    }
    return made;
  }();
  return matrices[static_cast<size_t>(element) % matrices.size()];
}

const std::vector<std::string>& Names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> made;
    made.reserve(kNameCount);
    for (int32_t i = 0; i < kNameCount; ++i) made.push_back("element" + std::to_string(100 + i).substr(1));
    return made;
  }();
  return names;
}

std::basic_string<KaChar> Widen(std::string_view text) {
  return {text.begin(), text.end()};
}

}  // namespace karst::bench
