// What the rules of transaction scopes say about what is stored, told by copies.
#pragma once

#include <algorithm>
#include <climits>
#include <memory>
#include <vector>

namespace karst::test {

// The scopes of one connection, as framework/database/Database.h rules them: each remembers the state before its first
// write. The caller changes `state` right after a Write that answered true.
template <class State>
class ScopeModel {
 public:
  enum class Fate { Open, Waiting, Dead };
  struct Scope {
    Fate fate = Fate::Open;
    std::shared_ptr<State> before = nullptr;  // null: has not written
  };
  using Handle = std::shared_ptr<Scope>;

  // Null: a dead scope is held.
  Handle Begin() {
    if (dead == 0) stack.push_back(std::make_shared<Scope>());
    return dead == 0 ? stack.back() : nullptr;
  }

  bool Write() {
    if (dead == 0 && !stack.empty() && !stack.back()->before) stack.back()->before = std::make_shared<State>(state);
    return dead == 0;
  }

  bool Commit(const Handle& scope) {
    if (scope->fate == Fate::Dead) return false;
    if (scope == stack.front()) {
      const auto isInTheWay = [](const Handle& each) { return each->before && each->fate == Fate::Open; };
      if (std::any_of(stack.begin() + 1, stack.end(), isInTheWay)) return false;
      std::erase(stack, scope);
      std::erase_if(stack, [](const Handle& each) { return each->fate == Fate::Waiting; });
    } else if (!scope->before) {
      std::erase(stack, scope);
    } else {
      scope->fate = Fate::Waiting;
    }
    Fold();
    return true;
  }

  void Abandon(const Handle& scope) {
    if (scope->fate == Fate::Dead) {
      --dead;
      return;
    }
    const auto own = static_cast<size_t>(std::find(stack.begin(), stack.end(), scope) - stack.begin());
    size_t lost = own;
    while (own == 0 && lost < stack.size() && !stack[lost]->before) ++lost;
    if (lost < stack.size() && stack[lost]->before) {
      state = *stack[lost]->before;
      while (stack.size() > std::max(lost, own + 1)) Kill();
    }
    std::erase(stack, scope);
    Fold();
  }

  State state;

 private:
  void Kill() {
    dead += stack.back()->fate == Fate::Open ? 1 : 0;
    stack.back()->fate = Fate::Dead;
    stack.pop_back();
  }

  // What was committed becomes the encloser's once nothing later is left.
  void Fold() {
    for (; !stack.empty() && stack.back()->fate == Fate::Waiting; stack.pop_back()) {
      const Handle& encloser = stack[stack.size() - 2];
      if (!encloser->before) encloser->before = stack.back()->before;
    }
  }

  std::vector<Handle> stack;
  int dead = 0;
};

}  // namespace karst::test
