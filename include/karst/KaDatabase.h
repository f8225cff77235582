// What the module expects of its sibling module KaDatabase: connections to an SQL engine with SQLite's dialect.
#pragma once

#include "karst/KaModule.h"
#include "karst/KaSmart.h"

namespace karst {

class KaDbConnection;
class KaDbStatement;
class KaDbTransaction;
class KaSqlFormatter;
class KaString;

// The module object of the library "KaDatabase-v101-x64".
class KaDatabase : public KaModule {
 public:
  // Slot 3. Opens the database file at `path`, creating it when it does not exist. True: `*out` carries one reference
  // for the caller.
  virtual bool OpenConnection(const KaChar* path, KaDbConnection** out) = 0;
  // Slot 4. Sets an option for connections opened from now on. Never called by KaDom: it is for hosts. False: this
  // implementation has no such option or value, and nothing changes.
  virtual bool SetOption(const char* name, const char* value) = 0;
  // Slot 5. Never null; borrowed, fetched anew at each use.
  virtual KaSqlFormatter* GetSqlFormatter() = 0;
};

// Makes SQL texts. Borrowed, not counted.
class KaSqlFormatter {
 public:
  // Slot 0. Stores the formatted text in `*out`, one reference for the caller. The template is narrow (UTF-8) and
  // printf-style: %d a 32-bit and %lld a 64-bit integer, %s narrow text as it is, %q narrow text with every apostrophe
  // doubled. When it cannot, `*out` stays as it was. The result is not used.
  virtual bool Format(KaString** out, const char* format, ...) = 0;
};

// One connection to a database file.
//
// Several transactions are open on a connection at a time, the later begun inside the earlier, and they end in any
// order. A transaction that is released without a successful Commit is undone.
class KaDbConnection : public KaSmart {
 public:
  // Slot 3. Begins a transaction that is going to write.
  virtual bool BeginWriteTransaction(KaDbTransaction** out) = 0;
  // Slot 4. Begins a transaction.
  virtual bool BeginTransaction(KaDbTransaction** out) = 0;
  // Slot 5. Compiles one statement. `reserved` is always 0.
  virtual bool Prepare(const KaChar* sql, KaDbStatement** out, int32_t reserved) = 0;
  virtual void Unlisted6() = 0;
  // Slot 7. Runs the statements of `sql`, separated by ";", in order, until one fails.
  virtual bool Execute(const KaChar* sql) = 0;
  virtual void Unlisted8() = 0;
  virtual void Unlisted9() = 0;
  // Slot 10. The row id of the connection's latest INSERT.
  virtual int64_t GetLastInsertId() = 0;
};

// A transaction scope of a connection.
class KaDbTransaction : public KaSmart {
 public:
  // Slot 3. Ends the scope and keeps its work. False: the scope is still open, and may be committed again.
  virtual bool Commit() = 0;
};

// Gives a block back that BindBlob took over.
using KaReleaseBlob = void (*)(void* data);

// A compiled statement. Parameters and columns count from 0; parameters in order of their appearance in the text.
class KaDbStatement : public KaSmart {
 public:
  virtual void Unlisted3() = 0;
  virtual void Unlisted4() = 0;
  virtual void Unlisted5() = 0;
  // Slot 6. Binds `size` bytes at `data`. Takes the block over whether it succeeds or not, and calls `release` on it
  // exactly once, later.
  virtual bool BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) = 0;
  virtual void Unlisted7() = 0;
  // Slot 8. Binds `text`, which the caller keeps alive until the statement has run and been reset. `reserved` is always
  // 0.
  virtual bool BindText(int32_t index, const KaChar* text, int32_t reserved) = 0;
  virtual void Unlisted9() = 0;
  // Slot 10.
  virtual bool BindInt64(int32_t index, int64_t value) = 0;
  virtual void Unlisted11() = 0;
  // Slot 12.
  virtual bool BindNull(int32_t index) = 0;
  // Slot 13. Makes the statement runnable again; its parameters are bound anew before the next run.
  virtual void Reset() = 0;
  // Slot 14. Runs to the next row: 1 when there is one, zero or another positive value when there is none or no further
  // one. A negative value: the statement has failed, and the rows that it delivered before may not be all. KaDom never
  // takes that for the end of the rows.
  virtual int32_t Step() = 0;
  virtual void Unlisted15() = 0;
  // Slot 16. Runs the statement to its end.
  virtual bool Execute() = 0;
  virtual void Unlisted17() = 0;
  virtual void Unlisted18() = 0;
  virtual void Unlisted19() = 0;
  // Slot 20. The text of a column, as a string with one reference for the caller.
  virtual bool GetString(int32_t column, KaString** out) = 0;
  virtual void Unlisted21() = 0;
  // Slot 22. The integer in a column.
  virtual bool GetInt64(int32_t column, int64_t* out) = 0;
  virtual void Unlisted23() = 0;
  // Slot 24. Copies `size` bytes of a column to `buffer`.
  virtual bool GetBlob(int32_t column, void* buffer, uint64_t size) = 0;
  // Slot 25. The size of a column's value in bytes; 0 for NULL.
  virtual bool GetBlobSize(int32_t column, uint64_t* out) = 0;
};

}  // namespace karst
