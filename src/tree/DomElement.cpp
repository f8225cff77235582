#include "src/tree/DomElement.h"

#include <algorithm>

#include "src/database/NodeTable.h"
#include "src/module/WhileAttached.h"
#include "src/tree/ExportFile.h"
#include "src/tree/XmlWriter.h"
#include "src/values/DomAttribute.h"

namespace karst::impl {

namespace {

constexpr const KaChar* kErrorName = KA_TEXT("#Error");

// Most lists of children fit without growing.
constexpr size_t kUsualChildren = 16;

}  // namespace

const KaChar* DomElement::GetName() {
  if (GetNameId() < 0) {
    if (!IsAttached()) return KA_TEXT("");
    int64_t nameId = kNameUnreadable;
    const ReadResult result = ReadRecord(&nameId);
    if (result != ReadResult::Value) LogUnreadable(result);
    // An error is no fact about the element: it is not remembered.
    if (result == ReadResult::Failed) return kErrorName;
    Current().nameId = result == ReadResult::Value ? nameId : kNameUnreadable;
  }
  if (GetNameId() == kNameUnreadable) return kErrorName;
  return document->Database()->Keywords().GetKeywordName(GetNameId());
}

DomElement::ReadResult DomElement::WithoutRow(StepResult step) {
  return step == StepResult::Failed ? ReadResult::Failed : ReadResult::NotFound;
}

// Reads the name id, and the parent on the way if it is not known yet.
DomElement::ReadResult DomElement::ReadRecord(int64_t* nameId) {
  KaDbStatement* statement = document->RecordStatement();
  if (statement == nullptr) return ReadResult::NotFound;
  const StatementUse use(statement);
  if (!statement->BindInt64(0, GetId())) return ReadResult::NotFound;
  if (const StepResult step = StepOnce(statement); step != StepResult::Row) return WithoutRow(step);
  int64_t parent = 0;
  if (parentId < 0 && statement->GetInt64(0, &parent)) parentId = parent;
  return statement->GetInt64(1, nameId) && *nameId >= 0 ? ReadResult::Value : ReadResult::Invalid;
}

void DomElement::LogUnreadable(ReadResult result) {
  const char* message =
      result == ReadResult::Invalid ? "Invalid record: ElemID=%lld." : "Record not found: ElemID=%lld.";
  LogFailure(message, static_cast<long long>(GetId()));
}

DomElement::ReadResult DomElement::ReadParent(int64_t id, int64_t* parent) {
  KaDbStatement* statement = document->ParentStatement();
  if (statement == nullptr) return ReadResult::NotFound;
  const StatementUse use(statement);
  if (!statement->BindInt64(0, id)) return ReadResult::NotFound;
  if (const StepResult step = StepOnce(statement); step != StepResult::Row) return WithoutRow(step);
  return statement->GetInt64(0, parent) ? ReadResult::Value : ReadResult::Invalid;
}

bool DomElement::LoadSiblings() {
  return cursor >= 0 || WhileAttached([&] { return ReadSiblings(); });
}

bool DomElement::ReadSiblings() {
  if (parentId < 0) {
    if (ReadParent(self.id, &parentId) != ReadResult::Value) return false;
    if (parentId <= kNoParent) {
      StandAlone();
      return true;
    }
  }
  KaDbStatement* statement = document->ChildrenStatement();
  std::vector<Sibling> children;
  if (statement == nullptr || !ReadChildren(statement, parentId, &children) || children.empty()) return false;
  const auto isSelf = [this](const Sibling& sibling) { return sibling.id == self.id; };
  const auto found = std::find_if(children.begin(), children.end(), isSelf);
  if (found != children.end()) {
    cursor = static_cast<int32_t>(found - children.begin());
    siblings = std::move(children);
  } else if (parentId == kNoParent) {
    // No parent and not among the roots: the element stands in no tree.
    StandAlone();
  } else {
    // The element has gone elsewhere: the cursor stands before the list, and the first sibling is current.
    self = children.front();
    siblings = std::move(children);
  }
  return true;
}

void DomElement::StandAlone() {
  siblings.assign(1, self);
  cursor = 0;
}

bool DomElement::ReadChildren(KaDbStatement* statement, int64_t parent, std::vector<Sibling>* children) {
  const StatementUse use(statement);
  if (!statement->BindInt64(0, parent)) return false;
  for (;;) {
    const StepResult step = StepOnce(statement);
    if (step != StepResult::Row) return step == StepResult::NoRow;
    Sibling child{kNameNotRead, kNameNotRead};
    if (!statement->GetInt64(0, &child.id) || !statement->GetInt64(1, &child.nameId)) continue;
    if (children->empty()) children->reserve(kUsualChildren);
    children->push_back(child);
  }
}

bool DomElement::MoveNext() {
  if (!LoadSiblings() || static_cast<size_t>(int64_t{cursor} + 1) >= siblings.size()) return false;
  ++cursor;
  return true;
}

bool DomElement::MovePrevious() {
  if (!LoadSiblings() || cursor <= 0) return false;
  --cursor;
  return true;
}

bool DomElement::GetFirstAttribute(KaDomAttribute** out) {
  if (out == nullptr) return false;
  return WhileAttached([&] {
    KaDbStatement* statement = document->DataStatement();
    if (statement == nullptr) return false;
    const StatementUse use(statement);
    uint64_t size = 0;
    if (!statement->BindInt64(0, GetId()) || StepOnce(statement) != StepResult::Row ||
        !statement->GetBlobSize(0, &size) || size == 0) {
      return false;
    }
    HostBlock buffer = HostBlock::Allocate(size);
    if (!buffer || !statement->GetBlob(0, buffer.Bytes(), size)) return false;
    DomDatabase* database = document->Database();
    HandOut(new DomAttribute(KaSmartPtr<KaSmart>(database), &database->Keywords(), std::move(buffer),
                             static_cast<size_t>(size)),
            out);
    return true;
  });
}

bool DomElement::GetParent(KaDomElement** out) {
  if (parentId == kNoParent) return false;
  return WhileAttached([&] {
    if (!LearnParent()) return false;
    if (out != nullptr) HandOut(new DomElement(document.Get(), kUnattached, {parentId, kNameNotRead}), out);
    return true;
  });
}

// Reads the parent if it is not known. An element whose parent cannot be read counts as having none from then on,
// unless the reading failed.
bool DomElement::LearnParent() {
  if (parentId > kNoParent) return true;
  int64_t parent = kUnattached;
  ReadResult result = ReadParent(GetId(), &parent);
  if (result == ReadResult::Value && parent < kNoParent) result = ReadResult::Invalid;
  if (result != ReadResult::Value) LogUnreadable(result);
  if (result == ReadResult::Failed) return false;
  parentId = result == ReadResult::Value ? parent : kNoParent;
  return parentId > kNoParent;
}

bool DomElement::GetFirstChild(KaDomElement** out) {
  return WhileAttached([&] {
    KaDbStatement* statement = document->ChildrenStatement();
    if (statement == nullptr) return false;
    const int64_t id = GetId();
    if (out == nullptr) {
      const StatementUse use(statement);
      return statement->BindInt64(0, id) && StepOnce(statement) == StepResult::Row;
    }
    std::vector<Sibling> children;
    if (!ReadChildren(statement, id, &children) || children.empty()) return false;
    HandOut(new DomElement(document.Get(), id, std::move(children)), out);
    return true;
  });
}

bool DomElement::ExportXml(const KaChar* path) {
  if (path == nullptr) return false;
  return WhileAttached([&] {
    const ExportFile file(path);
    if (!file.IsOpen()) return false;
    XmlOutput output(file.Stream());
    WriteElementXml(output, this);
    return true;
  });
}

}  // namespace karst::impl
