#include "framework/database/Formatter.h"

#include <sqlite3.h>

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "common/String.h"
#include "common/Utf.h"
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

// Copies ASCII. False: something else is among it.
bool Widen(const char* from, size_t size, KaChar* to) {
  unsigned all = 0;
  for (size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(from[i]);
    all |= byte;
    to[i] = byte;
  }
  return all < 0x80;
}

using ShortText = std::array<KaChar, 192>;

// Formats a template of ASCII, %d and %lld, which most are, and answers the length of the result; nothing for another
// template, or a long result.
std::optional<size_t> FormatNumbers(const char* format, va_list list, ShortText& text) {
  constexpr size_t kMostDigits = std::numeric_limits<long long>::digits10 + 2;  // with a sign
  size_t used = 0;
  for (;;) {
    const size_t run = std::strcspn(format, "%");
    if (run > text.size() - kMostDigits - used || !Widen(format, run, text.data() + used)) return std::nullopt;
    used += run;
    format += run;
    if (*format == '\0') return used;
    const bool isLong = format[1] == 'l' && format[2] == 'l';
    format += isLong ? 3 : 1;
    if (*format++ != 'd') return std::nullopt;
    std::array<char, kMostDigits> digits;
    const long long number = isLong ? va_arg(list, long long) : va_arg(list, int);
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    const auto count = static_cast<size_t>(end - digits.data());
    Widen(digits.data(), count, text.data() + used);
    used += count;
    if (used > text.size() - kMostDigits) return std::nullopt;
  }
}

std::optional<common::KaText> FormatByEngine(const char* format, va_list list) {
  if (!CanFormat(format, list)) {
    Log("a null text or an unknown conversion in the template \"%s\"", Excerpt(format).Text());
    return std::nullopt;
  }
  const std::unique_ptr<char, FreeText> text(sqlite3_vmprintf(format, list));
  if (text == nullptr) throw std::bad_alloc();
  std::optional<common::KaText> wide = common::ToUtf16(text.get());
  if (!wide) Log("the result is not valid UTF-8, of the template \"%s\"", Excerpt(format).Text());
  return wide;
}

bool FormatList(KaString** out, const char* format, va_list list) {
  va_list copy;
  va_copy(copy, list);
  ShortText shortText;
  const std::optional<size_t> length = FormatNumbers(format, copy, shortText);
  va_end(copy);
  std::optional<common::KaText> text;
  if (length) {
    text.emplace(shortText.data(), *length);
  } else {
    text = FormatByEngine(format, list);
  }
  if (!text) return false;
  common::String::Create(std::move(*text), out);
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
