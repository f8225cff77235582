// The binary shape of the interfaces: the slot of each operation, and no destructors.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "karst/KaDatabase.h"
#include "karst/KaDom.h"
#include "karst/KaDomAttribute.h"
#include "karst/KaDomDatabase.h"
#include "karst/KaDomDocument.h"
#include "karst/KaDomDocumentEditor.h"
#include "karst/KaDomElement.h"
#include "karst/KaDomElementEditor.h"
#include "karst/KaHost.h"

namespace karst {
namespace {

template <class... Interfaces>
constexpr bool kNoVirtualDestructor = (!std::has_virtual_destructor_v<Interfaces> && ...);

static_assert(kNoVirtualDestructor<KaSmart, KaModule, KaDom, KaDomNode, KaDomEditor, KaDomDatabase, KaDomDocument,
                                   KaDomElement, KaDomAttribute, KaDomDocumentEditor, KaDomElementEditor>);
static_assert(kNoVirtualDestructor<KaHost, KaLogger, KaStringFactory, KaString, KaDatabase, KaSqlFormatter,
                                   KaDbConnection, KaDbTransaction, KaDbStatement>);

#if defined(__x86_64__) && !defined(_WIN32)

// The slot of a virtual operation: this platform's pointers to virtual members hold one more than the slot's offset.
template <class Operation>
size_t SlotOf(Operation operation) {
  intptr_t words[2];
  static_assert(sizeof operation == sizeof words);
  std::memcpy(words, &operation, sizeof words);
  return static_cast<size_t>(words[0] - 1) / sizeof(void*);
}

// Each operation stands in its slot.
template <class... Operations>
void ExpectSlots(std::initializer_list<size_t> slots, Operations... operations) {
  EXPECT_EQ((std::vector<size_t>{SlotOf(operations)...}), std::vector<size_t>(slots));
}

TEST(Interface, SlotsOfTheModule) {
  ExpectSlots({0, 1, 2}, &KaSmart::AddRef, &KaSmart::Release, &KaSmart::RefCount);
  ExpectSlots({0, 1, 2, 3}, &KaModule::Attach, &KaModule::Detach, &KaModule::GetVersion, &KaDom::OpenDatabase);
  using Database = KaDomDatabase;
  ExpectSlots({3, 4, 5}, &Database::CreateDocument, &Database::OpenDocument, &Database::DeleteDocument);
  using Document = KaDomDocument;
  ExpectSlots({3, 4, 5, 6, 7}, &Document::CreateIndexes, &Document::GetId, &Document::OpenEditor,
              &Document::GetRootElement, &Document::GetElement);
  using Node = KaDomNode;
  ExpectSlots({3, 4, 5, 6}, &Node::GetName, &Node::GetNameId, &Node::MoveNext, &Node::MovePrevious);
  using Element = KaDomElement;
  ExpectSlots({7, 8, 9, 10, 11, 12, 13}, &Element::GetDocument, &Element::GetDocumentId, &Element::GetId,
              &Element::GetFirstAttribute, &Element::GetParent, &Element::GetFirstChild, &Element::ExportXml);
  using Attribute = KaDomAttribute;
  ExpectSlots({7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}, &Attribute::GetType, &Attribute::GetUnit,
              &Attribute::GetText, &Attribute::GetReserved, &Attribute::GetInt, &Attribute::GetIntArray,
              &Attribute::GetIntArray2, &Attribute::GetIntArray3, &Attribute::GetIntArray4, &Attribute::GetDouble,
              &Attribute::GetDoubleArray, &Attribute::GetDoubleArray2, &Attribute::GetDoubleArray3,
              &Attribute::GetDoubleArray4);
  using Editor = KaDomDocumentEditor;
  ExpectSlots({3, 4, 5, 6}, &KaDomEditor::Commit, &Editor::CreateElement, &Editor::DeleteElement,
              &Editor::OpenElementEditor);
  using Writer = KaDomElementEditor;
  ExpectSlots({4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18}, &Writer::AppendChild, &Writer::Rename,
              &Writer::Reserved1, &Writer::Reserved2, &Writer::DeleteChild, &Writer::DeleteChildren,
              &Writer::SetInt64Array, &Writer::SetInt64, &Writer::SetIntArray, &Writer::SetInt, &Writer::SetDoubleArray,
              &Writer::SetDouble, &Writer::SetText, &Writer::RemoveAttribute, &Writer::RemoveAllAttributes);
}

TEST(Interface, SlotsOfWhatTheModuleConsumes) {
  ExpectSlots({5, 6, 10, 12, 13}, &KaHost::Allocate, &KaHost::Free, &KaHost::GetModule, &KaHost::GetStringFactory,
              &KaHost::GetLogger);
  ExpectSlots({5, 1, 3, 10}, &KaLogger::Log, &KaStringFactory::CreateString, &KaStringFactory::ToMultiByte,
              &KaString::GetText);
  ExpectSlots({3, 5, 0, 3}, &KaDatabase::OpenConnection, &KaDatabase::GetSqlFormatter, &KaSqlFormatter::Format,
              &KaDbTransaction::Commit);
  using Connection = KaDbConnection;
  ExpectSlots({3, 4, 5, 7, 10}, &Connection::BeginWriteTransaction, &Connection::BeginTransaction, &Connection::Prepare,
              &Connection::Execute, &Connection::GetLastInsertId);
  using Statement = KaDbStatement;
  ExpectSlots({6, 8, 10, 12, 13, 14, 16, 20, 22, 24, 25}, &Statement::BindBlob, &Statement::BindText,
              &Statement::BindInt64, &Statement::BindNull, &Statement::Reset, &Statement::Step, &Statement::Execute,
              &Statement::GetString, &Statement::GetInt64, &Statement::GetBlob, &Statement::GetBlobSize);
}

#else

TEST(Interface, Slots) {
  GTEST_SKIP() << "this platform's member pointers do not tell slots: the order is NOT checked";
}

#endif

}  // namespace
}  // namespace karst
