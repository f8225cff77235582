// Random edits through the real modules, against a tree in memory.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <random>

#include "karst/KaDomAttribute.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "tests/scenarios/ScopeModel.h"
#include "tests/support/DomFixture.h"

namespace karst::test {
namespace {

constexpr int kOperations = 200'000;
constexpr int kBatch = 2'000;  // operations between two new files

using Attributes = std::map<std::string, std::string>;
struct Element {
  int64_t parent = -1;
  std::string name = {};
  Attributes attributes = {};
};
struct Document {
  std::string name;
  std::map<int64_t, Element> elements = {};
  int64_t nextId = 1;
};
struct Content {
  std::map<int64_t, Document> documents = {};
  int64_t nextId = 1;
  size_t names = 0;  // how many of the names in memory have their row
};
using Scopes = ScopeModel<Content>;

// An editor and what is known of it. Its scope is empty once committed. An element editor keeps its parent.
struct Editor {
  Editor(Scopes& scopes, int64_t document) : scopes(scopes), document(document) {}
  ~Editor() {
    real.Reset();
    element.Reset();
    parent.reset();
    if (scope) scopes.Abandon(scope);
  }

  Scopes& scopes;
  int64_t document;
  int64_t id = 0;
  Scopes::Handle scope = nullptr;
  std::shared_ptr<Editor> parent = nullptr;
  std::optional<Attributes> copy = {};
  KaSmartPtr<KaDomDocumentEditor> real = {};
  KaSmartPtr<KaDomElementEditor> element = {};
};

class ModelTest : public DomFixture {
 protected:
  // A number below `end`.
  size_t Any(size_t end) { return random() % end; }
  std::string AnyName() { return "n" + std::to_string(Any(3) == 0 ? Any(200) : Any(5)); }
  template <class T>
  auto AnyOf(T& all) {
    return std::next(all.begin(), static_cast<std::ptrdiff_t>(Any(all.size())));
  }
  // Mostly an element that is there, at times one that is not.
  int64_t AnyId(const Document& document) {
    return 1 + static_cast<int64_t>(Any(static_cast<size_t>(document.nextId)));
  }

  Content& Now() { return scopes->state; }
  bool StoreNames() {
    if (Now().names == names.size()) return true;
    if (!scopes->Write()) return false;
    Now().names = names.size();
    return true;
  }
  bool Intern(const std::string& name) {
    if (std::find(names.begin(), names.end(), name) != names.end()) return true;
    if (!StoreNames() || !scopes->Write()) return false;
    names.push_back(name);
    Now().names = names.size();
    return true;
  }
  bool Names(const std::string& name) { return Intern(name) && StoreNames() && scopes->Write(); }

  // Remembers an operation, and compares its answer with the model's.
  void Answers(const std::string& operation, bool answer, bool expected) {
    log.push_back(operation + (answer ? "" : " = false"));
    if (answer == expected || HasFailure()) return;
    Fail("the model answers " + std::to_string(expected));
  }
  void Fail(const std::string& what) {
    std::string tail;
    for (size_t i = log.size() - std::min<size_t>(log.size(), 60); i < log.size(); ++i) tail += log[i] + '\n';
    ADD_FAILURE() << "seed " << seed << ": " << what << "\n" << tail << host.TakeLog();
  }

  void Step();
  void CreateDocument();
  void DeleteDocument();
  void OpenEditor();
  void OpenElement();
  void EditDocument(Editor& editor);
  void EditElement(Editor& editor);
  void Append(Editor& editor, Document& document);
  void EditAttributes(Editor& editor, Document& document);
  void Commit(Editor& editor);
  void Browse();
  void Compare();
  std::string Shown(KaDomDocument* shown, int64_t id);
  void CloseAll();

  uint32_t seed = 0;
  std::mt19937 random;
  std::optional<Scopes> scopes;
  std::vector<std::string> names;
  std::vector<std::shared_ptr<Editor>> editors;  // of documents
  std::vector<std::shared_ptr<Editor>> elements;
  std::vector<KaSmartPtr<KaDomElement>> cursors;
  std::vector<std::string> log;
};

void ModelTest::CreateDocument() {
  const std::string name = "d" + std::to_string(Any(3)), root = AnyName();
  const auto scope = scopes->Begin();
  bool expected = scope != nullptr;
  const auto isNamed = [&](const auto& each) { return each.second.name == name; };
  auto& documents = Now().documents;
  if (scope && std::any_of(documents.begin(), documents.end(), isNamed)) {
    scopes->Abandon(scope);
  } else if (scope && scopes->Write()) {
    const int64_t id = Now().nextId++;
    Names(root);
    Now().documents[id] = {name, {{1, {0, root}}}, 2};
    expected = scopes->Commit(scope);
  }
  const bool answer = database->CreateDocument(Wide(name).c_str(), Wide(root).c_str(), nullptr);
  Answers("CreateDocument " + name + ' ' + root, answer, expected);
}

void ModelTest::DeleteDocument() {
  const std::string name = "d" + std::to_string(Any(3));
  const auto found = std::find_if(Now().documents.begin(), Now().documents.end(),
                                  [&](const auto& each) { return each.second.name == name; });
  for (const auto* pool : {&editors, &elements}) {
    for (const auto& each : *pool) {
      if (found != Now().documents.end() && each->document == found->first) return;
    }
  }
  const auto scope = scopes->Begin();
  if (scope && found == Now().documents.end()) {
    scopes->Abandon(scope);
  } else if (scope && scopes->Write()) {
    Now().documents.erase(found->first);
    scopes->Commit(scope);
  }
  Answers("DeleteDocument " + name, database->DeleteDocument(Wide(name).c_str()), scope != nullptr);
}

void ModelTest::OpenEditor() {
  const auto [id, described] = *AnyOf(Now().documents);
  KaSmartPtr<KaDomDocument> opened;
  Answers("OpenDocument " + described.name, database->OpenDocument(Wide(described.name).c_str(), opened.Out()), true);
  if (!opened) return;
  if (Any(4) == 0) {
    const bool expected = scopes->Write();
    Answers("CreateIndexes", opened->CreateIndexes(), expected);
  }
  auto editor = std::make_shared<Editor>(*scopes, id);
  editor->scope = scopes->Begin();
  Answers("OpenEditor " + described.name, opened->OpenEditor(editor->real.Out()), editor->scope != nullptr);
  if (editor->scope) editors.push_back(editor);
}

void ModelTest::OpenElement() {
  const auto& parent = *AnyOf(editors);
  const auto document = Now().documents.find(parent->document);
  if (document == Now().documents.end()) return;
  auto editor = std::make_shared<Editor>(*scopes, parent->document);
  editor->id = AnyId(document->second);
  editor->parent = parent;
  editor->scope = scopes->Begin();
  const bool answer = parent->real->OpenElementEditor(editor->id, editor->element.Out());
  Answers("OpenElementEditor " + std::to_string(editor->id), answer, editor->scope != nullptr);
  if (editor->scope) elements.push_back(editor);
}

void ModelTest::EditDocument(Editor& editor) {
  const auto found = Now().documents.find(editor.document);
  if (found == Now().documents.end()) return;
  const int64_t id = AnyId(found->second);
  if (Any(3) == 0) {
    const bool expected = scopes->Write();
    if (expected) Now().documents[editor.document].elements.erase(id);
    Answers("DeleteElement " + std::to_string(id), editor.real->DeleteElement(id), expected);
    return;
  }
  const std::string name = AnyName();
  const bool expected = Names(name);
  int64_t expectedId = -7, created = -7;
  if (expected) {
    Document& document = Now().documents[editor.document];
    expectedId = document.nextId++;
    document.elements[expectedId] = {-1, name};
  }
  const bool answer = editor.real->CreateElement(Wide(name).c_str(), &created);
  Answers("CreateElement " + name + ' ' + std::to_string(created), answer, expected && created == expectedId);
}

void ModelTest::Append(Editor& editor, Document& document) {
  const int64_t child = AnyId(document);
  bool expected = child != editor.id;
  for (auto at = document.elements.find(editor.id); at != document.elements.end() && expected;) {
    expected = at->second.parent != child;
    at = document.elements.find(at->second.parent);
  }
  expected = expected && scopes->Write();
  if (expected && document.elements.contains(child)) document.elements[child].parent = editor.id;
  const std::string operation = "AppendChild " + std::to_string(editor.id) + ' ' + std::to_string(child);
  Answers(operation, editor.element->AppendChild(child), expected);
}

void ModelTest::EditElement(Editor& editor) {
  const auto found = Now().documents.find(editor.document);
  if (found == Now().documents.end() || editor.id >= found->second.nextId) return;
  auto& all = found->second.elements;
  const size_t what = Any(12);
  if (what < 4) return Append(editor, found->second);
  if (what > 6) return EditAttributes(editor, found->second);
  const std::string self = ' ' + std::to_string(editor.id) + ' ';
  if (what == 4) {
    const std::string name = AnyName();
    const bool expected = Names(name);
    if (expected && all.contains(editor.id)) all[editor.id].name = name;
    Answers("Rename" + self + name, editor.element->Rename(Wide(name).c_str()), expected);
  } else if (what == 5) {
    const int64_t child = AnyId(found->second);
    const bool expected = scopes->Write();
    if (expected && all.contains(child) && all[child].parent == editor.id) all.erase(child);
    Answers("DeleteChild" + self + std::to_string(child), editor.element->DeleteChild(child), expected);
  } else {
    const auto scope = scopes->Begin();
    for (std::vector<int64_t> above{editor.id}; scope && !above.empty();) {
      const int64_t parent = above.back();
      above.pop_back();
      for (const auto& [id, each] : all) {
        if (each.parent == parent) above.push_back(id);
      }
      if (parent != editor.id && scopes->Write()) all.erase(parent);
    }
    Answers("DeleteChildren" + self, editor.element->DeleteChildren(), scope && scopes->Commit(scope));
  }
}

void ModelTest::EditAttributes(Editor& editor, Document& document) {
  const std::string name = AnyName();
  const KaText wide = Wide(name);
  const auto unit = static_cast<uint32_t>(Any(1000));
  const auto number = static_cast<int32_t>(unit) - 500;
  const std::array<int32_t, 2> ints{number, 1};
  const std::array<int64_t, 2> longs{number, 2};
  const std::array<double, 2> doubles{0.5 * number, 3};
  const size_t what = Any(9);
  auto* real = editor.element.Get();
  if (what == 8 && Any(4) == 0) {
    editor.copy.emplace();
    return Answers("RemoveAllAttributes", real->RemoveAllAttributes(), true);
  }
  bool expected = Intern(name) || what >= 7;
  const auto self = document.elements.find(editor.id);
  if (expected && !editor.copy && self != document.elements.end()) editor.copy = self->second.attributes;
  expected = expected && editor.copy;
  const std::string units = ':' + std::to_string(unit), value = ':' + std::to_string(number);
  bool answer = false;
  std::string set;
  if (what == 0) answer = real->SetText(wide.c_str(), Wide(value).c_str()), set = "0:0" + value;
  if (what == 1) answer = real->SetInt(wide.c_str(), number, unit), set = '2' + units + value;
  if (what == 2) answer = real->SetIntArray(wide.c_str(), ints.data(), 1, 4, unit), set = '4' + units + value;
  if (what == 3) answer = real->SetInt64(wide.c_str(), number, unit), set = '7' + units;
  if (what == 4) answer = real->SetInt64Array(wide.c_str(), longs.data(), 2, 8, unit), set = '8' + units;
  if (what == 5) answer = real->SetDouble(wide.c_str(), 0.5 * number, unit), set = "12" + units + value;
  if (what == 6) answer = real->SetDoubleArray(wide.c_str(), doubles.data(), 2, 13, unit), set = "13" + units + value;
  if (what >= 7) answer = real->RemoveAttribute(wide.c_str());
  if (expected && what >= 7) editor.copy->erase(name);
  if (expected && what < 7) (*editor.copy)[name] = set;
  Answers("attribute " + std::to_string(editor.id) + ' ' + name + ' ' + set, answer, expected);
}

void ModelTest::Commit(Editor& editor) {
  bool expected = editor.scope != nullptr;
  if (expected && editor.copy) {
    expected = (editor.copy->empty() || StoreNames()) && scopes->Write();
    if (expected && Now().documents[editor.document].elements.contains(editor.id)) {
      Now().documents[editor.document].elements[editor.id].attributes = *editor.copy;
    }
  }
  expected = expected && scopes->Commit(editor.scope);
  if (expected) editor.scope = nullptr;
  const bool answer = editor.element ? editor.element->Commit() : editor.real->Commit();
  Answers("Commit " + std::to_string(editor.id), answer, expected);
}

// Cursors stay over edits; what they have read may be old, and only has to be sane.
void ModelTest::Browse() {
  KaSmartPtr<KaDomElement> next;
  KaSmartPtr<KaDomDocument> opened;
  const std::string name = "d" + std::to_string(Any(3));
  if (database->OpenDocument(Wide(name).c_str(), opened.Out()) && Any(2) == 0) opened->GetRootElement(next.Out());
  if (opened && !next) opened->GetElement(AnyId(Document{.name = {}, .nextId = 40}), next.Out());
  if (next) cursors.push_back(next);
  if (cursors.empty()) return;
  KaDomElement* cursor = AnyOf(cursors)->Get();
  KaSmartPtr<KaDomAttribute> attribute;
  if (Any(2) == 0) cursor->MoveNext();
  if (Any(2) == 0) cursor->MovePrevious();
  if (Any(2) == 0 ? cursor->GetFirstChild(next.Out()) : cursor->GetParent(next.Out())) cursors.push_back(next);
  if (cursor->GetFirstAttribute(attribute.Out())) attribute->MovePrevious();
  if (cursor->GetId() < 1 || cursor->GetName() == nullptr) Fail("a cursor is nowhere");
  while (cursors.size() > 20) cursors.erase(AnyOf(cursors));
}

std::string ModelTest::Shown(KaDomDocument* shown, int64_t id) {
  KaSmartPtr<KaDomElement> element, other;
  KaSmartPtr<KaDomAttribute> attribute;
  if (!shown->GetElement(id, element.Out())) return "";
  std::string text = Narrow(element->GetName()) + '<';
  if (element->GetParent(other.Out())) text += std::to_string(other->GetId());
  for (bool more = element->GetFirstChild(other.Out()); more; more = other->MoveNext()) {
    text += ' ' + std::to_string(other->GetId());
  }
  Attributes attributes;
  for (bool more = element->GetFirstAttribute(attribute.Out()); more; more = attribute->MoveNext()) {
    std::string& value = attributes[Narrow(attribute->GetName())];
    value = std::to_string(attribute->GetType()) + ':' + std::to_string(attribute->GetUnit());
    const KaChar* characters = nullptr;
    const int32_t* ints = nullptr;
    const double* doubles = nullptr;
    if (attribute->GetText(&characters)) value += Narrow(characters);
    // The numbers may be unaligned.
    int32_t number = 0;
    double real = 0;
    if (attribute->GetIntArray(&ints, nullptr)) std::memcpy(&number, ints, sizeof number);
    if (attribute->GetDoubleArray(&doubles, nullptr)) std::memcpy(&real, doubles, sizeof real);
    if (ints != nullptr || doubles != nullptr) value += ':' + std::to_string(number + static_cast<int32_t>(2 * real));
  }
  for (const auto& [name, value] : attributes) text += ' ' + name + '=' + value;
  return text;
}

void ModelTest::Compare() {
  for (const auto& [documentId, described] : Now().documents) {
    KaSmartPtr<KaDomDocument> shown;
    if (!database->OpenDocument(Wide(described.name).c_str(), shown.Out()))
      return Fail("no document " + described.name);
    for (int64_t id = 1; id <= described.nextId && !HasFailure(); ++id) {
      const auto found = described.elements.find(id);
      std::string expected;
      if (found != described.elements.end()) {
        const auto& [parent, name, attributes] = found->second;
        expected = name + '<' + (parent > 0 ? std::to_string(parent) : "");
        for (const auto& [child, each] : described.elements) {
          if (each.parent == id) expected += ' ' + std::to_string(child);
        }
        for (const auto& [attribute, value] : attributes) expected += ' ' + attribute + '=' + value;
      }
      const std::string found2 = Shown(shown.Get(), id);
      if (found2 != expected) Fail(described.name + ' ' + std::to_string(id) + " is " + found2 + ", not " + expected);
    }
  }
}

void ModelTest::CloseAll() {
  while (!editors.empty() || !elements.empty()) {
    auto& pool = elements.empty() || (!editors.empty() && Any(2) == 0) ? editors : elements;
    const auto at = AnyOf(pool);
    (*at)->real.Reset();
    pool.erase(at);
  }
  cursors.clear();
  Close();
}

void ModelTest::Step() {
  const size_t what = Any(100);
  const bool many = editors.size() + elements.size() > 7;
  auto& pool = elements.empty() || Any(3) == 0 ? editors : elements;
  if (what < 3 || Now().documents.empty()) return CreateDocument();
  if (what < 4) return DeleteDocument();
  if (what < 8) return Browse();
  if (what < 14 && !many) return OpenEditor();
  if (editors.empty()) return;
  if (what < 32 && !many) return OpenElement();
  if (what < 50) return EditDocument(**AnyOf(editors));
  if (what < 80 && !elements.empty()) return EditElement(**AnyOf(elements));
  if (what < 90) return Commit(**AnyOf(pool));
  const auto at = AnyOf(pool);
  log.push_back("release " + std::to_string((*at)->id));
  (*at)->real.Reset();
  pool.erase(at);
}

TEST_F(ModelTest, RandomEditsReadAsTheModelSays) {
  const char* given = std::getenv("KADOM_TEST_SEED");
  seed = given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::printf("KADOM_TEST_SEED=%u\n", seed);
  random.seed(seed);
  for (int done = 0; done < kOperations && !HasFailure(); ++done) {
    if (done % kBatch == 0) {
      CloseAll();
      log.clear();
      names.clear();
      scopes.emplace();
      ASSERT_TRUE(Open("model" + std::to_string(done) + ".db"));
    }
    Step();
    if (done % 50 == 0) Compare();
    if (done % 50 == 0 && Any(8) == 0) {
      CloseAll();
      names.resize(Now().names);
      log.push_back("reopen");
      ASSERT_TRUE(Open("model" + std::to_string(done / kBatch * kBatch) + ".db"));
      Compare();
    }
    calls.Take();
    host.TakeLog();
  }
  CloseAll();
}

}  // namespace
}  // namespace karst::test
