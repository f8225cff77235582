// The read lock of a connection, and how it is kept between statements.
#pragma once

#include <atomic>
#include <memory>

#include "framework/database/Engine.h"
#include "framework/database/SharedFile.h"

namespace karst::database {

// Holds the engine's read lock on a file while no transaction scope does, so that a statement that reads need not take
// it: doing so costs eight system calls, many times as much as the reading itself. It is held in one of two ways, and
// passes from one to the other and to a scope and back without being free in between:
//
//   By a transaction that has read, which makes the end of every statement cheap. Reading puts the lock there.
//   By a statement that stands on a row. It has no cursor, so BEGIN, COMMIT, ROLLBACK and changes of rows leave it
//   alone, and with it the lock.
//
// It is not held while a file is attached: the engine would keep what is read of that file locked as well.
//
// The connections of this process on one file must not lock each other out by being idle. Therefore the lock of an idle
// connection is taken away by another one that is about to write, also from another thread, and nobody takes or keeps
// one while idle until that has ended. The flag `busy` makes this safe:
//
//   1. All use of the engine is between Enter and Leave, and the outermost of them set and clear the flag. A statement
//      on a row and an open transaction scope are in use all the time.
//   2. Whoever wants to take the lock away sets the flag for that time, or finds it set and goes on without.
//   3. A writer first announces itself and then tries the flag; who leaves first clears the flag and then looks for
//      writers. So one of the two sees the other, and an idle connection does not stay behind with its lock.
//
// The flag is no mutex because a connection may go from one thread to another between Enter and Leave.
class ReadLock {
 public:
  // The engine is borrowed and outlives this object.
  explicit ReadLock(sqlite3* borrowed) : engine(borrowed) {}
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

  // Makes itself known to the other connections on the file, and takes the lock when it `holds` it from now on: a code
  // of the engine. Called once, first, while the engine is in use. May throw std::bad_alloc.
  int Open(bool holds);
  // Called once, last, before anything of the engine is given back: no other connection reaches for this one any more.
  void Close();

  void Enter() {
    if (uses++ == 0 && hold != nullptr) SetBusy();
  }
  void Leave() {
    if (--uses == 0) LeaveIdle();
  }

  // The rest is called between Enter and Leave, and codes are those of the engine.

  // Before a statement that only reads runs by itself: takes the lock, if it is to be held and nobody writes.
  int TakeToRead();
  // Takes the lock by a statement standing on a row, also inside a transaction.
  int TakeBesideOthers() { return IsHeld() || hold == nullptr ? SQLITE_OK : Take(); }
  // Before the engine changes something by itself or begins a transaction: ends a transaction of the lock's own and
  // keeps the lock by a statement standing on a row. False: the engine does not end it, and nothing must be written.
  bool Loosen();
  // Where the engine refuses to end a transaction of the lock's own, the lock stays.
  void Drop();
  bool IsHeld() const { return holder != Holder::Nobody; }
  bool IsHeldToRead() const { return holder == Holder::Transaction; }

  // Tells the other connections that this one writes, until it leaves without a transaction.
  void AnnounceWrite();

  // For the other connections, from any thread.
  void DropIfIdle();

 private:
  enum class Holder { Nobody, Statement, Transaction };

  int Take();
  void EndTransaction();
  void SetBusy();
  void LeaveIdle();
  bool IsWriteAheadLogged();

  sqlite3* const engine;
  std::shared_ptr<SharedFile> file;  // null until Open, and when the system does not tell which it is
  StatementHandle hold;              // empty: the lock is not held
  StatementHandle journalMode;
  StatementHandle begin;
  StatementHandle commit;
  Holder holder = Holder::Nobody;
  bool announced = false;  // as a writer
  int uses = 0;
  // While this connection uses the engine, and while another one takes its lock away; never without `hold`.
  std::atomic<bool> busy{false};
};

}  // namespace karst::database
