// Random edits through the real modules, against a tree in memory.
#include <cstdio>
#include <cstdlib>
#include <map>

#include "tests/support/DomWorld.h"
#include "tests/support/ScopeModel.h"

namespace karst::test {
namespace {

constexpr int kOperations = 200'000;
constexpr int kBatch = 2'000;  // operations between two new files

using Attributes = std::map<size_t, std::string>;  // by the ids of their names, as LabelOf shows them
struct Element {
  int64_t parent = -1;
  std::string name = {};
  Attributes attributes = {};
};
struct Content {
  std::map<int64_t, Element> elements = {{1, {0, "Root"}}};
  int64_t nextId = 2;
  size_t names = 1;  // how many of the names in memory have their row
};
using Scopes = ScopeModel<Content>;

// An editor, of the document or of an element, and what is known of it. Its scope is empty once committed. An element
// editor keeps its parent.
struct Editor {
  explicit Editor(Scopes& scopes) : scopes(scopes), scope(scopes.Begin()) {}
  Editor(const Editor&) = delete;
  Editor& operator=(const Editor&) = delete;
  ~Editor() {
    document.Reset();
    element.Reset();
    parent.reset();
    if (scope) scopes.Abandon(*scope);
  }

  Scopes& scopes;
  std::optional<Scopes::Scope> scope;
  KaSmartPtr<KaDomDocumentEditor> document = {};
  KaSmartPtr<KaDomElementEditor> element = {};
  int64_t id = 0;  // of the element
  std::shared_ptr<Editor> parent = nullptr;
  std::optional<Attributes> copy = {};
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
  int64_t AnyId() { return 1 + static_cast<int64_t>(Any(static_cast<size_t>(Now().nextId))); }

  Content& Now() { return scopes->state; }
  bool StoreNames() {
    if (Now().names == names.size()) return true;
    if (!scopes->Write()) return false;
    Now().names = names.size();
    return true;
  }
  // The id of a name; 0 when it cannot be stored.
  size_t Intern(const std::string& name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) return static_cast<size_t>(found - names.begin()) + 1;
    if (!StoreNames() || !scopes->Write()) return 0;
    names.push_back(name);
    return Now().names = names.size();
  }
  // Whether a row can be written that refers to the name.
  bool WriteWith(const std::string& name) { return Intern(name) != 0 && StoreNames() && scopes->Write(); }

  // Remembers an operation, and compares its answer with the model's.
  void Answers(const std::string& operation, bool answer, bool expected) {
    log += operation + (answer ? "\n" : " = false\n");
    if (answer != expected) Fail("the model answers " + std::to_string(expected));
  }
  void Fail(const std::string& what) {
    const std::string tail = log.substr(log.size() - std::min<size_t>(log.size(), 2000));
    ADD_FAILURE() << "seed " << seed << ": " << what << "\n" << tail << host.TakeLog();
  }

  void Step();
  void OpenEditor();
  void OpenElement(const std::shared_ptr<Editor>& parent);
  void EditDocument(Editor& editor);
  void EditElement(Editor& editor);
  void Append(Editor& editor);
  void DeleteChildren(Editor& editor);
  void EditAttributes(Editor& editor);
  void Commit(Editor& editor);
  void Compare();
  void ReleaseOne();
  void CloseAll();

  uint32_t seed = 0;
  std::mt19937 random;
  std::optional<Scopes> scopes;
  std::vector<std::string> names;
  std::vector<std::shared_ptr<Editor>> editors;
  std::string log;
};

void ModelTest::OpenEditor() {
  if (Any(4) == 0) {
    const bool expected = scopes->Write();
    Answers("CreateIndexes", document->CreateIndexes(), expected);
  }
  const auto editor = std::make_shared<Editor>(*scopes);
  Answers("OpenEditor", document->OpenEditor(editor->document.Out()), editor->scope.has_value());
  if (editor->scope) editors.push_back(editor);
}

void ModelTest::OpenElement(const std::shared_ptr<Editor>& parent) {
  const auto editor = std::make_shared<Editor>(*scopes);
  editor->id = AnyId();
  editor->parent = parent;
  const bool answer = parent->document->OpenElementEditor(editor->id, editor->element.Out());
  Answers("OpenElementEditor " + std::to_string(editor->id), answer, editor->scope.has_value());
  if (editor->scope) editors.push_back(editor);
}

void ModelTest::EditDocument(Editor& editor) {
  if (Any(3) == 0) {
    const int64_t id = AnyId();
    const bool expected = scopes->Write();
    if (expected) Now().elements.erase(id);
    return Answers("DeleteElement " + std::to_string(id), editor.document->DeleteElement(id), expected);
  }
  const std::string name = AnyName();
  const bool expected = WriteWith(name);
  int64_t id = -7, created = -7;
  if (expected) {
    id = Now().nextId++;
    Now().elements[id] = {-1, name};
  }
  const bool answer = editor.document->CreateElement(Wide(name).c_str(), &created);
  Answers("CreateElement " + name + ' ' + std::to_string(created), answer, expected && created == id);
}

void ModelTest::EditElement(Editor& editor) {
  const size_t what = Any(12);
  auto& all = Now().elements;
  if (editor.id >= Now().nextId) return;
  if (what < 4) return Append(editor);
  if (what == 4) return DeleteChildren(editor);
  if (what > 6) return EditAttributes(editor);
  const std::string self = ' ' + std::to_string(editor.id) + ' ';
  if (what == 5) {
    const std::string name = AnyName();
    const bool expected = WriteWith(name);
    if (expected && all.contains(editor.id)) all[editor.id].name = name;
    return Answers("Rename" + self + name, editor.element->Rename(Wide(name).c_str()), expected);
  }
  const int64_t child = AnyId();
  const bool expected = scopes->Write();
  if (expected && all.contains(child) && all[child].parent == editor.id) all.erase(child);
  Answers("DeleteChild" + self + std::to_string(child), editor.element->DeleteChild(child), expected);
}

void ModelTest::Append(Editor& editor) {
  const int64_t child = AnyId();
  auto& all = Now().elements;
  bool expected = child != editor.id;
  for (auto at = all.find(editor.id); at != all.end() && expected; at = all.find(at->second.parent)) {
    expected = at->first != child;
  }
  expected = expected && scopes->Write();
  if (expected && all.contains(child)) all[child].parent = editor.id;
  const std::string operation = "AppendChild " + std::to_string(editor.id) + ' ' + std::to_string(child);
  Answers(operation, editor.element->AppendChild(child), expected);
}

void ModelTest::DeleteChildren(Editor& editor) {
  const auto scope = scopes->Begin();
  for (std::vector<int64_t> above{editor.id}; scope && !above.empty();) {
    const int64_t parent = above.back();
    above.pop_back();
    for (const auto& [id, each] : Now().elements) {
      if (each.parent == parent) above.push_back(id);
    }
    if (parent != editor.id && scopes->Write()) Now().elements.erase(parent);
  }
  const bool expected = scope && scopes->Commit(*scope);
  Answers("DeleteChildren " + std::to_string(editor.id), editor.element->DeleteChildren(), expected);
}

void ModelTest::EditAttributes(Editor& editor) {
  const std::string name = AnyName(), value = std::to_string(Any(1000));
  const KaText wide = Wide(name);
  const size_t what = Any(9);
  if (what == 8 && Any(4) == 0) {
    editor.copy.emplace();
    return Answers("RemoveAllAttributes", editor.element->RemoveAllAttributes(), true);
  }
  const size_t nameId = Intern(name);
  const auto self = Now().elements.find(editor.id);
  bool expected = nameId != 0 || what > 6;
  if (expected && !editor.copy && self != Now().elements.end()) editor.copy = self->second.attributes;
  expected = expected && editor.copy;
  bool answer = false;
  if (what < 3) {
    answer = editor.element->SetText(wide.c_str(), Wide(value).c_str());
    if (expected) (*editor.copy)[nameId] = '[' + name + '=' + value + ']';
  } else if (what < 7) {
    answer = editor.element->SetInt(wide.c_str(), -5, static_cast<uint32_t>(std::stoul(value)));
    if (expected) (*editor.copy)[nameId] = '[' + name + "=-5/" + value + ']';
  } else {
    answer = editor.element->RemoveAttribute(wide.c_str());
    if (expected) editor.copy->erase(nameId);
  }
  Answers("attribute " + std::to_string(editor.id) + ' ' + name + ' ' + std::to_string(what), answer, expected);
}

void ModelTest::Commit(Editor& editor) {
  bool expected = editor.scope.has_value();
  if (expected && editor.copy) {
    expected = StoreNames() && scopes->Write();
    auto& all = Now().elements;
    if (expected && all.contains(editor.id)) all[editor.id].attributes = *editor.copy;
  }
  expected = expected && scopes->Commit(*editor.scope);
  if (expected) editor.scope.reset();
  const bool answer = editor.element ? editor.element->Commit() : editor.document->Commit();
  Answers("Commit " + std::to_string(editor.id), answer, expected);
}

// Compares the label of each element, its parent and its children.
void ModelTest::Compare() {
  for (int64_t id = 1; id <= Now().nextId; ++id) {
    std::string expected, found;
    if (Now().elements.contains(id)) {
      const auto& [parent, name, attributes] = Now().elements[id];
      expected = name;
      for (const auto& [nameId, label] : attributes) expected += label;
      if (parent > 0) expected += " <" + std::to_string(parent);
    }
    for (const auto& [child, each] : Now().elements) {
      if (each.parent == id && !expected.empty()) expected += ' ' + std::to_string(child);
    }
    KaSmartPtr<KaDomElement> element, other;
    if (document->GetElement(id, element.Out())) {
      found = LabelOf(element.Get());
      if (element->GetParent(other.Out())) found += " <" + std::to_string(other->GetId());
      for (bool more = element->GetFirstChild(other.Out()); more; more = other->MoveNext()) {
        found += ' ' + std::to_string(other->GetId());
      }
    }
    if (found != expected) Fail(std::to_string(id) + " is " + found + ", not " + expected);
  }
}

void ModelTest::ReleaseOne() {
  const auto at = AnyOf(editors);
  log += "release " + std::to_string((*at)->id) + '\n';
  (*at)->document.Reset();
  editors.erase(at);
}

void ModelTest::CloseAll() {
  while (!editors.empty()) ReleaseOne();
  Close();
}

void ModelTest::Step() {
  const size_t what = Any(100);
  const bool many = editors.size() > 7;
  if (editors.empty() || (what < 6 && !many)) return OpenEditor();
  if (what >= 90) return ReleaseOne();
  const auto& editor = *AnyOf(editors);
  if (what >= 80) return Commit(*editor);
  if (editor->element) return EditElement(*editor);
  if (what < 40 && !many) return OpenElement(std::shared_ptr<Editor>(editor));
  EditDocument(*editor);
}

TEST_F(ModelTest, RandomEditsReadAsTheModelSays) {
  const char* given = std::getenv("KADOM_TEST_SEED");
  seed = given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::printf("KADOM_TEST_SEED=%u\n", seed);
  random.seed(seed);
  for (int done = 0; done < kOperations && !HasFailure(); ++done) {
    const std::string name = "model" + std::to_string(done / kBatch) + ".db";
    if (done % kBatch == 0) {
      CloseAll();
      log.clear();
      names = {"Root"};
      scopes.emplace();
      ASSERT_TRUE(OpenNew(KA_TEXT("Root"), name));
    }
    Step();
    if (done % 50 == 0) Compare();
    if (done % 50 == 0 && Any(8) == 0) {
      CloseAll();
      names.resize(Now().names);
      log += "reopen\n";
      ASSERT_TRUE(Reopen());
      Compare();
    }
    calls.Take();
    host.TakeLog();
  }
  CloseAll();
}

}  // namespace
}  // namespace karst::test
