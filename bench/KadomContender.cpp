// The contender "kadom": the whole system, host and loaded modules, with the options that it ships with.
#include <filesystem>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaSmartPtr.h"
#include "bench/Contender.h"
#include "common/Utf.h"
#include "framework/host/Host.h"

namespace karst::bench {

namespace {

constexpr const KaChar* kDocumentName = KA_TEXT("bench");

// Elements are numbered from 0 here, from 1 in a document.
int64_t IdOf(int64_t element) {
  return element + 1;
}

class KadomContender final : public Contender {
 public:
  explicit KadomContender(const Tree& tree)
      : Contender(tree),
        dom(host.GetModuleAs<KaDom>("KaDom", 101)),
        engine(host.GetModuleAs<KaDatabase>("KaDatabase", 101)) {
    if (dom == nullptr || engine == nullptr) Fail(host.LastError());
    for (const std::string& name : Names()) names.push_back(Widen(name));
  }

  std::string Describe() override {
    const std::string file = (std::filesystem::temp_directory_path() / "kadom_bench_describe.db").string();
    KaSmartPtr<KaDbConnection> connection;
    KaSmartPtr<KaDbStatement> select;
    KaSmartPtr<KaString> version;
    Require(engine->OpenConnection(Widen(file).c_str(), connection.Out()) &&
                connection->Prepare(Widen(kDescribeEngine).c_str(), select.Out(), 0) && select->Step() == 1 &&
                select->GetString(0, version.Out()),
            "the engine does not tell its version");
    std::filesystem::remove(file);
    return *common::ToUtf8(version->GetText());
  }

  void Create(const std::string& path) override {
    std::filesystem::remove(path);
    Require(dom->OpenDatabase(Widen(path).c_str(), database.Out()), "the file cannot be made");
    Require(database->CreateDocument(kDocumentName, Widen(Names()[size_t(Tree::NameIndex(0))]).c_str(), document.Out()),
            "the document cannot be made");
  }

  void Build() override {
    KaSmartPtr<KaDomDocumentEditor> editor;
    Require(document->OpenEditor(editor.Out()), "there is no editor");
    for (int64_t parent = 0; parent <= tree.Size(); ++parent) {
      const Elements children = tree.Children(parent);
      if (children.IsEmpty()) continue;
      for (const int64_t child : children) AddElement(editor.Get(), child);
      KaSmartPtr<KaDomElementEditor> element;
      Require(editor->OpenElementEditor(IdOf(parent), element.Out()), "there is no element editor");
      for (const int64_t child : children) {
        Require(element->AppendChild(IdOf(child)), "an element cannot be appended");
      }
      Require(element->Commit(), "an element cannot be committed");
    }
    Require(editor->Commit(), "the tree cannot be committed");
  }

  void MakeIndexes() override { Require(document->CreateIndexes(), "the indexes cannot be made"); }

  void Open(const std::string& path) override {
    Require(dom->OpenDatabase(Widen(path).c_str(), database.Out()), "the file cannot be opened");
    Require(database->OpenDocument(kDocumentName, document.Out()), "there is no document");
  }

  void Close() override {
    document.Reset();
    database.Reset();
  }

  Sums Walk(bool attributes) override {
    Summing summing(attributes);
    const KaSmartPtr<KaDomElement> root = Root();
    Visit(root.Get(), summing);
    return summing.Result();
  }

  int32_t GetNameIndex(int64_t element) override {
    KaSmartPtr<KaDomElement> found;
    Require(document->GetElement(IdOf(element), found.Out()), "an element is missing");
    return ReadNameIndex(found->GetName());
  }

  void SetCount(int64_t element, int32_t count) override {
    Edit(element, [count](KaDomElementEditor* editor) { return editor->SetInt(KA_TEXT("count"), count, kCountUnit); });
  }

  void DeleteBelow(int64_t element) override {
    Edit(element, [](KaDomElementEditor* editor) { return editor->DeleteChildren(); });
  }

  void Export(const std::string& path) override { Require(Root()->ExportXml(Widen(path).c_str()), "the export fails"); }

 private:
  KaSmartPtr<KaDomElement> Root() {
    KaSmartPtr<KaDomElement> root;
    Require(document->GetRootElement(root.Out()), "there is no root");
    return root;
  }

  void AddElement(KaDomDocumentEditor* editor, int64_t element) {
    int64_t id = 0;
    Require(editor->CreateElement(names[size_t(Tree::NameIndex(element))].c_str(), &id) && id == IdOf(element),
            "an element cannot be made");
    KaSmartPtr<KaDomElementEditor> attributes;
    Require(editor->OpenElementEditor(id, attributes.Out()), "there is no element editor");
    Require(attributes->SetText(KA_TEXT("label"), Tree::Label<KaChar>(element).data()) &&
                attributes->SetInt(KA_TEXT("count"), Tree::Count(element), kCountUnit) &&
                attributes->SetDoubleArray(KA_TEXT("matrix"), Tree::MatrixOf(element).data(), 1,
                                           ValueType::DoubleArray4x4, kMatrixUnit) &&
                attributes->Commit(),
            "attributes cannot be stored");
  }

  template <class Change>
  void Edit(int64_t id, Change change) {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> element;
    Require(document->OpenEditor(editor.Out()) && editor->OpenElementEditor(IdOf(id), element.Out()) &&
                change(element.Get()) && element->Commit() && editor->Commit(),
            "an edit fails");
  }

  void Visit(KaDomElement* element, Summing& summing) {
    summing.Enter(element->GetId() - 1, element->GetName());
    KaSmartPtr<KaDomAttribute> attribute;
    if (summing.WantsAttributes() && element->GetFirstAttribute(attribute.Out())) {
      do {
        VisitAttribute(attribute.Get(), summing);
      } while (attribute->MoveNext());
    }
    KaSmartPtr<KaDomElement> child;
    if (!element->GetFirstChild(child.Out())) return;
    do {
      Visit(child.Get(), summing);
    } while (child->MoveNext());
  }

  static void VisitAttribute(KaDomAttribute* attribute, Summing& summing) {
    const KaChar* text = nullptr;
    const double* numbers = nullptr;
    size_t count = 0;
    int32_t value = 0;
    switch (attribute->GetType()) {
      case ValueType::Text:
        if (attribute->GetText(&text)) summing.Label(text);
        break;
      case ValueType::Int:
        if (attribute->GetInt(&value)) summing.Count(value, attribute->GetUnit());
        break;
      case ValueType::DoubleArray4x4:
        if (attribute->GetDoubleArray(&numbers, &count) && count == kMatrixSize) {
          summing.MatrixAt(numbers, attribute->GetUnit());
        }
        break;
      default:
        break;
    }
  }

  host::Host host;
  KaDom* const dom;
  KaDatabase* const engine;
  std::vector<std::basic_string<KaChar>> names;
  KaSmartPtr<KaDomDatabase> database;
  KaSmartPtr<KaDomDocument> document;
};

}  // namespace

std::unique_ptr<Contender> MakeKadom(const Tree& tree) {
  return std::make_unique<KadomContender>(tree);
}

}  // namespace karst::bench
