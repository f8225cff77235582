// A visitor that writes XML text, byte for byte as the system exports it.
#pragma once

#include <cstdio>
#include <string>

#include "bench/Contender.h"

namespace karst::bench {

class XmlWriting {
 public:
  // Of numbers, only arrays of 32-bit integers are exported.
  static constexpr bool kWantsNumbers = false;

  explicit XmlWriting(const std::string& path) : file(std::fopen(path.c_str(), "wb")) {
    Require(file != nullptr, "the export file cannot be opened");
    buffer.reserve(kBufferSize + kRoom);
  }
  XmlWriting(const XmlWriting&) = delete;
  XmlWriting& operator=(const XmlWriting&) = delete;
  ~XmlWriting() {
    Flush();
    std::fclose(file);
  }

  bool WantsAttributes() const { return true; }
  template <class Unit>
  void Enter(int64_t /*element*/, const Unit* name) {
    if (buffer.size() >= kBufferSize) Flush();
    buffer.append(2 * depth++, ' ');
    buffer += '<';
    PutText(name);
  }
  template <class Unit>
  void Label(const Unit* text) {
    buffer += " label=\"";
    PutText(text);
    buffer += '"';
  }
  void Count(int32_t /*value*/, uint32_t /*unit*/) {}
  void MatrixAt(const void* /*numbers*/, uint32_t /*unit*/) {}
  void EndTag(bool hasChildren) { buffer += hasChildren ? ">\r\n" : "/>\r\n"; }
  template <class Unit>
  void Leave(const Unit* name, bool hadChildren) {
    --depth;
    if (!hadChildren) return;
    buffer.append(2 * depth, ' ');
    buffer += "</";
    PutText(name);
    buffer += ">\r\n";
  }

 private:
  static constexpr size_t kBufferSize = 32 * 1024;
  static constexpr size_t kRoom = 1024;

  // The tree's texts need no references; that is looked at all the same, as a writer must.
  template <class Unit>
  void PutText(const Unit* text) {
    for (; *text != 0; ++text) {
      const auto unit = static_cast<uint32_t>(*text);
      Require(unit == ' ' || (unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'z'), "an unexpected text");
      buffer += static_cast<char>(unit);
    }
  }

  void Flush() {
    Require(std::fwrite(buffer.data(), 1, buffer.size(), file) == buffer.size(), "the export file cannot be written");
    buffer.clear();
  }

  std::FILE* const file;
  std::string buffer;
  size_t depth = 0;
};

}  // namespace karst::bench
