// What the tool does. Each command throws Failure when it cannot.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace karst::tool {

// What several commands take.
struct Target {
  std::filesystem::path file;
  std::string document;
  int64_t element = 0;
  bool verbose = false;
};

struct TreeLimits {
  uint64_t depth = std::numeric_limits<uint64_t>::max();
  uint64_t lines = std::numeric_limits<uint64_t>::max();
};

// What `set` writes, as the user wrote it.
struct NewValue {
  std::string type;
  uint32_t unit = 0;
  std::vector<std::string> arguments;
};

// Stores an XML file as a new document. The file is created when it does not exist. When it fails, the file is as it
// was before.
void Import(const Target& target, const std::filesystem::path& input);

// Writes a document as XML to the file `output`, or to standard output when that is empty.
void Export(const Target& target, const std::filesystem::path& output);

// Prints the documents of a file.
void List(const Target& target);

// Prints the elements of a document.
void Tree(const Target& target, const TreeLimits& limits);

// Prints the attributes of an element, or the value of the one called `name` when that is not empty.
void Get(const Target& target, const std::string& name);

void Set(const Target& target, const std::string& name, const NewValue& value);

void Unset(const Target& target, const std::string& name);

}  // namespace karst::tool
