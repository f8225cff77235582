#include "tests/support/DomWorld.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <vector>

#include "framework/host/ModuleLibrary.h"

namespace karst::test {

namespace {

constexpr const KaChar* kDocumentName = KA_TEXT("Doc");

template <class Module>
Module& LoadOrExit(const char* name) {
  const host::LoadedModule loaded = host::LoadModule(KADOM_BIN_DIR, name, 101);
  auto* module = dynamic_cast<Module*>(loaded.module);
  if (module == nullptr) {
    std::fprintf(stderr, "cannot test without the module %s: %s\n", name, loaded.error.c_str());
    std::exit(EXIT_FAILURE);
  }
  return *module;
}

std::string TableOf(KaDbConnection* connection, const std::string& columns, const std::string& from) {
  const std::string row = "quote(" + Replaced(columns, ",", ")||','||quote(") + ')';
  const KaText sql = Wide("SELECT ifnull(group_concat(row,';'),'') FROM (SELECT " + row + " AS row FROM " + from + ')');
  KaSmartPtr<KaDbStatement> statement;
  KaSmartPtr<KaString> text;
  if (connection == nullptr || !connection->Prepare(sql.c_str(), statement.Out(), 0)) return "<refused>";
  return statement->Step() == 1 && statement->GetString(0, text.Out()) ? Narrow(text->GetText()) : "<refused>";
}

std::string TreeOf(KaDomElement* element) {
  std::string text = LabelOf(element);
  KaSmartPtr<KaDomElement> child;
  if (!element->GetFirstChild(child.Out())) return text;
  text += '(' + TreeOf(child.Get());
  while (child->MoveNext()) text += ',' + TreeOf(child.Get());
  return text + ')';
}

bool Append(KaDomDocumentEditor* editor, int64_t parentId, int64_t childId) {
  KaSmartPtr<KaDomElementEditor> parent;
  return editor->OpenElementEditor(parentId, parent.Out()) && parent->AppendChild(childId) && parent->Commit();
}

}  // namespace

KaDom& DomModule() {
  static KaDom& module = LoadOrExit<KaDom>("KaDom");
  return module;
}

KaDatabase& DatabaseModule() {
  static KaDatabase& module = LoadOrExit<KaDatabase>("KaDatabase");
  return module;
}

DomWorld::DomWorld() {
  DatabaseModule().Attach(&engineHost);
  DatabaseModule().SetOption("synchronous", "off");  // no test pulls the plug
  host.Offer("KaDatabase 101", &forwarding);
  DomModule().Attach(&host);
  calls.Take();
}

DomWorld::~DomWorld() {
  Settle();
  DatabaseModule().Detach();
}

bool DomWorld::Open(const std::string& name) {
  Close();
  file = name;
  return DomModule().OpenDatabase(WidePath(Path(name)).c_str(), database.Out());
}

bool DomWorld::OpenNew(const KaChar* rootName, const std::string& name) {
  return Open(name) && database->CreateDocument(kDocumentName, rootName, document.Out());
}

bool DomWorld::Reopen() {
  return Open(file) && database->OpenDocument(kDocumentName, document.Out());
}

void DomWorld::Close() {
  document.Reset();
  database.Reset();
}

std::string DomWorld::Settle() {
  Close();
  DomModule().Detach();
  return calls.Imbalance();
}

KaSmartPtr<KaDbConnection> DomWorld::Another() {
  KaSmartPtr<KaDbConnection> connection;
  DatabaseModule().OpenConnection(WidePath(Path(file)).c_str(), connection.Out());
  return connection;
}

KaSmartPtr<KaDbConnection> DomWorld::OwnOrAnother() {
  KaDbConnection* own = forwarding.RealConnection();
  return own != nullptr ? KaSmartPtr<KaDbConnection>(own) : Another();
}

std::string DomWorld::Table(const std::string& columns, const std::string& from) {
  return TableOf(OwnOrAnother().Get(), columns, from);
}

std::string DomWorld::Stored(const std::string& columns, const std::string& from) {
  return TableOf(Another().Get(), columns, from);
}

void DomWorld::RunSql(const std::string& sql) {
  const auto connection = OwnOrAnother();
  if (connection && connection->Execute(Wide(sql).c_str())) return;
  throw std::runtime_error("a test cannot run: " + sql);
}

bool DomWorld::Grow(int64_t parentId, const std::string& children) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  if (!document->OpenEditor(editor.Out())) return false;
  std::vector<int64_t> parents{parentId};
  int64_t id = 0;
  for (size_t at = 0, end = 0; at < children.size(); at = end + 1) {
    end = std::min(children.find_first_of("(),", at), children.size());
    const KaText name = Wide(children.substr(at, end - at));
    const bool isNew = !name.empty();
    if (isNew && !(editor->CreateElement(name.c_str(), &id) && Append(editor.Get(), parents.back(), id))) return false;
    if (children[end] == '(') parents.push_back(id);
    if (children[end] == ')') parents.pop_back();
  }
  return editor->Commit();
}

std::string LabelOf(KaDomElement* element) {
  std::string label = Narrow(element->GetName());
  KaSmartPtr<KaDomAttribute> attribute;
  for (bool more = element->GetFirstAttribute(attribute.Out()); more; more = attribute->MoveNext()) {
    const KaChar* text = nullptr;
    int32_t number = 0;
    std::string value = "?";
    if (attribute->GetText(&text)) value = Narrow(text);
    if (attribute->GetInt(&number)) value = std::to_string(number) + '/' + std::to_string(attribute->GetUnit());
    label += '[' + Narrow(attribute->GetName()) + '=' + value + ']';
  }
  return label;
}

std::string TreeOf(KaDomDocument* document) {
  KaSmartPtr<KaDomElement> root;
  return document->GetRootElement(root.Out()) ? TreeOf(root.Get()) : "<none>";
}

std::string ListingOf(KaDomDocument* document) {
  std::string listing;
  KaSmartPtr<KaDomElement> element;
  for (int64_t id = 1; id < 100; ++id) {
    if (document->GetElement(id, element.Out())) listing += (id == 1 ? "" : " ") + LabelOf(element.Get());
  }
  return listing;
}

}  // namespace karst::test
