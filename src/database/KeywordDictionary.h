// The interned names of a file: a copy in memory of the table Keywords.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "src/database/ScopeLedger.h"
#include "src/module/Sql.h"
#include "src/values/KeywordNames.h"

namespace karst::impl {

// Maps names to keyword ids and back, from memory, and stores each new name as a row.
//
// Ids run 1, 2, 3, … in the order of interning; 0 is the empty name, which has no row. Names compare code unit by code
// unit. The texts that the dictionary hands out stay where they are as long as it lives.
//
// Memory and table may part: the transaction in which names were stored is abandoned, or another connection adds names.
// The table is read again from the first name that is not known to be stored when an id is met that memory cannot
// answer for, when an id turns out to be taken, and before abandoned names are stored again. What the table holds
// counts: where it gives the id of an abandoned name to another, that name and those after it are forgotten, and the
// ids that were taken of them must not be written any more (Renumberings tells).
class KeywordDictionary final : public KeywordNames {
 public:
  // `ledger` outlives the dictionary.
  explicit KeywordDictionary(ScopeLedger* ledger);

  // `newConnection` is borrowed. Called once, before all that follows.
  void Connect(KaDbConnection* newConnection) { connection = newConnection; }

  // Reads the rows of `select`, which yields the names of the table in id order: the k-th gets id k. False: a name
  // could not be read ("Error occurred in reading 'Keywords' table.").
  bool Load(KaDbStatement* select);
  // Takes the place of Load for a table that has just been made.
  void LoadNothing() { isLoaded = true; }

  // The id of `name`, which is stored when it is new. 0 for the empty name and for null, and when a new name could not
  // be stored. The id may be that of an abandoned name: see StoreMissing.
  int64_t InternKeyword(const KaChar* name);
  // The same, for an id that is written to the file at once.
  int64_t InternStored(const KaChar* name) { return StoreMissing() ? InternKeyword(name) : 0; }

  // The name of an id; empty for an id that neither memory nor table have. Never null. Runs no SQL for an id whose name
  // is known to be stored, nor while no table has been loaded.
  const KaChar* GetKeywordName(int64_t id) override;

  // Makes sure that every name of the dictionary has its row. Must answer true before an id that was taken earlier is
  // written anywhere. Runs no SQL unless a scope in which names may have been stored was abandoned. False: some row
  // could not be stored ("Failed to insert a keyword."); the next call goes on from there.
  bool StoreMissing();

  // How often ids of abandoned names have come to mean other names.
  uint64_t Renumberings() const { return renumberings; }

  // The number of names, the empty one included: the id of the next new name.
  size_t Size() const { return names.size(); }

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

  // Adds a name that is not in memory; a NUL follows it.
  int64_t Add(NameView name);
  const KaChar* LookFor(size_t id);
  // Reads the table from the first uncertain name on. False: not to its end.
  bool Refresh();
  // Reads rows, the first of which has the position `*id`, and leaves there the position after the last one.
  bool ReadRows(KaDbStatement* select, size_t* id);
  bool StoreMissingRows();
  bool PrepareInsert();
  bool InsertRow(size_t id, const KaChar* name);
  void Append(NameView name);
  void ForgetFrom(size_t id);

  // The lowest id whose name may have no row, or another than in memory.
  size_t FirstUncertain() const { return std::min(ledger->MissingFrom(), Size()); }

  ScopeLedger* const ledger;
  KaDbConnection* connection = nullptr;
  KaSmartPtr<KaDbStatement> keywordInsert;
  std::deque<Name> texts;                                           // only grows
  std::vector<const Name*> names;                                   // position: keyword id
  std::unordered_map<NameView, int64_t, HashName, EqualNames> ids;  // views into texts
  int vainLooks = 0;                                                // since the latest new name
  uint64_t renumberings = 0;
  bool isLoaded = false;
};

}  // namespace karst::impl
