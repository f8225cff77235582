// Memory ends at any allocation of a session: nothing throws, and what is done before and after it is right.
#include <set>

#include "framework/host/Host.h"
#include "tests/faults/FailingMemory.h"
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// What a document like Root(a(b,c),d) holds.
struct Content {
  size_t elements = 5;  // in the tree or not
  std::string first = "a";
  bool hasChildren = true;  // the first child has
  std::string appended = {};
  std::set<std::string> attributes = {};  // of the root, "[name=value]"

  std::string Text() const {
    std::string text = std::to_string(elements) + ' ' + first + (hasChildren ? "+,d," : ",d,") + appended;
    for (const std::string& each : attributes) text += each;
    return text;
  }
};

std::string TextOf(KaDomDocument* document) {
  KaSmartPtr<KaDomElement> root, child, element;
  Content content{.elements = 0};
  for (int64_t id = 1; id < 20; ++id) content.elements += document->GetElement(id, element.Out()) ? 1 : 0;
  if (!document->GetRootElement(root.Out()) || !root->GetFirstChild(child.Out())) return "<none>";
  content.first = Narrow(child->GetName());
  content.hasChildren = child->GetFirstChild(nullptr);
  child->MoveNext();
  while (child->MoveNext()) content.appended += Narrow(child->GetName()) + ',';
  const std::string label = LabelOf(root.Get());
  for (size_t at = label.find('['), end = 0; at < label.size(); at = end) {
    end = label.find(']', at) + 1;
    content.attributes.insert(label.substr(at, end - at));
  }
  return content.Text();
}

// Carries out an operation with memory that may fail, and answers what it answers.
template <class Operation>
auto Try(Operation operation) {
  decltype(operation()) answer{};
  try {
    failingMemory.isCounting = true;
    answer = operation();
  } catch (...) {
    ADD_FAILURE() << "an exception has left a module";
  }
  failingMemory.isCounting = false;
  return answer;
}

// A session with a file. `content` follows what was answered true.
struct Session {
  explicit Session(const KaText& path) : path(path) {
    host.GetLogger()->SetSink([](int32_t, std::string_view message) { std::string(message) + '\n'; });
  }

  void Run() {
    char* narrow = nullptr;
    Try([&] { return host.GetStringFactory()->ToMultiByte(path.c_str(), kCodePageUtf8, &narrow); });
    if (narrow != nullptr) Try([&] { return host.GetLogger()->Log(3, 0, "%600s", narrow), true; });
    host.Free(narrow);
    dom = dynamic_cast<KaDom*>(Try([&] { return host.GetModule("KaDom", 101); }));
    if (dom == nullptr || !Open()) return;
    const bool isAnswered = Try([&] { return database->CreateDocument(KA_TEXT("Two"), KA_TEXT("two"), nullptr); });
    isCreated = isAnswered && database->OpenDocument(KA_TEXT("Two"), nullptr);
    Edit(KA_TEXT("lost"), KA_TEXT("k2"), false);
    Edit(KA_TEXT("n"), KA_TEXT("k"), true);
    Edit(KA_TEXT("k2"), KA_TEXT("lost"), true);
    Read();
  }

  // With memory again: what the same objects and fresh ones tell, and what can be done then.
  void Check() {
    if (document) {
      EXPECT_EQ(TextOf(document.Get()), content.Text());
    }
    dom = host.GetModuleAs<KaDom>("KaDom", 101);
    ASSERT_TRUE(dom != nullptr) << host.LastError();
    dom->Attach(&host);  // it may not have got its database module
    for (const KaChar* name : {KA_TEXT("new"), KA_TEXT("newer"), KA_TEXT("newest")}) {
      ASSERT_TRUE(Open());
      EXPECT_EQ(TextOf(document.Get()), content.Text());
      EXPECT_TRUE(!isCreated || database->OpenDocument(KA_TEXT("Two"), nullptr));
      Edit(name, KA_TEXT("k"), true);
      EXPECT_EQ(content.first, Narrow(name)) << "the edit was carried out";
    }
  }

  bool Open() {
    document.Reset();
    database.Reset();
    return Try([&] { return dom->OpenDatabase(path.c_str(), database.Out()); }) &&
           Try([&] { return database->OpenDocument(KA_TEXT("Doc"), document.Out()); });
  }

  // A list that is handed out is complete.
  void Read() {
    const KaText xml = path + KA_TEXT(".xml");
    KaSmartPtr<KaDomElement> root, child;
    if (!Try([&] { return document->GetRootElement(root.Out()); })) return;
    size_t children = Try([&] { return root->GetFirstChild(child.Out()); }) ? 1 : 0;
    while (children > 0 && child->MoveNext()) ++children;
    EXPECT_TRUE(children == 0 || children == CountOf(",", content.Text())) << children;
    EXPECT_TRUE(Try([&] { return *root->GetName() != 0; })) << "nothing opens without its names";
    Try([&] { return root->ExportXml(xml.c_str()); });
  }

  // Appends an element to the root and sets attributes of it; deletes what is below its first child and renames that.
  void Edit(const KaChar* name, const KaChar* attribute, bool commits) {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> element;
    if (!Try([&] { return document->OpenEditor(editor.Out()); })) return;
    Content edited = content;
    int64_t id = 0;
    const double real = 1;
    const bool isNew = Try([&] { return editor->CreateElement(name, &id); });
    edited.elements += isNew ? 1 : 0;
    if (Try([&] { return editor->OpenElementEditor(1, element.Out()); })) {
      Content inner = edited;
      const auto sets = [&](const KaChar* what, const char* value, auto set) {
        if (Try(set)) inner.attributes.insert('[' + Narrow(what) + '=' + value + ']');
      };
      if (isNew && Try([&] { return element->AppendChild(id); })) inner.appended += Narrow(name) + ',';
      sets(attribute, "7/3", [&] { return element->SetInt(attribute, 7, 3); });
      sets(KA_TEXT("b"), "?", [&] { return element->SetDoubleArray(KA_TEXT("b"), &real, 1, 13, 0); });
      sets(name, "text", [&] { return element->SetText(name, KA_TEXT("text")); });
      if (Try([&] { return element->Commit(); })) edited = inner;
    }
    if (Try([&] { return editor->OpenElementEditor(2, element.Out()); })) {
      Content inner = edited;
      if (Try([&] { return element->Rename(name); })) inner.first = Narrow(name);
      if (Try([&] { return element->DeleteChildren(); })) {
        inner.elements -= std::exchange(inner.hasChildren, false) ? 2 : 0;
      }
      if (Try([&] { return element->Commit(); })) edited = inner;
    }
    Try([&] { return element.Reset(), true; });
    if (commits && Try([&] { return editor->Commit(); })) content = edited;
    Try([&] { return editor.Reset(), true; });
  }

  const KaText path;
  host::Host host{KADOM_BIN_DIR};
  KaDom* dom = nullptr;
  KaSmartPtr<KaDomDatabase> database;
  KaSmartPtr<KaDomDocument> document;
  Content content;
  bool isCreated = false;
};

TEST(Allocation, MayFailAnywhereInASession) {
  DomWorld world;
  ASSERT_TRUE(world.OpenNew() && world.Grow(1, "a(b,c),d"));
  world.Settle();
  const auto file = world.Path("test.db"), original = world.Path("original.db");
  std::filesystem::copy_file(file, original);
  for (const bool isForever : {false, true}) {
    bool hasFailed = true;
    for (int64_t n = 1; hasFailed && !::testing::Test::HasFailure(); ++n) {
      SCOPED_TRACE((isForever ? "from allocation " : "allocation ") + std::to_string(n));
      std::filesystem::copy_file(original, file, std::filesystem::copy_options::overwrite_existing);
      {
        Session session(WidePath(file));
        failingMemory = {.left = n, .isForever = isForever};
        session.Run();
        hasFailed = failingMemory.left <= 0;
        failingMemory = {};
        session.Check();
      }
      EXPECT_EQ(world.Stored("integrity_check", "pragma_integrity_check"), "'ok'");
      EXPECT_FALSE(DomModule().OpenDatabase(WidePath(file).c_str(), world.database.Out())) << "its host is gone";
    }
  }
}

}  // namespace
}  // namespace karst::test
