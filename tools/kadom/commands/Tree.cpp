#include <unordered_set>

#include "karst/KaDomElement.h"
#include "tools/kadom/AttributeReader.h"
#include "tools/kadom/Output.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace {

// What a line shows of one value.
constexpr size_t kMaxCharacters = 60;
constexpr size_t kMaxNumbers = 16;

std::string Shown(const Attribute& attribute) {
  const Value& value = attribute.value;
  std::string shown = " " + Escaped(attribute.name) + "=";
  if (const auto* text = std::get_if<KaText>(&value.content)) return shown + Quoted(*text, kMaxCharacters);
  const std::string numbers = NumbersText(value, kMaxNumbers);
  shown += IsArray(value.type) ? "[" + numbers + "]" : numbers;
  if (value.unit != 0) shown += "{" + std::to_string(value.unit) + "}";
  return shown;
}

// Walks a document in its order. The path is a list of cursors, so that its depth costs no stack.
class TreePrinter {
 public:
  TreePrinter(Session& openSession, KaDomDocument& document, const TreeLimits& treeLimits)
      : session(openSession), limits(treeLimits), attributes(openSession, document.GetId()) {
    KaSmartPtr<KaDomElement> root;
    if (!document.GetRootElement(root.Out())) throw session.Fail("the root element cannot be read");
    path.push_back(std::move(root));
  }

  void Print() {
    for (uint64_t lines = 0; !path.empty(); ++lines) {
      if (lines == limits.lines) {
        output.Write("… and more\n");
        break;
      }
      PrintElement();
      Advance();
    }
    output.Finish();
  }

 private:
  void PrintElement() {
    KaDomElement& element = *path.back();
    std::string line((path.size() - 1) * 2, ' ');
    line += Escaped(element.GetName()) + " #" + std::to_string(element.GetId());
    for (const Attribute& attribute : attributes.Read(element.GetId())) line += Shown(attribute);
    if (!MayEnter() && element.GetFirstChild(nullptr)) line += " …";
    output.Write(line + "\n");
  }

  // Whether the children of the current element are to be shown. In a damaged file an element may stand below itself.
  bool MayEnter() const { return path.size() < limits.depth && !entered.contains(path.back()->GetId()); }

  // Moves to the next element in document order.
  void Advance() {
    if (MayEnter()) {
      KaSmartPtr<KaDomElement> child;
      if (path.back()->GetFirstChild(child.Out())) {
        entered.insert(path.back()->GetId());
        path.push_back(std::move(child));
        return;
      }
    }
    while (!path.empty() && (path.size() == 1 || !path.back()->MoveNext())) {
      path.pop_back();
      if (!path.empty()) entered.erase(path.back()->GetId());
    }
  }

  Session& session;
  const TreeLimits limits;
  Output output;
  AttributeReader attributes;
  std::vector<KaSmartPtr<KaDomElement>> path;
  std::unordered_set<int64_t> entered;  // the ids of the path without its last element
};

}  // namespace

void Tree(const Target& target, const TreeLimits& limits) {
  Session session(target.file, target.verbose);
  session.OpenExisting(Access::Read);
  const KaSmartPtr<KaDomDocument> document = session.OpenDocument(target.document);
  TreePrinter(session, *document, limits).Print();
  session.CheckComplete();
}

}  // namespace karst::tool
