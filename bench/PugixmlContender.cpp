// The contender "pugixml": the tree in memory, numbers as text, loaded and saved as a whole.
#include <charconv>
#include <pugixml.hpp>

#include "bench/Contender.h"

namespace karst::bench {

namespace {

std::string MatrixText(const Matrix& matrix) {
  std::array<char, kMatrixSize * 32> text;
  char* end = text.data();
  for (const double number : matrix) {
    end = std::to_chars(end, text.data() + text.size(), number).ptr;
    *end++ = ' ';
  }
  return {text.data(), end - 1};
}

Matrix ReadMatrix(std::string_view text) {
  Matrix matrix{};
  const char* at = text.data();
  for (double& number : matrix) at = std::from_chars(at, text.data() + text.size(), number).ptr + 1;
  return matrix;
}

class PugixmlContender final : public Contender {
 public:
  explicit PugixmlContender(const Tree& tree) : Contender(tree) {}

  std::string Describe() override { return "pugixml " + std::to_string(PUGIXML_VERSION); }

  void Create(const std::string& path) override {
    Close();
    file = path;
    AppendTo(document, 0);
  }

  void Build() override {
    Fill(document.document_element(), 0);
    Save();
  }

  void Open(const std::string& path) override {
    file = path;
    Require(document.load_file(path.c_str()).status == pugi::status_ok, "the file cannot be loaded");
  }

  void Close() override {
    document.reset();
    byNumber.clear();
  }

  Sums Walk(bool attributes) override {
    Summing summing(attributes);
    Visit(document.document_element(), summing);
    return summing.Result();
  }

  void PrepareGets() override {
    byNumber.resize(static_cast<size_t>(tree.Size()) + 1);
    Remember(document.document_element());
  }

  int32_t GetNameIndex(int64_t element) override { return ReadNameIndex(Get(element).name()); }

  void SetCount(int64_t element, int32_t count) override {
    Get(element).attribute("count").set_value(count);
    Save();
  }

  void DeleteBelow(int64_t element) override {
    Get(element).remove_children();
    Save();
  }

  void Export(const std::string& path) override { Require(document.save_file(path.c_str(), "  "), "the export fails"); }

  // The export holds everything.
  bool IsExported(const std::string& path) override {
    const Sums sums = Walk(true);
    Open(path);
    return Walk(true) == sums;
  }

 private:
  static pugi::xml_node AppendTo(pugi::xml_node parent, int64_t element) {
    pugi::xml_node node = parent.append_child(Names()[size_t(Tree::NameIndex(element))].c_str());
    node.append_attribute("id").set_value(static_cast<long long>(element));
    return node;
  }

  void Fill(pugi::xml_node node, int64_t element) {
    for (const int64_t child : tree.Children(element)) {
      pugi::xml_node added = AppendTo(node, child);
      added.append_attribute("label").set_value(Tree::Label<char>(child).data());
      added.append_attribute("count").set_value(Tree::Count(child));
      added.append_attribute("countUnit").set_value(kCountUnit);
      added.append_attribute("matrix").set_value(MatrixText(Tree::MatrixOf(child)).c_str());
      added.append_attribute("matrixUnit").set_value(kMatrixUnit);
      Fill(added, child);
    }
  }

  static void Visit(pugi::xml_node node, Summing& summing) {
    pugi::xml_attribute attribute = node.first_attribute();
    summing.Enter(attribute.as_llong(), node.name());
    attribute = attribute.next_attribute();
    if (summing.WantsAttributes() && attribute) {
      summing.Label(attribute.value());
      attribute = attribute.next_attribute();
      const int32_t count = attribute.as_int();
      attribute = attribute.next_attribute();
      summing.Count(count, attribute.as_uint());
      attribute = attribute.next_attribute();
      const Matrix matrix = ReadMatrix(attribute.value());
      summing.MatrixAt(matrix.data(), attribute.next_attribute().as_uint());
    }
    for (const pugi::xml_node child : node) Visit(child, summing);
  }

  void Remember(pugi::xml_node node) {
    byNumber[size_t(node.first_attribute().as_llong())] = node;
    for (const pugi::xml_node child : node) Remember(child);
  }

  pugi::xml_node Get(int64_t element) {
    if (!byNumber.empty()) return byNumber[size_t(element)];
    pugi::xml_node node = document.document_element();
    for (const int64_t step : tree.Path(element)) {
      node = node.first_child();
      while (node && node.first_attribute().as_llong() != step) node = node.next_sibling();
    }
    return node;
  }

  void Save() {
    Require(document.save_file(file.c_str(), "", pugi::format_raw), "the file cannot be saved");
    SyncFile(file);
  }

  std::string file;
  pugi::xml_document document;
  std::vector<pugi::xml_node> byNumber;  // filled when many elements are asked for
};

}  // namespace

std::unique_ptr<Contender> MakePugixml(const Tree& tree) {
  return std::make_unique<PugixmlContender>(tree);
}

}  // namespace karst::bench
