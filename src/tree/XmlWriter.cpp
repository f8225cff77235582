#include "src/tree/XmlWriter.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <vector>

#include "karst/KaDomAttribute.h"
#include "karst/KaSmartPtr.h"
#include "src/tree/ElementPath.h"

namespace karst::impl {

void XmlOutput::Write(std::string_view bytes) {
  if (bytes.size() > buffer.size() - used) {
    for (const char byte : bytes) Put(byte);
    return;
  }
  std::memcpy(buffer.data() + used, bytes.data(), bytes.size());
  used += bytes.size();
}

void XmlOutput::Flush() {
  // Errors while writing are not detected; the export goes on to its end.
  std::fwrite(buffer.data(), 1, used, stream);
  used = 0;
}

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// What an ASCII character of an element's name is written as; empty: itself.
constexpr std::string_view PlainForm(char byte) {
  return byte == '\n' ? kLineEnd : std::string_view();
}

// What an ASCII character of an attribute is written as; empty: itself.
constexpr std::string_view EscapedForm(char byte) {
  switch (byte) {
    case '\t':
      return "&#009;";
    case '\n':
      return "&#010;";
    case '\r':
      return "&#013;";
    case '"':
      return "&quot;";
    case '&':
      return "&amp;";
    case '\'':
      return "&apos;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return {};
  }
}

// Texts point into records, where they may be unaligned.
uint16_t LoadUnit(const KaChar* text, size_t index) {
  uint16_t unit = 0;
  std::memcpy(&unit, reinterpret_cast<const uint8_t*>(text) + index * sizeof unit, sizeof unit);
  return unit;
}

// The most bytes that one unit becomes.
constexpr size_t kMostForm = 6;
static_assert([] {
  size_t longest = 0;
  for (int byte = 0; byte < 0x80; ++byte) {
    longest =
        std::max({longest, PlainForm(static_cast<char>(byte)).size(), EscapedForm(static_cast<char>(byte)).size()});
  }
  return longest;
}() == kMostForm);

// Writes one unit at `to` and answers where the next one goes.
template <std::string_view (*Form)(char)>
char* EncodeUnit(uint32_t unit, char* to) {
  if (unit < 0x80) {
    const std::string_view form = Form(static_cast<char>(unit));
    *to = static_cast<char>(unit);
    return form.empty() ? to + 1 : form.copy(to, form.size()) + to;
  }
  if (unit < 0x800) {
    *to++ = static_cast<char>(0xC0 | (unit >> 6));
  } else {
    *to++ = static_cast<char>(0xE0 | (unit >> 12));
    *to++ = static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
  }
  *to++ = static_cast<char>(0x80 | (unit & 0x3F));
  return to;
}

template <std::string_view (*Form)(char)>
void Encode(XmlOutput& output, const KaChar* text) {
  constexpr size_t kUnits = 32;  // as many as there is room for are encoded before the buffer is looked at again
  for (size_t i = 0;;) {
    char* to = output.Reserve(kUnits * kMostForm);
    for (const size_t end = i + kUnits; i < end; ++i) {
      const uint32_t unit = LoadUnit(text, i);
      if (unit == 0) {
        output.Advance(to);
        return;
      }
      to = EncodeUnit<Form>(unit, to);
    }
    output.Advance(to);
  }
}

void WriteInt(XmlOutput& output, int32_t value) {
  std::array<char, 12> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  output.Write(std::string_view(digits.data(), static_cast<size_t>(result.ptr - digits.data())));
}

void WriteAttributeName(XmlOutput& output, KaDomAttribute* attribute) {
  output.Put(' ');
  WriteEscapedUtf8(output, attribute->GetName());
  output.Write("=\"");
}

void WriteIntArray(XmlOutput& output, const int32_t* data, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    int32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(data) + i * sizeof value, sizeof value);
    if (i != 0) output.Put(' ');
    WriteInt(output, value);
  }
}

// Texts and 32-bit integer arrays are written; attributes of other types leave no trace.
void WriteAttribute(XmlOutput& output, KaDomAttribute* attribute) {
  const uint32_t type = attribute->GetType();
  const KaChar* text = nullptr;
  const int32_t* data = nullptr;
  size_t count = 0;
  if (type == ValueType::Text && attribute->GetText(&text)) {
    WriteAttributeName(output, attribute);
    WriteEscapedUtf8(output, text);
    output.Put('"');
  } else if (type >= ValueType::IntArray && type <= ValueType::IntArray4 && attribute->GetIntArray(&data, &count) &&
             count != 0) {
    WriteAttributeName(output, attribute);
    WriteIntArray(output, data, count);
    output.Put('"');
  }
}

void WriteAttributes(XmlOutput& output, KaDomElement* element) {
  KaSmartPtr<KaDomAttribute> attribute;
  if (!element->GetFirstAttribute(attribute.Out())) return;
  do {
    WriteAttribute(output, attribute.Get());
  } while (attribute->MoveNext());
}

// Walks an element and everything below it, with a stack of its own: trees are deeper than call stacks.
class TreeWriter {
 public:
  TreeWriter(XmlOutput& output, KaDomElement* element) : output(output), top(element) {}

  void Write() {
    path.Enter(top->GetId());
    do {
      OpenTag();
    } while (Descend() || Advance());
  }

 private:
  KaDomElement* Current() const { return levels.empty() ? top : levels.back().Get(); }

  void Indent() {
    for (size_t level = 0; level < levels.size(); ++level) output.Write("  ");
  }

  // Everything of the current element's first tag but its end.
  void OpenTag() {
    Indent();
    output.Put('<');
    WriteUtf8(output, Current()->GetName());
    WriteAttributes(output, Current());
  }

  void EndTag(std::string_view end) {
    output.Write(end);
    output.Write(kLineEnd);
  }

  void CloseTag() {
    Indent();
    output.Write("</");
    WriteUtf8(output, Current()->GetName());
    EndTag(">");
  }

  // Ends the current tag and goes to the first child.
  bool Descend() {
    KaSmartPtr<KaDomElement> child;
    if (Current()->GetFirstChild(child.Out()) && EnterFrom(child.Get())) {
      EndTag(">");
      levels.push_back(std::move(child));
      return true;
    }
    EndTag("/>");
    return false;
  }

  // Goes to the next sibling, or to that of the nearest element above that has one, closing what ends on the way.
  bool Advance() {
    while (!levels.empty()) {
      path.Leave();
      if (levels.back()->MoveNext() && EnterFrom(levels.back().Get())) return true;
      levels.pop_back();
      CloseTag();
    }
    return false;
  }

  // Enters the cursor's element, or the next of its siblings that is not above itself.
  bool EnterFrom(KaDomElement* cursor) {
    do {
      if (path.Enter(cursor->GetId())) return true;
    } while (cursor->MoveNext());
    return false;
  }

  XmlOutput& output;
  KaDomElement* const top;
  std::vector<KaSmartPtr<KaDomElement>> levels;  // the cursor on each level below `top`
  ElementPath path;                              // the ids of `top` and of each level's current element
};

}  // namespace

void WriteUtf8(XmlOutput& output, const KaChar* text) {
  Encode<PlainForm>(output, text);
}

void WriteEscapedUtf8(XmlOutput& output, const KaChar* text) {
  Encode<EscapedForm>(output, text);
}

void WriteElementXml(XmlOutput& output, KaDomElement* element) {
  TreeWriter(output, element).Write();
}

}  // namespace karst::impl
