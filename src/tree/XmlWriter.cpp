#include "src/tree/XmlWriter.h"

#include <charconv>
#include <cstring>
#include <vector>

#include "karst/KaDomAttribute.h"
#include "src/module/KaSmartPtr.h"
#include "src/tree/ElementPath.h"

namespace karst::impl {

void XmlOutput::Put(char byte) {
  if (byte == '\n') PutRaw('\r');
  PutRaw(byte);
}

void XmlOutput::Write(std::string_view bytes) {
  for (const char byte : bytes) Put(byte);
}

void XmlOutput::PutRaw(char byte) {
  if (used == buffer.size()) Flush();
  buffer[used++] = byte;
}

void XmlOutput::Flush() {
  // Errors while writing are not detected; the export goes on to its end.
  std::fwrite(buffer.data(), 1, used, stream);
  used = 0;
}

namespace {

void PutPlain(XmlOutput& output, char byte) {
  output.Put(byte);
}

void PutEscaped(XmlOutput& output, char byte) {
  switch (byte) {
    case '\t':
      return output.Write("&#009;");
    case '\n':
      return output.Write("&#010;");
    case '\r':
      return output.Write("&#013;");
    case '"':
      return output.Write("&quot;");
    case '&':
      return output.Write("&amp;");
    case '\'':
      return output.Write("&apos;");
    case '<':
      return output.Write("&lt;");
    case '>':
      return output.Write("&gt;");
    default:
      return output.Put(byte);
  }
}

// Texts point into records, where they may be unaligned.
uint16_t LoadUnit(const KaChar* text, size_t index) {
  uint16_t unit = 0;
  std::memcpy(&unit, reinterpret_cast<const uint8_t*>(text) + index * sizeof unit, sizeof unit);
  return unit;
}

template <void (*PutByte)(XmlOutput&, char)>
void Encode(XmlOutput& output, const KaChar* text) {
  for (size_t i = 0;; ++i) {
    const uint32_t unit = LoadUnit(text, i);
    if (unit == 0) return;
    if (unit < 0x80) {
      PutByte(output, static_cast<char>(unit));
      continue;
    }
    if (unit < 0x800) {
      PutByte(output, static_cast<char>(0xC0 | (unit >> 6)));
    } else {
      PutByte(output, static_cast<char>(0xE0 | (unit >> 12)));
      PutByte(output, static_cast<char>(0x80 | ((unit >> 6) & 0x3F)));
    }
    PutByte(output, static_cast<char>(0x80 | (unit & 0x3F)));
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

  void CloseTag() {
    Indent();
    output.Write("</");
    WriteUtf8(output, Current()->GetName());
    output.Write(">\n");
  }

  // Ends the current tag and goes to the first child.
  bool Descend() {
    KaSmartPtr<KaDomElement> child;
    if (Current()->GetFirstChild(child.Out()) && EnterFrom(child.Get())) {
      output.Write(">\n");
      levels.push_back(std::move(child));
      return true;
    }
    output.Write("/>\n");
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
  Encode<PutPlain>(output, text);
}

void WriteEscapedUtf8(XmlOutput& output, const KaChar* text) {
  Encode<PutEscaped>(output, text);
}

void WriteElementXml(XmlOutput& output, KaDomElement* element) {
  TreeWriter(output, element).Write();
}

}  // namespace karst::impl
