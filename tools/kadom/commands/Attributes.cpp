#include <algorithm>

#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "records/RecordCodec.h"
#include "tools/kadom/AttributeReader.h"
#include "tools/kadom/Interrupt.h"
#include "tools/kadom/Output.h"
#include "tools/kadom/commands/Commands.h"

namespace karst::tool {

namespace {

constexpr size_t kNoLimit = static_cast<size_t>(-1);

void CheckElement(const Session& session, KaDomDocument& document, int64_t element) {
  KaSmartPtr<KaDomElement> found;
  if (!document.GetElement(element, found.Out())) {
    throw session.Fail("the document has no element " + std::to_string(element));
  }
}

// Throws when the list has no attribute of that name.
const Attribute& Find(const Session& session, int64_t element, const std::vector<Attribute>& attributes,
                      const KaText& name) {
  const auto found = std::find_if(attributes.begin(), attributes.end(),
                                  [&](const Attribute& attribute) { return attribute.name == name; });
  if (found == attributes.end()) {
    throw session.Fail("the element " + std::to_string(element) + " has no attribute " + Quoted(name));
  }
  return *found;
}

// A line of the list of attributes.
std::string Described(const Attribute& attribute) {
  const Value& value = attribute.value;
  std::string line = Escaped(attribute.name) + ": " + TypeName(value.type);
  if (value.unit != 0) line += " unit " + std::to_string(value.unit);
  const auto* text = std::get_if<KaText>(&value.content);
  return line + " = " + (text != nullptr ? Quoted(*text) : NumbersText(value, kNoLimit));
}

// The value as `set` takes it.
std::string Plain(const Session& session, const Attribute& attribute) {
  const auto* text = std::get_if<KaText>(&attribute.value.content);
  if (text == nullptr) return NumbersText(attribute.value, kNoLimit);
  auto bytes = common::ToUtf8(*text);
  if (!bytes) throw session.Fail("the text holds half a character, which has no UTF-8 form");
  return *bytes;
}

// Edits the element of the target: `change` gets its editor after `check` has seen the document. Nobody else can change
// what either of them sees.
template <class Check, class Change>
void Edit(Session& session, const Target& target, Check check, Change change) {
  session.OpenExisting(Access::Edit);
  const KaSmartPtr<KaDomDocument> document = session.OpenDocument(target.document);
  KaSmartPtr<KaDomDocumentEditor> documentEditor;
  if (!document->OpenEditor(documentEditor.Out())) throw session.Fail("cannot be edited");
  CheckElement(session, *document, target.element);
  check(*document);
  KaSmartPtr<KaDomElementEditor> editor;
  if (!documentEditor->OpenElementEditor(target.element, editor.Out())) throw session.Fail("cannot be edited");
  const bool isStored = change(*editor) && editor->Commit();
  editor.Reset();
  CheckInterrupt();
  if (!isStored || !documentEditor->Commit()) throw session.Fail("the attribute cannot be stored");
}

// Passes a value to the setter for its kind.
struct Setter {
  bool operator()(const KaText& text) const { return editor.SetText(name, text.c_str()); }
  bool operator()(const std::vector<int32_t>& numbers) const {
    return info.isArray ? editor.SetIntArray(name, numbers.data(), Count(numbers), value.type, value.unit)
                        : editor.SetInt(name, numbers.front(), value.unit);
  }
  bool operator()(const std::vector<int64_t>& numbers) const {
    return info.isArray ? editor.SetInt64Array(name, numbers.data(), Count(numbers), value.type, value.unit)
                        : editor.SetInt64(name, numbers.front(), value.unit);
  }
  bool operator()(const std::vector<double>& numbers) const {
    return info.isArray ? editor.SetDoubleArray(name, numbers.data(), Count(numbers), value.type, value.unit)
                        : editor.SetDouble(name, numbers.front(), value.unit);
  }

  template <class Number>
  uint64_t Count(const std::vector<Number>& numbers) const {
    return numbers.size() / static_cast<size_t>(info.components);
  }

  KaDomElementEditor& editor;
  const KaChar* name;
  const Value& value;
  const impl::TypeInfo& info = impl::kTypes[value.type];
};

}  // namespace

void Get(const Target& target, const std::string& name) {
  const KaText wideName = TextFromUser(name, "the name of the attribute");
  Session session(target.file, target.verbose);
  session.OpenExisting(Access::Read);
  const KaSmartPtr<KaDomDocument> document = session.OpenDocument(target.document);
  CheckElement(session, *document, target.element);
  const auto attributes = AttributeReader(session, document->GetId()).Read(target.element);
  Output output;
  if (!name.empty()) {
    output.Write(Plain(session, Find(session, target.element, attributes, wideName)) + "\n");
  } else {
    for (const Attribute& attribute : attributes) output.Write(Described(attribute) + "\n");
  }
  output.Finish();
}

void Set(const Target& target, const std::string& name, const NewValue& newValue) {
  const KaText wideName = TextFromUser(name, "the name of the attribute");
  if (name.empty()) throw Failure("an attribute has a name");
  const auto type = FindTypeByName(newValue.type);
  if (!type) throw Failure("there is no type " + newValue.type + "; the types are " + TypeNames());
  const Value value = ParseValue(*type, newValue.unit, newValue.arguments);

  const InterruptWatch watch;
  Session session(target.file, target.verbose);
  Edit(
      session, target, [](KaDomDocument&) {},
      [&](KaDomElementEditor& editor) {
        return std::visit(Setter{editor, wideName.c_str(), value}, value.content);
      });
}

void Unset(const Target& target, const std::string& name) {
  const KaText wideName = TextFromUser(name, "the name of the attribute");
  const InterruptWatch watch;
  Session session(target.file, target.verbose);
  const auto findAttribute = [&](KaDomDocument& document) {
    Find(session, target.element, AttributeReader(session, document.GetId()).Read(target.element), wideName);
  };
  Edit(session, target, findAttribute,
       [&](KaDomElementEditor& editor) { return editor.RemoveAttribute(wideName.c_str()); });
}

}  // namespace karst::tool
