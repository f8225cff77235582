#include "tools/kadom/Value.h"

#include <algorithm>
#include <charconv>
#include <system_error>

#include "records/RecordCodec.h"
#include "tools/kadom/Failure.h"

namespace karst::tool {

namespace {

using impl::TypeInfo;
using impl::ValueKind;

// By code.
constexpr const char* kTypeNames[impl::kTypeCodeCount] = {
    "Text",
    "",
    "Int",
    "IntArray",
    "IntArray2",
    "IntArray3",
    "IntArray4",
    "Int64",
    "Int64Array",
    "Int64Array2",
    "Int64Array3",
    "Int64Array4",
    "Double",
    "DoubleArray",
    "DoubleArray2",
    "DoubleArray3",
    "DoubleArray4",
    "DoubleArray2B",
    "DoubleArray3B",
    "DoubleArray4B",
    "DoubleArray2x2",
    "DoubleArray3x3",
    "DoubleArray4x4",
};

constexpr const char* kSeparators = " \t\r\n,";

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

constexpr const char* KindText(int32_t) {
  return "a 32-bit integer";
}
constexpr const char* KindText(int64_t) {
  return "a 64-bit integer";
}
constexpr const char* KindText(double) {
  return "a number";
}

template <class Number>
Number ParseNumber(std::string_view text) {
  std::string_view digits = text;
  if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
  Number number{};
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const auto refuse = [&](const char* reason) {
    return Failure("\"" + std::string(text) + "\" " + reason + KindText(number));
  };
  if (error == std::errc::result_out_of_range) throw refuse("is out of range for ");
  if (error != std::errc() || end != digits.data() + digits.size()) throw refuse("is not ");
  return number;
}

template <class Number>
std::vector<Number> ParseNumbers(const std::vector<std::string>& arguments) {
  std::vector<Number> numbers;
  for (const std::string_view argument : arguments) {
    size_t start = argument.find_first_not_of(kSeparators);
    while (start != argument.npos) {
      const size_t end = std::min(argument.find_first_of(kSeparators, start), argument.size());
      numbers.push_back(ParseNumber<Number>(argument.substr(start, end - start)));
      start = argument.find_first_not_of(kSeparators, end);
    }
  }
  return numbers;
}

// How many numbers a value of the type may have.
void CheckAmount(uint32_t type, const TypeInfo& info, size_t amount) {
  const auto components = static_cast<size_t>(info.components);
  const std::string name = TypeName(type);
  if (!info.isArray && amount != 1) throw Failure(name + " takes one number, not " + std::to_string(amount));
  if (amount == 0) throw Failure(name + " takes at least " + Counted(components, "number"));
  if (amount % components != 0) {
    throw Failure(name + " takes a multiple of " + Counted(components, "number") + ", not " + std::to_string(amount));
  }
}

template <class Number>
Value NumberValue(uint32_t type, uint32_t unit, const std::vector<std::string>& arguments) {
  std::vector<Number> numbers = ParseNumbers<Number>(arguments);
  CheckAmount(type, impl::kTypes[type], numbers.size());
  return {type, unit, std::move(numbers)};
}

Value TextValue(uint32_t unit, const std::vector<std::string>& arguments) {
  if (arguments.size() != 1) throw Failure("Text takes one value: put it into quotation marks");
  if (unit != 0) throw Failure("Text has no unit");
  return {ValueType::Text, 0, TextFromUser(arguments.front(), "the text")};
}

template <class Number>
void AppendNumber(std::string& out, Number number) {
  char digits[32];
  const auto result = std::to_chars(digits, digits + sizeof digits, number);
  out.append(digits, result.ptr);
}

struct NumberPrinter {
  std::string operator()(const KaText&) const { return {}; }

  template <class Number>
  std::string operator()(const std::vector<Number>& numbers) const {
    std::string out;
    for (size_t i = 0; i < std::min(numbers.size(), limit); ++i) {
      if (i > 0) out += ' ';
      AppendNumber(out, numbers[i]);
    }
    if (numbers.size() > limit) out += " …";
    return out;
  }

  size_t limit;
};

}  // namespace

const char* TypeName(uint32_t type) {
  return impl::FindType(type) != nullptr ? kTypeNames[type] : nullptr;
}

std::optional<uint32_t> FindTypeByName(std::string_view name) {
  for (uint32_t type = 0; type < impl::kTypeCodeCount; ++type) {
    if (TypeName(type) != nullptr && EqualsIgnoringCase(TypeName(type), name)) return type;
  }
  return std::nullopt;
}

bool IsArray(uint32_t type) {
  return impl::kTypes[type].isArray;
}

std::string TypeNames(std::string_view familySeparator) {
  std::string names;
  for (uint32_t type = 0; type < impl::kTypeCodeCount; ++type) {
    if (TypeName(type) == nullptr) continue;
    if (!names.empty()) names += IsArray(type) ? ", " : familySeparator;
    names += TypeName(type);
  }
  return names;
}

Value ParseValue(uint32_t type, uint32_t unit, const std::vector<std::string>& arguments) {
  switch (impl::kTypes[type].kind) {
    case ValueKind::Text:
      return TextValue(unit, arguments);
    case ValueKind::Int:
      return NumberValue<int32_t>(type, unit, arguments);
    case ValueKind::Int64:
      return NumberValue<int64_t>(type, unit, arguments);
    case ValueKind::Double:
      return NumberValue<double>(type, unit, arguments);
    case ValueKind::None:
      break;
  }
  throw Failure("no value has the type " + std::to_string(type));
}

std::string NumbersText(const Value& value, size_t limit) {
  return std::visit(NumberPrinter{limit}, value.content);
}

}  // namespace karst::tool
