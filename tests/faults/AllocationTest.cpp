// Memory ends at any allocation of a session: nothing throws, and what is done before and after it is right.
#include <array>
#include <set>

#include "framework/host/Host.h"
#include "tests/faults/FailingMemory.h"
#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

constexpr std::array<double, 2> kReals{1, 2};

// What the document holds: the root's attributes, its first child and whether that has children, the children that were
// appended, and how many elements there are, in the tree or not.
struct Content {
  std::set<std::string> attributes;
  std::string first = "a";
  bool hasChildren = true;
  std::string appended;
  size_t elements = 5;

  std::string Text() const {
    std::string text = std::to_string(elements) + ' ' + first + (hasChildren ? "+,d," : ",d,") + appended;
    for (const std::string& each : attributes) text += each;
    return text;
  }
};

// The text of the content that a document has.
std::string TextOf(KaDomDocument* document) {
  KaSmartPtr<KaDomElement> root, child, element;
  if (!document->GetRootElement(root.Out()) || !root->GetFirstChild(child.Out())) return "<none>";
  size_t elements = 0;
  for (int64_t id = 1; id < 20; ++id) elements += document->GetElement(id, element.Out()) ? 1 : 0;
  std::string text = std::to_string(elements) + ' ';
  do text += Narrow(child->GetName()) + (child->GetFirstChild(nullptr) ? "+," : ",");
  while (child->MoveNext());
  const std::string label = LabelOf(root.Get());
  std::set<std::string> attributes;
  for (size_t at = label.find('['), end = 0; at < label.size(); at = end) {
    end = label.find(']', at) + 1;
    attributes.insert(label.substr(at, end - at));
  }
  for (const std::string& each : attributes) text += each;
  return text;
}

// Carries out an operation of the modules with memory that may fail, and answers what it answers.
template <class Operation>
auto Try(Operation operation) {
  decltype(operation()) answer{};
  try {
    const FailingMemory::Region region;
    answer = operation();
  } catch (...) {
    ADD_FAILURE() << "an exception has left a module";
  }
  return answer;
}

// A session with a file that has the document Doc, Root(a(b,c),d).
class Session {
 public:
  explicit Session(const std::filesystem::path& file) : file(file) {
    host.GetLogger()->SetSink([](int32_t, std::string_view) {});
  }

  // Whatever answers true must have been done, which `content` follows.
  void Run() {
    dom = dynamic_cast<KaDom*>(Try([&] { return host.GetModule("KaDom", 101); }));
    if (dom == nullptr || !Open()) return;
    Read();
    const bool isAnswered = Try([&] { return database->CreateDocument(KA_TEXT("Two"), KA_TEXT("two"), nullptr); });
    isCreated = isAnswered && database->OpenDocument(KA_TEXT("Two"), nullptr);
    Edit(KA_TEXT("lost"), KA_TEXT("k2"), false);
    Edit(KA_TEXT("n"), KA_TEXT("k"), true);
    Edit(KA_TEXT("k2"), KA_TEXT("lost"), true);
    Read();
    KaSmartPtr<KaDomElement> root;
    const KaText xml = WidePath(file.string() + ".xml");
    Try([&] { return document->GetRootElement(root.Out()) && root->ExportXml(xml.c_str()); });
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
      EXPECT_EQ(Narrow(root()), "Root");
      EXPECT_TRUE(!isCreated || database->OpenDocument(KA_TEXT("Two"), nullptr));
      Edit(name, KA_TEXT("k"), true);
      EXPECT_EQ(content.first, Narrow(name)) << "the edit was carried out";
    }
    document.Reset();
    database.Reset();
    KaSmartPtr<KaDbConnection> connection;
    KaSmartPtr<KaDbStatement> check;
    KaSmartPtr<KaString> verdict;
    auto* module = host.GetModuleAs<KaDatabase>("KaDatabase", 101);
    ASSERT_TRUE(module->OpenConnection(WidePath(file).c_str(), connection.Out()));
    ASSERT_TRUE(connection->Prepare(KA_TEXT("PRAGMA integrity_check"), check.Out(), 0));
    ASSERT_TRUE(check->Step() == 1 && check->GetString(0, verdict.Out()));
    EXPECT_EQ(Narrow(verdict->GetText()), "ok");
  }

 private:
  const KaChar* root() {
    KaSmartPtr<KaDomElement> element;
    return document->GetRootElement(element.Out()) ? element->GetName() : KA_TEXT("");
  }

  bool Open() {
    document.Reset();
    database.Reset();
    const KaText path = WidePath(file);
    return Try([&] {
      return dom->OpenDatabase(path.c_str(), database.Out()) && database->OpenDocument(KA_TEXT("Doc"), document.Out());
    });
  }

  // A list that is handed out is complete.
  void Read() {
    KaSmartPtr<KaDomElement> element, child;
    KaSmartPtr<KaDomAttribute> attribute;
    if (!Try([&] { return document->GetRootElement(element.Out()); })) return;
    const std::string name = Narrow(Try([&] { return element->GetName(); }));
    EXPECT_TRUE(name == "Root" || name == "#Error") << name;
    if (Try([&] { return element->GetFirstChild(child.Out()); })) {
      size_t commas = 2;
      while (child->MoveNext()) ++commas;
      EXPECT_EQ(commas, 1 + CountOf(",", content.Text()));
    }
    if (Try([&] { return element->GetFirstAttribute(attribute.Out()); })) {
      const std::string label = '[' + Narrow(Try([&] { return attribute->GetName(); })) + '=';
      EXPECT_TRUE(label == "[=" || CountOf(label, content.Text()) == 1) << label;
    }
  }

  void Edit(const KaChar* name, const KaChar* attribute, bool commits) {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> element;
    if (!Try([&] { return document->OpenEditor(editor.Out()); })) return;
    Content edited = content;
    int64_t id = 0;
    const bool isNew = Try([&] { return editor->CreateElement(name, &id); });
    edited.elements += isNew ? 1 : 0;
    const auto open = [&](int64_t of) { return Try([&] { return editor->OpenElementEditor(of, element.Out()); }); };
    if (open(1)) {
      Content inner = edited;
      const auto sets = [&](const std::string& label, auto set) {
        if (Try(set)) inner.attributes.insert('[' + label + ']');
      };
      if (isNew && Try([&] { return element->AppendChild(id); })) inner.appended += Narrow(name) + ',';
      sets(Narrow(attribute) + "=7/3", [&] { return element->SetInt(attribute, 7, 3); });
      sets("reals=?", [&] { return element->SetDoubleArray(KA_TEXT("reals"), kReals.data(), 2, 13, 0); });
      sets(Narrow(name) + "=text", [&] { return element->SetText(name, KA_TEXT("text")); });
      if (Try([&] { return element->Commit(); })) edited = inner;
    }
    if (open(2)) {
      Content inner = edited;
      if (Try([&] { return element->DeleteChildren(); })) {
        inner.elements -= inner.hasChildren ? 2 : 0;
        inner.hasChildren = false;
      }
      if (Try([&] { return element->Rename(name); })) inner.first = Narrow(name);
      if (Try([&] { return element->Commit(); })) edited = inner;
    }
    Try([&] { return element.Reset(), true; });
    if (commits && Try([&] { return editor->Commit(); })) content = edited;
    Try([&] { return editor.Reset(), true; });
  }

  const std::filesystem::path file;
  host::Host host{KADOM_BIN_DIR};
  KaDom* dom = nullptr;
  KaSmartPtr<KaDomDatabase> database;
  KaSmartPtr<KaDomDocument> document;
  Content content;
  bool isCreated = false;
};

TEST(Allocation, MayFailAnywhereInASession) {
  const TempFolder folder;
  const std::filesystem::path original = folder.path / "original.db", file = folder.path / "test.db";
  {
    DomWorld world;
    ASSERT_TRUE(world.OpenNew() && world.Grow(1, "a(b,c),d"));
    std::filesystem::copy_file(world.Path("test.db"), original);
  }
  for (const auto fails : {FailingMemory::Fails::Once, FailingMemory::Fails::FromThenOn}) {
    bool hasFailed = true;
    for (int64_t n = 1; hasFailed; ++n) {
      SCOPED_TRACE((fails == FailingMemory::Fails::Once ? "allocation " : "from allocation ") + std::to_string(n));
      std::filesystem::copy_file(original, file, std::filesystem::copy_options::overwrite_existing);
      {
        Session session(file);
        FailingMemory::Arm(n, fails);
        session.Run();
        hasFailed = FailingMemory::HasFailed();
        FailingMemory::Disarm();
        session.Check();
      }
      KaSmartPtr<KaDomDatabase> none;
      EXPECT_FALSE(DomModule().OpenDatabase(WidePath(file).c_str(), none.Out())) << "its host is gone";
      if (::testing::Test::HasFailure()) return;
    }
  }
}

}  // namespace
}  // namespace karst::test
