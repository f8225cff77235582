// The interned names of a file: a copy in memory of the table Keywords.
#pragma once

#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

#include "src/database/ScopeLedger.h"
#include "src/module/Sql.h"
#include "src/values/KeywordNames.h"

namespace karst::impl {

// Maps names to keyword ids and back, from memory, and stores each new name as a row.
//
// Ids run 1, 2, 3, … in the order of interning; 0 is the empty name, which has no row. Names compare code unit by code
// unit. The dictionary only grows, and the texts that it hands out stay where they are as long as it lives.
//
// Memory and table may part when the transaction in which a name was stored is abandoned. StoreMissing brings them
// together again, ids unchanged; it must answer true before an id of this dictionary is written anywhere.
class KeywordDictionary final : public KeywordNames {
 public:
  // `ledger` outlives the dictionary.
  explicit KeywordDictionary(ScopeLedger* ledger);

  // Reads the rows of `select`, which yields the names of the table in id order: the k-th gets id k. False: a name
  // could not be read ("Error occurred in reading 'Keywords' table.").
  bool Load(KaDbStatement* select);

  // The id of `name`, which is stored when it is new. 0 for the empty name and for null, and when a new name could not
  // be stored; it is forgotten again then.
  int64_t InternKeyword(KaDbConnection* connection, const KaChar* name);

  // The name of an id; empty for an id that the dictionary does not have. Never null.
  const KaChar* GetKeywordName(int64_t id) const override;

  // Makes sure that every name of the dictionary has its row. Runs no SQL unless a scope in which names may have been
  // stored was abandoned. False: some row could not be stored ("Failed to insert a keyword."); the next call goes on
  // from there.
  bool StoreMissing(KaDbConnection* connection);

  // The number of names, the empty one included: the id of the next new name.
  size_t Size() const { return keywordNames.size(); }

 private:
  using Name = std::basic_string<KaChar>;
  using NameView = std::basic_string_view<KaChar>;

  // Looking names up is what editing does most: eight bytes are hashed at a time. Not noexcept, lest hashes be computed
  // again for each comparison instead of kept. The library would compare unit by unit.
  struct HashName {
    size_t operator()(NameView name) const;
  };
  struct EqualNames {
    bool operator()(NameView a, NameView b) const noexcept {
      return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(KaChar)) == 0;
    }
  };

  enum class RowState { Present, Missing, Foreign };

  void Append(NameView name);
  void ForgetLast();
  bool StoreMissingRows(KaDbConnection* connection);
  bool PrepareInsert(KaDbConnection* connection);
  bool InsertRow(size_t id);
  static RowState FindRow(KaDbStatement* select, size_t id, NameView name);

  ScopeLedger* const ledger;
  KaSmartPtr<KaDbStatement> keywordInsert;
  std::deque<Name> keywordNames;                                           // position: keyword id
  std::unordered_map<NameView, int64_t, HashName, EqualNames> keywordIds;  // views into keywordNames
};

}  // namespace karst::impl
