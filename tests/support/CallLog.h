// What the module does to the outside world: its calls in order, the faults a test wants in them, and the books of
// everything that must be given back. The recording host and the forwarding database of one test share one log.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace karst::test {

// Picks calls, which are refused then: they answer false, null or, for Step, -1, and leave out-arguments as they are.
struct Fault {
  std::string kind = {};  // the operation: "Prepare", "Step", "Allocate" …; empty picks all
  std::string text = {};  // a part of the SQL text that the call belongs to; empty picks all
  int64_t nth = 0;        // only the nth of the picked calls, counting from 1; 0 means each of them
};

class CallLog {
 public:
  // Adds a fault. Faults count from now on and last until ClearFaults.
  void Fail(Fault fault) {
    faults.emplace_back(std::move(fault), 0);
    hits = 0;
  }
  // The nth call from now on that can fail at all fails, whatever it is.
  void FailCall(int64_t n) { Fail({.nth = n}); }
  void ClearFaults() { faults.clear(); }
  // Has `action` run once, right before the next call of that kind and text: what somebody else does in between.
  void Before(Fault call, std::function<void()> action) {
    awaited = std::move(call);
    interlude = std::move(action);
  }
  // How many calls were refused since the last Fail, and the latest of them: its kind and its text.
  int64_t Hits() const { return hits; }
  const std::string& LatestHit() const { return latestHit; }
  // How many calls that can fail there were so far: database calls, allocations, strings.
  int64_t Count() const { return count; }
  // The database calls since the last Take, separated by "; ".
  std::string Take() { return std::exchange(calls, {}); }
  // Everything that is wrong with the books, one a line; empty when everything was given back once, and every rule of
  // the interfaces was kept.
  std::string Imbalance() const {
    std::string report = violations;
    for (const auto& [kind, number] : alive) {
      if (number != 0) report += std::to_string(number) + " x " + kind + " not given back\n";
    }
    return report;
  }
  // How many objects of a kind are alive: "block", "string", "statement", "transaction", "connection".
  int64_t Alive(const std::string& kind) { return alive[kind]; }

  // For the recording host and the forwarding database.

  // Reports a call that can fail; answers whether it is to be carried out.
  bool Admit(const std::string& kind, const std::string& text = {}) {
    ++count;
    if (interlude && awaited.kind == kind && text.find(awaited.text) != std::string::npos) {
      std::exchange(interlude, nullptr)();
    }
    bool refused = false;
    for (auto& [fault, seen] : faults) {
      if (!fault.kind.empty() && fault.kind != kind) continue;
      if (text.find(fault.text) == std::string::npos) continue;
      ++seen;
      refused = refused || fault.nth == 0 || fault.nth == seen;
    }
    if (refused) latestHit = kind + ' ' + text;
    hits += refused ? 1 : 0;
    return !refused;
  }
  // Adds to the calls.
  void Note(const std::string& call) { calls += (calls.empty() ? "" : "; ") + call; }
  void Born(const std::string& kind) { ++alive[kind]; }
  void Gone(const std::string& kind) { --alive[kind]; }
  // Reports that the module broke a rule of an interface.
  void Violation(const std::string& what) { violations += what + '\n'; }

 private:
  std::vector<std::pair<Fault, int64_t>> faults;  // and how many calls each has picked
  int64_t hits = 0;
  std::string latestHit;
  Fault awaited;
  std::function<void()> interlude;
  int64_t count = 0;
  std::string calls;
  std::string violations;
  std::map<std::string, int64_t> alive;
};

}  // namespace karst::test
