// What the module does to the outside world: its calls in order, the faults a test wants in them, and the books of
// everything that must be given back. The recording host and the forwarding database of one test share one log.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace karst::test {

// What happens to a call instead of being carried out.
enum class Outcome {
  Forward,  // carried out
  Refuse,   // answers false, null or, for Step, -1; out-arguments stay as they are
  Hollow,   // answers true with an empty out-argument, where the call has one
};

// Picks calls, and says what becomes of them.
struct Fault {
  // The operation: "Prepare", "Step", "Allocate" …; empty picks all.
  std::string kind = {};
  // A part of the SQL text that the call belongs to; empty picks all.
  std::string text = {};
  // Only the nth of the picked calls, counting from 1; 0 means each of them.
  int64_t nth = 0;
  Outcome outcome = Outcome::Refuse;
  // Runs right before the outcome.
  std::function<void()> action = {};
};

class CallLog {
 public:
  // --- for the tests

  // Adds a fault. Faults count from now on and last until ClearFaults.
  void Fail(Fault fault);
  // The nth call from now on that can fail at all fails, whatever it is.
  void FailCall(int64_t n) { Fail({.nth = n}); }
  void ClearFaults() { faults.clear(); }
  // How many calls were refused or made hollow since the last Fail, and the latest of them: its kind and its text.
  int64_t Hits() const { return hits; }
  const std::string& LatestHit() const { return latestHit; }

  // How many calls that can fail there were so far: database calls, allocations, strings.
  int64_t Count() const { return count; }
  // The database calls since the last Take, separated by "; ".
  std::string Take();

  // Everything that is wrong with the books, one a line; empty when every block, string, statement, transaction and
  // connection was given back once, and every rule of the interfaces was kept.
  std::string Imbalance() const;
  // How many objects of a kind are alive: "block", "string", "statement", "transaction", "connection".
  int64_t Alive(const std::string& kind) const;

  // --- for the recording host and the forwarding database

  // Reports a call that can fail; answers what shall become of it.
  Outcome Admit(const std::string& kind, const std::string& text = {});
  // Adds to the calls.
  void Note(const std::string& call) { calls += (calls.empty() ? "" : "; ") + call; }
  void Born(const std::string& kind) { ++alive[kind]; }
  void Gone(const std::string& kind) { --alive[kind]; }
  // Reports that the module broke a rule of an interface.
  void Violation(const std::string& what) { violations += what + '\n'; }

 private:
  struct ArmedFault {
    Fault fault;
    int64_t seen = 0;
  };

  std::vector<ArmedFault> faults;
  int64_t hits = 0;
  std::string latestHit;
  int64_t count = 0;
  std::string calls;
  std::string violations;
  std::map<std::string, int64_t> alive;
};

}  // namespace karst::test
