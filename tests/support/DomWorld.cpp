#include "tests/support/DomWorld.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <vector>

#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "framework/host/ModuleLibrary.h"
#include "tests/support/Text.h"

namespace karst::test {

namespace {

constexpr int32_t kVersion = 101;
constexpr const KaChar* kDocumentName = KA_TEXT("Doc");

template <class Module>
Module& LoadOrExit(const char* name) {
  const host::LoadedModule loaded = host::LoadModule(KADOM_BIN_DIR, name, kVersion);
  auto* module = dynamic_cast<Module*>(loaded.module);
  if (module == nullptr) {
    std::fprintf(stderr, "cannot test without the module %s: %s\n", name, loaded.error.c_str());
    std::exit(EXIT_FAILURE);
  }
  return *module;
}

std::filesystem::path NewFolder() {
  std::random_device random;
  const auto folder = std::filesystem::temp_directory_path() / ("kadom-test-" + std::to_string(random()));
  std::filesystem::create_directories(folder);
  return folder;
}

// "id,name" as "quote(id)||','||quote(name)".
std::string QuotedColumns(const std::string& columns) {
  std::string quoted = "quote(";
  for (char c : columns) quoted += c == ',' ? std::string(")||','||quote(") : std::string(1, c);
  return quoted + ')';
}

std::vector<std::string> FirstColumn(KaDbConnection* connection, const std::string& sql) {
  std::vector<std::string> rows;
  KaSmartPtr<KaDbStatement> statement;
  if (connection == nullptr || !connection->Prepare(Wide(sql).c_str(), statement.Out(), 0)) return {"<refused>"};
  while (statement->Step() == 1) {
    KaSmartPtr<KaString> text;
    int64_t number = 0;
    if (statement->GetString(0, text.Out())) {
      rows.push_back(Narrow(text->GetText()));
    } else {
      rows.push_back(statement->GetInt64(0, &number) ? std::to_string(number) : "<unreadable>");
    }
  }
  return rows;
}

std::string TableOf(KaDbConnection* connection, const std::string& columns, const std::string& from) {
  std::string table;
  for (const std::string& row : FirstColumn(connection, "SELECT " + QuotedColumns(columns) + " FROM " + from)) {
    table += (table.empty() ? "" : ";") + row;
  }
  return table;
}

// Grows the children that start at `at` below `parentId`, up to the closing parenthesis or the end of the text.
bool GrowAt(KaDomDocumentEditor* editor, int64_t parentId, const std::string& text, size_t& at) {
  KaSmartPtr<KaDomElementEditor> parent;
  if (!editor->OpenElementEditor(parentId, parent.Out())) return false;
  while (at < text.size() && text[at] != ')') {
    const size_t end = std::min(text.find_first_of("(),", at), text.size());
    int64_t id = 0;
    if (!editor->CreateElement(Wide(text.substr(at, end - at)).c_str(), &id) || !parent->AppendChild(id)) return false;
    at = end;
    if (at < text.size() && text[at] == '(') {
      if (!GrowAt(editor, id, text, ++at)) return false;
      ++at;
    }
    if (at < text.size() && text[at] == ',') ++at;
  }
  return parent->Commit();
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

DomWorld::DomWorld() : folder(NewFolder()) {
  DatabaseModule().Attach(&engineHost);
  DatabaseModule().SetOption("synchronous", "off");  // no test pulls the plug
  host.Offer("KaDatabase", kVersion, &forwarding);
  DomModule().Attach(&host);
  calls.Take();
}

DomWorld::~DomWorld() {
  Settle();
  DatabaseModule().Detach();
  std::error_code ignored;  // a file that cannot be removed fails no test
  std::filesystem::remove_all(folder, ignored);
}

bool DomWorld::Open(const std::string& name) {
  Close();
  file = name;
  return DomModule().OpenDatabase(WidePath(Path(name)).c_str(), database.Out());
}

bool DomWorld::OpenNew(const KaChar* rootName) {
  return Open() && database->CreateDocument(kDocumentName, rootName, document.Out());
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

std::string DomWorld::QueryText(const std::string& sql) {
  const auto rows = FirstColumn(OwnOrAnother().Get(), sql);
  return rows.empty() ? "<none>" : rows.front();
}

int64_t DomWorld::QueryInt(const std::string& sql) {
  const std::string text = QueryText(sql);
  return text == "<none>" ? -1 : std::strtoll(text.c_str(), nullptr, 10);
}

void DomWorld::RunSql(const std::string& sql) {
  const auto connection = OwnOrAnother();
  if (connection && connection->Execute(Wide(sql).c_str())) return;
  throw std::runtime_error("a test cannot run: " + sql);
}

bool DomWorld::Grow(int64_t parentId, const std::string& children) {
  KaSmartPtr<KaDomDocumentEditor> editor;
  size_t at = 0;
  return document->OpenEditor(editor.Out()) && GrowAt(editor.Get(), parentId, children, at) && editor->Commit();
}

std::string TreeOf(KaDomElement* element) {
  std::string text = Narrow(element->GetName());
  KaSmartPtr<KaDomElement> child;
  if (!element->GetFirstChild(child.Out())) return text;
  text += '(' + TreeOf(child.Get());
  while (child->MoveNext()) text += ',' + TreeOf(child.Get());
  return text + ')';
}

std::string TreeOf(KaDomDocument* document) {
  KaSmartPtr<KaDomElement> root;
  return document->GetRootElement(root.Out()) ? TreeOf(root.Get()) : "<none>";
}

}  // namespace karst::test
