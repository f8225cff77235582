// Finds references to entities that nobody declared, where the XML parser passes over them in silence.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace karst::tool {

// With a document type that refers to declarations outside the document, a parser that does not read those must accept
// references to unknown entities. In content it reports them; in an attribute's value they vanish. So start tags are
// checked here.
class EntityCheck {
 public:
  // Notes the declaration of an internal entity. The first one of a name counts.
  void Declare(std::string_view name, std::string_view replacement) { replacements.emplace(name, replacement); }

  // The name of the first entity that `markup` refers to, directly or through another, and that was not declared.
  std::optional<std::string> FindUndeclared(std::string_view markup);

 private:
  std::map<std::string, std::string, std::less<>> replacements;
  std::set<std::string, std::less<>> known{"amp", "apos", "gt", "lt", "quot"};  // with everything they refer to
};

}  // namespace karst::tool
