// The tree that every contender stores, and what is summed up to check that it did.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "karst/KaTypes.h"

namespace karst::bench {

constexpr int32_t kNameCount = 40;
constexpr uint32_t kCountUnit = 3;
constexpr uint32_t kMatrixUnit = 1;
constexpr size_t kLabelLength = 16;
constexpr size_t kMatrixSize = 16;

// What every element but the root carries: "label", a text; "count", an integer with a unit; "matrix", 4 x 4 doubles
// with a unit.
template <class Unit>
using LabelText = std::array<Unit, kLabelLength + 1>;  // with its NUL
using Matrix = std::array<double, kMatrixSize>;

// A number that looks random and is the same everywhere.
uint64_t Scatter(uint64_t number);

// A range of elements that follow each other.
class Elements {
 public:
  struct Iterator {
    int64_t element;

    int64_t operator*() const { return element; }
    Iterator& operator++() {
      ++element;
      return *this;
    }
    bool operator==(const Iterator&) const = default;
  };

  Elements(int64_t first, int64_t end) : first{first}, last{end} {}
  bool IsEmpty() const { return first == last; }
  Iterator begin() const { return first; }
  Iterator end() const { return last; }

 private:
  const Iterator first;
  const Iterator last;
};

// Elements are numbered level by level, the root is 0, the children of one parent follow each other. Each element has 8
// to 20 children or none; the few with children on the lowest levels may have fewer.
class Tree {
 public:
  // A tree with `size` elements below the root.
  explicit Tree(int64_t size);

  // The number of elements below the root, and so the last of them, which stands on the lowest level.
  int64_t Size() const { return static_cast<int64_t>(firstChild.size()) - 2; }
  Elements Children(int64_t element) const {
    return {firstChild[static_cast<size_t>(element)], firstChild[static_cast<size_t>(element) + 1]};
  }
  // The elements from below the root down to `element`.
  std::vector<int64_t> Path(int64_t element) const;

  static int32_t NameIndex(int64_t element) { return static_cast<int32_t>(Scatter(uint64_t(element)) % kNameCount); }
  static int32_t Count(int64_t element) { return static_cast<int32_t>(element % 1000); }
  static const Matrix& MatrixOf(int64_t element);
  // The element's number in ten digits behind a word.
  template <class Unit>
  static LabelText<Unit> Label(int64_t element) {
    LabelText<Unit> text = {'l', 'a', 'b', 'e', 'l', ' '};
    for (size_t i = kLabelLength; i-- > 6; element /= 10) text[i] = static_cast<Unit>('0' + element % 10);
    return text;
  }

  // Visits all elements depth first, as contenders do with what they have stored.
  template <class Visitor>
  void Visit(Visitor& visitor, int64_t element = 0) const;

 private:
  std::vector<uint32_t> firstChild;  // of each element, and the total
};

// The names by their index: "element00" to "element39".
const std::vector<std::string>& Names();

// ASCII text in units of 16 bits.
std::basic_string<KaChar> Widen(std::string_view text);

// The index of a name, told from its digits.
template <class Unit>
int32_t ReadNameIndex(const Unit* name) {
  return (name[7] - '0') * 10 + (name[8] - '0');
}

// What a walk has seen, in any order.
struct Sums {
  int64_t elements = 0;
  int64_t numbers = 0;
  int64_t names = 0;
  uint64_t values = 0;

  bool operator==(const Sums&) const = default;
};

// A visitor that sums up. Visitors are told of each element: Enter, its attributes if it WantsAttributes, whether it
// has children (EndTag), then of the children, then Leave. Without kWantsNumbers only texts matter to them.
class Summing {
 public:
  static constexpr bool kWantsNumbers = true;

  explicit Summing(bool attributes) : attributes(attributes) {}

  bool WantsAttributes() const { return attributes; }
  template <class Unit>
  void Enter(int64_t element, const Unit* name) {
    ++sums.elements;
    sums.numbers += element;
    sums.names += ReadNameIndex(name);
  }
  template <class Unit>
  void Label(const Unit* text) {
    sums.values += static_cast<uint64_t>((text[14] - '0') * 10 + (text[15] - '0'));
  }
  void Count(int32_t value, uint32_t unit) { sums.values += static_cast<uint64_t>(value) + unit; }
  // `numbers` may be unaligned. Their bits are summed up, which is exact.
  void MatrixAt(const void* numbers, uint32_t unit) {
    std::array<uint64_t, kMatrixSize> bits;
    std::memcpy(&bits, numbers, sizeof bits);
    for (const uint64_t number : bits) sums.values += number;
    sums.values += unit;
  }
  void EndTag(bool /*hasChildren*/) {}
  template <class Unit>
  void Leave(const Unit* /*name*/, bool /*hadChildren*/) {}

  const Sums& Result() const { return sums; }

 private:
  const bool attributes;
  Sums sums;
};

template <class Visitor>
void Tree::Visit(Visitor& visitor, int64_t element) const {
  const char* name = Names()[static_cast<size_t>(NameIndex(element))].c_str();
  visitor.Enter(element, name);
  if (element != 0 && visitor.WantsAttributes()) {
    visitor.Label(Label<char>(element).data());
    visitor.Count(Count(element), kCountUnit);
    visitor.MatrixAt(MatrixOf(element).data(), kMatrixUnit);
  }
  const Elements children = Children(element);
  visitor.EndTag(!children.IsEmpty());
  for (const int64_t child : children) Visit(visitor, child);
  visitor.Leave(name, !children.IsEmpty());
}

}  // namespace karst::bench
