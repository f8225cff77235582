#include "tools/kadom/Text.h"

#include <cstdio>
#include <iterator>

#include "common/PathText.h"
#include "tools/kadom/Failure.h"

namespace karst::tool {

namespace {

bool IsHighSurrogate(KaChar unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(KaChar unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

// Takes the next character, one unit or a surrogate pair, from the front of `text`.
KaTextView TakeCharacter(KaTextView& text) {
  const bool isPair = text.size() > 1 && IsHighSurrogate(text[0]) && IsLowSurrogate(text[1]);
  const KaTextView character = text.substr(0, isPair ? 2 : 1);
  text.remove_prefix(character.size());
  return character;
}

bool IsControl(KaChar unit) {
  // The line and paragraph separators break lines on some terminals.
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == 0x2028 || unit == 0x2029;
}

void AppendEscaped(std::string& out, KaTextView character, bool inQuotes) {
  const KaChar unit = character[0];
  const bool isUnpaired = character.size() == 1 && (IsHighSurrogate(unit) || IsLowSurrogate(unit));
  if (unit == u'\n') {
    out += "\\n";
  } else if (unit == u'\r') {
    out += "\\r";
  } else if (unit == u'\t') {
    out += "\\t";
  } else if (unit == u'\\' || (inQuotes && unit == u'"')) {
    out += {'\\', static_cast<char>(unit)};
  } else if (isUnpaired || IsControl(unit)) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
    out += escape;
  } else {
    out += common::ToUtf8(character).value_or("?");
  }
}

}  // namespace

KaText TextFromUser(std::string_view text, std::string_view what) {
  auto converted = common::ToUtf16(text);
  if (!converted) throw Failure(std::string(what) + " is not valid UTF-8");
  return std::move(*converted);
}

KaText PathForModule(const std::filesystem::path& path) {
  const std::string text = common::PathText(path);
  return TextFromUser(text, "the path " + text);
}

std::string Escaped(KaTextView text) {
  std::string out;
  while (!text.empty()) AppendEscaped(out, TakeCharacter(text), false);
  return out;
}

std::string Quoted(KaTextView text, size_t limit) {
  std::string out = "\"";
  for (size_t i = 0; i < limit && !text.empty(); ++i) AppendEscaped(out, TakeCharacter(text), true);
  out += text.empty() ? "\"" : "…\"";
  return out;
}

std::string OneLine(std::string_view message) {
  std::string line;
  for (const char c : message) {
    if (static_cast<unsigned char>(c) > 0x20 && c != 0x7F) {
      line += c;
    } else if (!line.empty() && line.back() != ' ') {
      line += ' ';
    }
  }
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line;
}

std::string Counted(uint64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace karst::tool
