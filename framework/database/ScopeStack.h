// The nesting of transaction scopes on one connection.
#pragma once

#include <cstddef>
#include <list>
#include <optional>

#include "framework/database/TransactionControl.h"

namespace karst::database {

// The open scopes of a connection, in the order in which they were begun. The rules that it keeps are told in
// Database.h; this is how.
//
// States of a scope:
//
//   Open       from Begin on.
//   Committed  an inner scope that has written and was committed while later scopes are open: its holder is done with
//              it. It is folded into its encloser as soon as it is the innermost.
//   Dead       its work is lost. It has left the stack and only waits for its holder to let go.
//
// Invariants:
//
//   1. The first scope is the outermost one and is Open; while there is one, the engine is in the transaction that was
//      begun for it, or has rolled back and NoticeEngineRollback has yet to see it.
//   2. The innermost scope is Open: only it can write.
//   3. An inner scope has a savepoint exactly when it has written, itself or through a scope folded into it. The
//      outermost needs none.
//   4. A scope is the innermost when it comes to have written. So whatever stands behind a scope that has written was
//      begun after that write and inside its savepoint, and goes with it.
//
// A savepoint that the engine fails to release stays on the engine's stack, owned by nobody. That is harmless: whatever
// ends the scope below it ends it, too.
class ScopeStack {
 public:
  struct Scope {
    enum class State { Open, Committed, Dead };

    State state = State::Open;
    bool wrote = false;
    bool misread = false;  // what was read in it broke off: it can only be undone
    size_t savepoint = 0;
  };
  // Names a scope to its holder, until Commit answers true or Abandon is called.
  using Handle = std::list<Scope>::iterator;

  // Both are borrowed and outlive the stack.
  ScopeStack(sqlite3* engine, ReadLock& lock, Options::WriteLock lockAtBegin) : control(engine, lock, lockAtBegin) {}

  // Opens a scope inside all others. Nothing (logged): the engine refused, or a dead scope is still held. May throw
  // std::bad_alloc, and then nothing has changed.
  std::optional<Handle> Begin();

  // Ends a scope and keeps its work. False (logged): the scope goes on, unless it is dead.
  bool Commit(Handle scope);

  // Ends a scope and undoes its work.
  void Abandon(Handle scope) noexcept;

  // To be asked before a statement that writes starts. Gives the innermost scope its savepoint. False (logged): the
  // statement must not run. May throw std::bad_alloc, and then nothing has changed.
  bool AdmitWrite(const CompiledStatement& statement);

  // Whether AdmitWrite has nothing left to do, as the innermost scope has written and nothing has happened since.
  bool IsWriting() const { return !open.empty() && open.back().wrote && dead.empty() && control.InTransaction(); }

  // Declares all scopes dead when the engine has rolled back on its own, and then answers true. To be called after
  // every failure of the engine.
  bool NoticeEngineRollback() noexcept { return !open.empty() && !control.InTransaction() && KillAll(); }

  // A statement that only reads has failed on its way: the innermost scope cannot be committed any more.
  void NoticeMisread() noexcept {
    if (!open.empty()) open.back().misread = true;
  }

  // No scope is held, dead ones included.
  bool IsEmpty() const { return open.empty() && dead.empty(); }

 private:
  bool CommitOutermost();
  bool CommitInner(Handle scope);
  void AbandonOutermost();
  void AbandonInner(Handle scope);

  bool KillAll() noexcept;
  bool TakeSavepoint(Scope& scope);
  bool UndoSavepoint(size_t savepoint);
  bool FoldIntoEncloser(Handle innermost);
  void FoldCommitted();
  void BeginForOutermost();
  // Takes a scope that ended by its commit off the stack.
  void Remove(Handle scope);
  void Kill(Handle scope);
  void KillFrom(Handle first);

  TransactionControl control;
  std::list<Scope> open;  // Open and Committed
  std::list<Scope> dead;
  std::list<Scope> spare;  // at most one, for a scope to be begun without taking memory
  size_t depth = 0;        // of the engine's stack of savepoints
};

}  // namespace karst::database
