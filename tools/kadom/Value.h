// Attribute values as people write and read them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tools/kadom/Text.h"

namespace karst::tool {

// The value of an attribute. `content` fits the type: the numbers of all elements one after another, one number for a
// scalar, or the text.
struct Value {
  uint32_t type = 0;
  uint32_t unit = 0;
  std::variant<KaText, std::vector<int32_t>, std::vector<int64_t>, std::vector<double>> content;
};

// The name of a type code, "DoubleArray3x3"; null for a code that no value has.
const char* TypeName(uint32_t type);

// The code of a type by its name, upper and lower case alike.
std::optional<uint32_t> FindTypeByName(std::string_view name);

// Whether values of a type that exists are arrays.
bool IsArray(uint32_t type);

// All names, separated by ", ". Text and each scalar type, which the types of its arrays follow, begin a family.
std::string TypeNames(std::string_view familySeparator = ", ");

// Reads a value of `type` from what the user wrote: a text from the one argument as it is; numbers from all arguments,
// separated by blanks or commas. Throws Failure when a number is none, does not fit, or when their amount is not right.
Value ParseValue(uint32_t type, uint32_t unit, const std::vector<std::string>& arguments);

// The numbers of a value, separated by blanks, each as short as it can be and still be read back exactly. More than
// `limit` numbers are cut there and end in "…". Empty for a text.
std::string NumbersText(const Value& value, size_t limit);

}  // namespace karst::tool
