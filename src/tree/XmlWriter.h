// The XML export: elements as indented text.
#pragma once

#include <array>
#include <cstdio>
#include <string_view>

#include "karst/KaDomElement.h"

namespace karst::impl {

// Collects output in a buffer of fixed size in front of a stream, which must not translate line ends.
class XmlOutput {
 public:
  // `stream` stays the caller's and outlives the output.
  explicit XmlOutput(std::FILE* stream) : stream(stream) {}
  XmlOutput(const XmlOutput&) = delete;
  XmlOutput& operator=(const XmlOutput&) = delete;
  ~XmlOutput() { Flush(); }

  void Put(char byte) {
    if (used == buffer.size()) Flush();
    buffer[used++] = byte;
  }
  void Write(std::string_view bytes);

  // Room for `size` bytes, no more than a few hundred, behind what was written. What of it was used is told by Advance.
  char* Reserve(size_t size) {
    if (buffer.size() - used < size) Flush();
    return buffer.data() + used;
  }
  void Advance(const char* end) { used = static_cast<size_t>(end - buffer.data()); }

 private:
  void Flush();

  std::FILE* const stream;
  std::array<char, size_t{32} * 1024> buffer;
  size_t used = 0;
};

// Writes a NUL-terminated text as UTF-8, each 16-bit unit on its own: a surrogate pair becomes two sequences of three
// bytes, and a line feed CR LF, as everywhere in the file. The text may be unaligned.
void WriteUtf8(XmlOutput& output, const KaChar* text);

// The same, with the eight characters that XML attributes cannot hold written as references.
void WriteEscapedUtf8(XmlOutput& output, const KaChar* text);

// Writes the current element of `element` and everything below it, starting in the first column. What cannot be read is
// left out. Does not move `element`.
void WriteElementXml(XmlOutput& output, KaDomElement* element);

}  // namespace karst::impl
