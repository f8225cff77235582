// What the rules of transaction scopes say about what is stored, told by copies.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace karst::test {

// The scopes of one connection, as framework/database/Database.h rules them: each remembers the state before its first
// write. The caller changes `state` right after a Write that answered true. Can be copied at any time.
template <class State>
class ScopeModel {
 public:
  using Scope = size_t;  // named by how many Begins there were before it

  // Nothing: a dead scope is held.
  std::optional<Scope> Begin() {
    scopes.push_back({dead == 0 ? Fate::Open : Fate::Ended});
    if (dead != 0) return std::nullopt;
    stack.push_back(scopes.size() - 1);
    return stack.back();
  }

  bool Write() {
    if (dead == 0 && !stack.empty() && !HasWritten(stack.back())) {
      scopes[stack.back()].before = std::make_shared<const State>(state);
    }
    return dead == 0;
  }

  bool Commit(Scope scope) {
    if (scopes[scope].fate == Fate::Dead) return false;
    if (scope == stack.front()) {
      const auto isInTheWay = [this](Scope each) { return HasWritten(each) && scopes[each].fate == Fate::Open; };
      if (std::any_of(stack.begin() + 1, stack.end(), isInTheWay)) return false;
      End(scope);
      std::erase_if(stack, [this](Scope each) { return scopes[each].fate == Fate::Waiting; });
    } else if (HasWritten(scope)) {
      scopes[scope].fate = Fate::Waiting;
    } else {
      End(scope);
    }
    Fold();
    return true;
  }

  void Abandon(Scope scope) {
    dead -= scopes[scope].fate == Fate::Dead ? 1 : 0;
    auto lost = std::find(stack.begin(), stack.end(), scope);
    if (lost != stack.end() && lost == stack.begin())
      lost = std::find_if(lost, stack.end(), [this](Scope each) { return HasWritten(each); });
    if (lost != stack.end() && HasWritten(*lost)) {
      state = *scopes[*lost].before;
      if (*lost == scope) ++lost;
      std::for_each(lost, stack.end(), [this](Scope each) { Kill(each); });
      stack.erase(lost, stack.end());
    }
    End(scope);
    Fold();
  }

  // Whether its holder has neither committed nor abandoned it.
  bool IsHeld(Scope scope) const { return scopes[scope].fate == Fate::Open || scopes[scope].fate == Fate::Dead; }
  // How many Begins there were.
  size_t Count() const { return scopes.size(); }

  State state{};

 private:
  enum class Fate { Open, Waiting, Dead, Ended };
  struct Known {
    Fate fate = Fate::Open;
    std::shared_ptr<const State> before = nullptr;  // null: has not written
  };

  bool HasWritten(Scope scope) const { return scopes[scope].before != nullptr; }

  void End(Scope scope) {
    scopes[scope].fate = Fate::Ended;
    std::erase(stack, scope);
  }
  void Kill(Scope scope) {
    const bool isHeld = scopes[scope].fate == Fate::Open;
    dead += isHeld ? 1 : 0;
    scopes[scope].fate = isHeld ? Fate::Dead : Fate::Ended;
  }

  // What was committed becomes the encloser's once nothing later is left.
  void Fold() {
    for (; !stack.empty() && scopes[stack.back()].fate == Fate::Waiting; stack.pop_back()) {
      Known& encloser = scopes[stack[stack.size() - 2]];
      if (!encloser.before) encloser.before = scopes[stack.back()].before;
    }
  }

  std::vector<Known> scopes;
  std::vector<Scope> stack;
  int dead = 0;
};

}  // namespace karst::test
