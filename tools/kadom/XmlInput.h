// Reads an XML file as a stream.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string_view>

namespace karst::tool {

// Takes the elements and texts of an XML document in the order in which they stand in it. What an operation throws
// ends the reading. Texts are UTF-8.
class XmlReceiver {
 public:
  virtual ~XmlReceiver() = default;
  // `attributes` holds name, value, name, value … and ends with a null pointer.
  virtual void StartElement(const char* name, const char* const* attributes) = 0;
  virtual void EndElement() = 0;
  // A piece of character data; one run may come in several pieces.
  virtual void AddText(std::string_view piece) = 0;
};

// What an XML document holds besides elements and texts.
struct XmlExtras {
  uint64_t comments = 0;
  uint64_t instructions = 0;
};

// How far reading has come; `size` is 0 when it is not known.
using ReadProgress = std::function<void(uint64_t bytesRead, uint64_t size)>;

class InputFile;

// Reads the XML document in `file` piece by piece to its end. `path` names it in messages. Nothing outside the file is
// ever read. Throws Failure, "PATH:LINE:COLUMN: reason", when the document is not well-formed or refers to an entity
// that it does not define itself.
XmlExtras ReadXml(InputFile& file, const std::filesystem::path& path, XmlReceiver& receiver,
                  const ReadProgress& progress);

}  // namespace karst::tool
