// The contender "hdf5": a group for each element, named by its name and number, with three attributes, in the library's
// latest and most compact format.
#include <hdf5.h>

#include <cstdlib>

#include "bench/Contender.h"
#include "bench/XmlWriting.h"

namespace karst::bench {

namespace {

// Owns an object of the library.
class Handle {
 public:
  using Closer = herr_t (*)(hid_t);

  Handle() = default;
  Handle(hid_t id, Closer closer) : id(id), closer(closer) { Require(id >= 0, "HDF5 fails"); }
  Handle(Handle&& other) noexcept { *this = std::move(other); }
  Handle& operator=(Handle&& other) noexcept {
    std::swap(id, other.id);
    std::swap(closer, other.closer);
    return *this;
  }
  ~Handle() {
    if (id >= 0) closer(id);
  }
  operator hid_t() const { return id; }

 private:
  hid_t id = H5I_INVALID_HID;
  Closer closer = nullptr;
};

struct UnitMatrix {
  uint32_t unit;
  Matrix numbers;
};

void Check(herr_t code) {
  Require(code >= 0, "HDF5 fails");
}

Handle Space(hsize_t size) {
  return {H5Screate_simple(1, &size, nullptr), H5Sclose};
}

class Hdf5Contender final : public Contender {
 public:
  explicit Hdf5Contender(const Tree& tree) : Contender(tree) {
    Check(H5Pset_libver_bounds(fileAccess, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST));
    Check(H5Pset_link_phase_change(groupCreation, 32, 24));
    Check(H5Tset_size(labelType, kLabelLength + 1));
    const hsize_t size = kMatrixSize;
    const Handle numbers(H5Tarray_create2(H5T_NATIVE_DOUBLE, 1, &size), H5Tclose);
    Check(H5Tinsert(matrixType, "unit", offsetof(UnitMatrix, unit), H5T_NATIVE_UINT32));
    Check(H5Tinsert(matrixType, "numbers", offsetof(UnitMatrix, numbers), numbers));
  }

  std::string Describe() override { return H5_VERS_INFO; }

  void Create(const std::string& path) override {
    file = Handle(H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, fileAccess), H5Fclose);
    filePath = path;
    AddGroup(file, 0);
  }

  void Build() override {
    const Handle root = OpenGroup(file, LinkName(0).c_str());
    Fill(root, 0);
    Flush();
  }

  void Open(const std::string& path) override {
    file = Handle(H5Fopen(path.c_str(), H5F_ACC_RDWR, fileAccess), H5Fclose);
    filePath = path;
  }

  void Close() override { file = Handle(); }

  Sums Walk(bool attributes) override {
    Summing summing(attributes);
    VisitChildren(file, summing);
    return summing.Result();
  }

  int32_t GetNameIndex(int64_t element) override {
    const Handle group = Get(element);
    char name[256];
    Require(H5Iget_name(group, name, sizeof name) > 0, "HDF5 fails");
    return ReadNameIndex(std::strrchr(name, '/') + 1);
  }

  void SetCount(int64_t element, int32_t count) override {
    const std::array<int32_t, 2> value{count, kCountUnit};
    const Handle attribute(H5Aopen(Get(element), "count", H5P_DEFAULT), H5Aclose);
    Check(H5Awrite(attribute, H5T_NATIVE_INT32, value.data()));
    Flush();
  }

  void DeleteBelow(int64_t element) override {
    const Handle group = Get(element);
    for (const int64_t child : tree.Children(element)) {
      Check(H5Ldelete(group, LinkName(child).c_str(), H5P_DEFAULT));
    }
    Flush();
  }

  void Export(const std::string& path) override {
    XmlWriting writing(path);
    VisitChildren(file, writing);
  }

 private:
  static std::string LinkName(int64_t element) {
    return Names()[size_t(Tree::NameIndex(element))] + '#' + std::to_string(element);
  }

  static Handle OpenGroup(hid_t parent, const char* name) { return {H5Gopen2(parent, name, H5P_DEFAULT), H5Gclose}; }

  Handle AddGroup(hid_t parent, int64_t element) {
    return {H5Gcreate2(parent, LinkName(element).c_str(), H5P_DEFAULT, groupCreation, H5P_DEFAULT), H5Gclose};
  }

  Handle Get(int64_t element) {
    std::string path = LinkName(0);
    for (const int64_t step : tree.Path(element)) path += '/' + LinkName(step);
    return OpenGroup(file, path.c_str());
  }

  void Fill(hid_t group, int64_t element) {
    for (const int64_t child : tree.Children(element)) {
      const Handle added = AddGroup(group, child);
      const std::array<int32_t, 2> count{Tree::Count(child), kCountUnit};
      const UnitMatrix matrix{kMatrixUnit, Tree::MatrixOf(child)};
      Write(added, "label", labelType, single, Tree::Label<char>(child).data());
      Write(added, "count", H5T_NATIVE_INT32, pair, count.data());
      Write(added, "matrix", matrixType, single, &matrix);
      Fill(added, child);
    }
  }

  static void Write(hid_t group, const char* name, hid_t type, hid_t space, const void* value) {
    const Handle attribute(H5Acreate2(group, name, type, space, H5P_DEFAULT, H5P_DEFAULT), H5Aclose);
    Check(H5Awrite(attribute, type, value));
  }

  static void Read(hid_t group, const char* name, hid_t type, void* value) {
    const Handle attribute(H5Aopen(group, name, H5P_DEFAULT), H5Aclose);
    Check(H5Aread(attribute, type, value));
  }

  template <class Visitor>
  void VisitChildren(hid_t group, Visitor& visitor) {
    struct Context {
      Hdf5Contender* self;
      Visitor& visitor;
    } context{this, visitor};
    const auto visit = [](hid_t parent, const char* name, const H5L_info_t*, void* data) -> herr_t {
      auto* const inner = static_cast<Context*>(data);
      inner->self->VisitGroup(parent, name, inner->visitor);
      return 0;
    };
    Check(H5Literate(group, H5_INDEX_NAME, H5_ITER_NATIVE, nullptr, visit, &context));
  }

  template <class Visitor>
  void VisitGroup(hid_t parent, const char* name, Visitor& visitor) {
    const int64_t element = std::strtoll(std::strchr(name, '#') + 1, nullptr, 10);
    const std::string plain(name, std::strchr(name, '#'));
    const Handle group = OpenGroup(parent, name);
    visitor.Enter(element, plain.c_str());
    if (element != 0 && visitor.WantsAttributes()) VisitAttributes(group, visitor);
    H5G_info_t info;
    Check(H5Gget_info(group, &info));
    visitor.EndTag(info.nlinks != 0);
    if (info.nlinks != 0) VisitChildren(group, visitor);
    visitor.Leave(plain.c_str(), info.nlinks != 0);
  }

  template <class Visitor>
  void VisitAttributes(hid_t group, Visitor& visitor) {
    LabelText<char> label{};
    Read(group, "label", labelType, label.data());
    visitor.Label(label.data());
    if (!Visitor::kWantsNumbers) return;
    std::array<int32_t, 2> count{};
    UnitMatrix matrix{};
    Read(group, "count", H5T_NATIVE_INT32, count.data());
    Read(group, "matrix", matrixType, &matrix);
    visitor.Count(count[0], static_cast<uint32_t>(count[1]));
    visitor.MatrixAt(matrix.numbers.data(), matrix.unit);
  }

  void Flush() {
    Check(H5Fflush(file, H5F_SCOPE_GLOBAL));
    SyncFile(filePath);
  }

  const Handle fileAccess{H5Pcreate(H5P_FILE_ACCESS), H5Pclose};
  const Handle groupCreation{H5Pcreate(H5P_GROUP_CREATE), H5Pclose};
  const Handle labelType{H5Tcopy(H5T_C_S1), H5Tclose};
  const Handle matrixType{H5Tcreate(H5T_COMPOUND, sizeof(UnitMatrix)), H5Tclose};
  const Handle single = Space(1);
  const Handle pair = Space(2);
  std::string filePath;
  Handle file;
};

}  // namespace

std::unique_ptr<Contender> MakeHdf5(const Tree& tree) {
  return std::make_unique<Hdf5Contender>(tree);
}

}  // namespace karst::bench
