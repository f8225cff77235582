// The database object: connection, keyword dictionary and document catalogue of one file.
#pragma once

#include <memory>
#include <unordered_map>

#include "karst/KaDomDatabase.h"
#include "common/KaSmartImpl.h"
#include "src/database/KeywordDictionary.h"

namespace karst::impl {

class NewElements;

// Owns the one connection to the file, on which every statement of the module runs. Documents, document editors and
// attribute cursors keep a reference to it; everything else reaches it through them.
class DomDatabase final : public KaSmartImpl<KaDomDatabase> {
 public:
  DomDatabase();

  // Connects to the file at `path`, writes the schema into it when it has none, or loads its keywords. Called once.
  bool Open(const KaChar* path);

  bool CreateDocument(const KaChar* name, const KaChar* rootName, KaDomDocument** out) override;
  bool OpenDocument(const KaChar* name, KaDomDocument** out) override;
  bool DeleteDocument(const KaChar* name) override;

  KaDbConnection* Connection() const { return connection.Get(); }

  // See KeywordDictionary.
  KeywordDictionary& Keywords() { return keywords; }

  const std::shared_ptr<ScopeLedger>& Ledger() const { return ledger; }

  // The place where the open editors of a document share what they know of its new elements.
  std::weak_ptr<NewElements>& NewElementsOf(int64_t documentId) { return newElements[documentId]; }

 private:
  ~DomDatabase() override = default;

  // Whether the file has the schema.
  StepResult Probe();
  bool LayOut();
  bool LoadKeywords();
  // Hands the document out on whose row `lookup` stands, unless `out` is null.
  void HandOutFound(KaDbStatement* lookup, KaDomDocument** out);
  bool InsertDocument(const KaChar* name, const KaChar* rootName, int64_t* documentId);
  bool InsertRootElement(const KaChar* rootName, int64_t documentId);

  std::shared_ptr<ScopeLedger> ledger = std::make_shared<ScopeLedger>();
  KaSmartPtr<KaDbConnection> connection;
  KeywordDictionary keywords;  // its statement is released before the connection that made it
  std::unordered_map<int64_t, std::weak_ptr<NewElements>> newElements;
};

}  // namespace karst::impl
