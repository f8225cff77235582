#include "framework/database/Formatter.h"

#include <sqlite3.h>

#include <cstdarg>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/common/String.h"
#include "framework/common/Utf.h"
#include "framework/database/Ascii.h"
#include "framework/database/Log.h"

namespace karst::database {

namespace {

struct FreeText {
  void operator()(char* text) const { sqlite3_free(text); }
};

// What an argument of a template is.
enum class Argument { Int, LongLong, Double, Text, NullableText };

// Steps over a width or a precision.
const char* SkipNumber(const char* at, std::vector<Argument>& arguments) {
  if (*at != '*') return at + std::strspn(at, "0123456789");
  arguments.push_back(Argument::Int);
  return at + 1;
}

bool IsOneOf(const char* letters, char letter) {
  return letter != '\0' && std::strchr(letters, letter) != nullptr;
}

std::optional<Argument> ArgumentOf(char conversion, bool isLong) {
  if (IsOneOf("diuxXo", conversion)) return isLong ? Argument::LongLong : Argument::Int;
  if (isLong) return std::nullopt;
  if (conversion == 'c') return Argument::Int;
  if (IsOneOf("eEfgG", conversion)) return Argument::Double;
  if (IsOneOf("sqw", conversion)) return Argument::Text;
  if (conversion == 'Q') return Argument::NullableText;
  return std::nullopt;
}

// Steps over one conversion and adds its arguments; `at` stands behind its "%". Null: it is none of ours.
const char* SkipConversion(const char* at, std::vector<Argument>& arguments) {
  if (*at == '%') return at + 1;
  at += std::strspn(at, "-+ #!,0");
  at = SkipNumber(at, arguments);
  if (*at == '.') at = SkipNumber(at + 1, arguments);
  const bool isLong = at[0] == 'l' && at[1] == 'l';
  if (isLong) at += 2;
  const std::optional<Argument> argument = ArgumentOf(*at, isLong);
  if (!argument) return nullptr;
  arguments.push_back(*argument);
  return at + 1;
}

// The arguments that a template takes, in order. Nothing: it holds an unknown conversion.
std::optional<std::vector<Argument>> ReadTemplate(const char* format) {
  std::vector<Argument> arguments;
  arguments.reserve(8);
  const char* at = std::strchr(format, '%');
  while (at != nullptr) {
    at = SkipConversion(at + 1, arguments);
    if (at == nullptr) return std::nullopt;
    at = std::strchr(at, '%');
  }
  return arguments;
}

// Whether each text that must be there is there.
bool HoldsTexts(const std::vector<Argument>& arguments, va_list list) {
  for (const Argument argument : arguments) {
    if (argument == Argument::Int) static_cast<void>(va_arg(list, int));
    if (argument == Argument::LongLong) static_cast<void>(va_arg(list, long long));
    if (argument == Argument::Double) static_cast<void>(va_arg(list, double));
    if (argument == Argument::NullableText) static_cast<void>(va_arg(list, const char*));
    if (argument == Argument::Text && va_arg(list, const char*) == nullptr) return false;
  }
  return true;
}

bool CanFormat(const char* format, va_list list) {
  const std::optional<std::vector<Argument>> arguments = ReadTemplate(format);
  if (!arguments) return false;
  va_list copy;
  va_copy(copy, list);
  const bool canFormat = HoldsTexts(*arguments, copy);
  va_end(copy);
  return canFormat;
}

bool FormatList(KaString** out, const char* format, va_list list) {
  if (!CanFormat(format, list)) {
    Log("a null text or an unknown conversion in the template \"%s\"", Excerpt(format).Text());
    return false;
  }
  const std::unique_ptr<char, FreeText> text(sqlite3_vmprintf(format, list));
  if (text == nullptr) throw std::bad_alloc();
  std::optional<framework::KaText> wide(std::in_place);
  if (!CopyAscii(std::string_view(text.get()), &*wide)) wide = framework::ToUtf16(text.get());
  if (!wide) {
    Log("the result is not valid UTF-8, of the template \"%s\"", Excerpt(format).Text());
    return false;
  }
  framework::String::Create(std::move(*wide), out);
  return true;
}

}  // namespace

bool Formatter::Format(KaString** out, const char* format, ...) {
  if (out == nullptr || format == nullptr) return false;
  va_list list;
  va_start(list, format);
  const bool done = Guarded([&] { return FormatList(out, format, list); });
  va_end(list);
  return done;
}

}  // namespace karst::database
