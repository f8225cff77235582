#include "tools/kadom/EntityCheck.h"

#include <vector>

namespace karst::tool {

std::optional<std::string> EntityCheck::FindUndeclared(std::string_view markup) {
  std::vector<std::string_view> unread{markup};
  while (!unread.empty()) {
    std::string_view text = unread.back();
    unread.pop_back();
    for (size_t start = text.find('&'); start != text.npos; start = text.find('&')) {
      text.remove_prefix(start + 1);
      const std::string_view name = text.substr(0, text.find(';'));
      if (name.starts_with('#') || known.contains(name)) continue;
      const auto declared = replacements.find(name);
      if (declared == replacements.end()) return std::string(name);
      known.insert(declared->first);
      unread.push_back(declared->second);
    }
  }
  return std::nullopt;
}

}  // namespace karst::tool
