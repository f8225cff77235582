// The module object of KaDatabase over SQLite, and the contract of everything that is reached from it.
#pragma once

#include <mutex>

#include "karst/KaDatabase.h"
#include "framework/database/Formatter.h"
#include "framework/database/Options.h"

namespace karst::database {

// KaDatabase over SQLite. The interfaces say what an operation does; what they leave open is settled here.
//
// ERRORS
//
// Whatever the engine reports is one line in the host's log, at level 3, with the engine's own message, the names of
// its codes and the SQL text: `KaDatabase: no such table: X (SQLITE_ERROR, extended 1) in "SELECT ..."`. What this
// module refuses itself is a line of its own. Null arguments, a null or empty path, a column that does not exist and a
// value of another type than the asked one are refused silently. While the module is not attached it works all the
// same and logs nothing. No exception leaves it: without memory an operation answers false.
//
// FILES
//
// A path always names a file, also one that looks like a URI or like ":memory:", and with links followed a plain file
// of 0 or at least 512 bytes: anything else is refused before it is touched. OpenConnection takes the read lock and
// reads the schema before it answers true: a file that is locked for longer than the busy timeout, unreadable, or not a
// database is refused there. A file that the system write-protects is opened for reading, and each write fails.
//
// TEXT
//
// UTF-16 outside, UTF-8 inside, and strict in both directions: a path, an SQL text or a bound text with an unpaired
// surrogate is refused, and so is the reading of a column that is not valid UTF-8 or holds a NUL. Nothing is replaced.
//
// STATEMENTS
//
// Prepare takes exactly one statement, and Execute of a connection one or more; blanks, comments and semicolons around
// them are allowed. A text without a statement is refused: it is mostly one that could not be made. Parameters count
// from 0 by first appearance; a numbered one (?7) is its number less one. A parameter that is not bound is NULL.
//
// Step answers 1 on a row, 0 at the end, and the engine's extended code negated on an error. It stays at the end or at
// the error until Reset, and only a row can be read. Execute of a statement that has run and was not reset is refused,
// and so is binding it. Reset also gives bound blobs back.
//
// Texts that end in "=<integer>" and are otherwise alike ("DELETE FROM Nodes_7 WHERE id=13") are compiled once, and the
// compiled statement is used again and again with another number. Nobody sees it: such a statement has no parameters,
// messages show the text as it was given, and after a change of the schema such a text is compiled anew.
//
// GetInt64 reads an INTEGER alone, GetString a TEXT alone; of NULL GetString answers true and leaves `*out` as it was.
// GetBlob and GetBlobSize read a BLOB or a TEXT, as UTF-8, and NULL as no bytes; GetBlob wants the exact size.
//
// BindBlob calls `release` at once when `size` is negative or `data` is null; null with size 0 binds NULL, otherwise
// both are refused. Without a `release` the bytes are copied. BindText copies.
//
// TRANSACTIONS
//
// A connection has one stack of transaction scopes. They are begun one inside the other, end in any order, and what a
// statement writes belongs to the innermost scope that is open: the one begun last. That a scope has written means that
// a statement which can change the file was started while it was the innermost, or that the work of a committed inner
// scope became its own.
//
// 1. The first scope is the outermost and opens the engine's transaction, with the write lock, whichever operation
//    begins it. For the lock of another writer it waits as long as "busy_timeout" says, and answers false then; what it
//    reads is the state that it changes. Each later scope is a savepoint, taken when the scope first writes: a scope
//    that writes nothing costs nothing, and takes no locks. While a statement that writes stands on a row outside all
//    scopes, none is begun.
// 2. Commit of an inner scope answers true, and its work becomes its encloser's: at once, or as soon as the scopes that
//    were begun later have ended. It is undone if an enclosing scope is.
// 3. Commit of the outermost scope answers true only when the engine has committed and everything is stored, and with
//    it the work of committed inner scopes. An open inner scope that has written and is not committed makes it answer
//    false with nothing changed; so does an engine that cannot commit now, because the file is busy. Both can be tried
//    again. Open inner scopes that have not written do not stand in its way: the first of them becomes the outermost
//    and begins a transaction of the engine at once, with the others inside it. If that fails, or another connection
//    has changed the file in between, they are dead.
// 4. A scope released without Commit is undone, back to its own first write. Every scope begun after that write goes
//    with it, also those that are committed but not yet part of it. Those that are still open are dead. A scope that
//    wrote nothing just ends, and the others go on.
// 5. Releasing the outermost scope without Commit rolls everything back. Every scope that has written is dead, and
//    every scope begun after the first write that is undone. Those begun before it that have not written go on, as
//    in 3.
// 6. When the engine rolls back on its own (disk full, I/O error, no memory, a conflict clause), or a savepoint cannot
//    be undone and everything is rolled back instead, every open scope is dead.
// 7. When a statement that only reads fails on its way, the scope that is innermost then cannot be committed any more:
//    whoever steps through rows may have taken the failure for their end. Its Commit answers false, and releasing it
//    undoes it. A statement that could not start, because of a lock or because it names what is gone, has read nothing,
//    and is no such failure. Execute of a connection ignores rows, and its failures are none either.
//
// The holder of a dead scope learns of it in the answer false of its Commit. Until every dead scope has been released,
// no statement that writes is run and no transaction begins, so nothing is ever stored by itself while its author
// believes it to be in a transaction. Reading goes on. Once they are released everything works as before.
//
// SQL that begins or ends transactions itself (BEGIN, COMMIT, ROLLBACK, SAVEPOINT, RELEASE) runs only while no scope is
// held. SQL that begins one takes the read lock at once, and is refused when another connection has changed the file
// since this one last read it: whoever has found no tables never drops those that somebody else has made meanwhile. The
// next attempt succeeds. When such a text fails half way its transaction stays open, nothing is rolled back for it, and
// no scope can be begun until ROLLBACK has been executed or the connection is gone.
//
// Statements and transactions keep what they need of their connection: each may be released last.
//
// LOCKS
//
// With the option "locking" at "held" a connection keeps the read lock from its opening on, also between statements.
// Reading is then about ten times as fast, and no other process changes the file in the meantime: it can read, but is
// told that the file is locked when it wants to commit. "shared" is for files that several processes keep open and
// write.
//
// A connection that begins to write while another one writes lets its read lock go and waits: two that hold a file take
// turns, and each begins with what the other has left. The lock is free for a moment, too, around what cannot run
// beside a reader: SQL that changes the schema outside a scope, SQL that begins or ends transactions, PRAGMA, ATTACH,
// VACUUM; and after an error of the engine until the next statement that reads. It is not kept while a file is
// attached, nor on a file in the engine's WAL mode, whose readers keep nobody from writing and would not see what
// others write.
//
// On POSIX systems a process loses its locks on a file when it closes any descriptor of it. So a host does not open and
// close by other means a file that it has open here, in either way of locking; with "held" the harm lasts longer.
//
// The connections of one process on one file, however they name it, do not lock each other out by being idle. From
// when one starts to write to the end of its transaction no other one holds the lock without a statement on a row or a
// scope, on whatever thread it is used. What keeps another connection from committing, for the time of "busy_timeout"
// and then with false, is the same in both ways of locking: statements on a row, scopes that have read or written.
//
// THREADS
//
// A connection and what was made from it are used by one thread at a time, and dropping the last reference to one of
// them is use; different connections may be used by different threads. SetOption may be called while connections are
// opened.
//
// OPTIONS
//
// SetOption applies to all connections that this process opens later. Names and values are in lower case; a name or
// value that is not in this table is refused, and nothing changes.
//
//   access        create      Opens the file for writing, and creates one that does not exist. The default.
//                 readwrite   Opens a file that exists for writing.
//                 readonly    Opens a file that exists for reading. One that a killed process has left in the middle of
//                             a transaction is refused: it has to be opened for writing first, which undoes that.
//   locking       held        The read lock is kept while the file is open, see LOCKS. The default.
//                 shared      It is taken for each statement and each transaction that reads.
//   journal       durable     The rollback journal is a file beside the database until the transaction ends, and
//                             PRAGMA journal_mode=... is ignored. A killed process never harms the file: who opens it
//                             next finds the state after the last commit that was answered true, or, for a commit that
//                             was not answered yet, either before or after it. The default.
//                 requested   It is the one that PRAGMA journal_mode asks for. With a journal in memory, as KaDom asks
//                             for, a process that is killed during a commit leaves a damaged file. For files that can
//                             be made again.
//   synchronous   full        With a durable journal a power cut never harms the file, and takes back no commit
//                             that was answered true. (On Windows it may take back the last one: there the engine
//                             does not wait until the deletion of the journal is on the disk.) The default.
//                 normal      It never harms the file, but may take back the last commits.
//                 off         The engine never waits for the disk: a power cut may damage the file. A killed process
//                             does not.
//   write_lock    reserved    A transaction leaves other connections reading until it commits; a commit then waits for
//                             them as long as "busy_timeout" says, and answers false if they go on. The default.
//                 exclusive   It waits for them when it begins, and locks them out until it ends: nobody can keep it
//                             from committing.
//   spill         auto        Changed pages reach the file before the commit only with a durable journal, so that with
//                             a journal in memory the commit alone is a window for a crash. Memory then grows with the
//                             transaction. The default.
//                 on, off     They do when the cache is full; or never.
//   cache_size    1 or more   The page cache of a connection, in KiB: as much memory as it ever takes unless changed
//                             pages have to stay in it, see spill. The default is 65536.
//   busy_timeout  0 or more   How long to wait for the lock of another connection, in milliseconds. The default is
//                             5000.
//
// Opening the first connection tells the engine not to count its allocations and to keep statement journals in memory,
// for the whole process, unless somebody else in the process has started it before.
class Database final : public KaDatabase {
 public:
  void Attach(KaHost* host) override;
  void Detach() override;
  int32_t GetVersion() override { return 101; }

  bool OpenConnection(const KaChar* path, KaDbConnection** out) override;
  bool SetOption(const char* name, const char* value) override;
  KaSqlFormatter* GetSqlFormatter() override { return &formatter; }

 private:
  Options CurrentOptions();

  Formatter formatter;
  std::mutex optionsLock;
  Options options;
};

}  // namespace karst::database
