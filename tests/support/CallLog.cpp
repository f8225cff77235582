#include "tests/support/CallLog.h"

#include <utility>

namespace karst::test {

void CallLog::Fail(Fault fault) {
  faults.push_back({std::move(fault)});
  hits = 0;
}

std::string CallLog::Take() {
  return std::exchange(calls, {});
}

std::string CallLog::Imbalance() const {
  std::string report = violations;
  for (const auto& [kind, number] : alive) {
    if (number != 0) report += std::to_string(number) + " x " + kind + " not given back\n";
  }
  return report;
}

int64_t CallLog::Alive(const std::string& kind) const {
  const auto found = alive.find(kind);
  return found == alive.end() ? 0 : found->second;
}

Outcome CallLog::Admit(const std::string& kind, const std::string& text) {
  ++count;
  Outcome outcome = Outcome::Forward;
  std::vector<std::function<void()>> actions;
  for (ArmedFault& armed : faults) {
    const Fault& fault = armed.fault;
    if (!fault.kind.empty() && fault.kind != kind) continue;
    if (text.find(fault.text) == std::string::npos) continue;
    ++armed.seen;
    if (fault.nth != 0 && fault.nth != armed.seen) continue;
    if (fault.action) actions.push_back(fault.action);
    if (fault.outcome != Outcome::Forward) outcome = fault.outcome;
  }
  // Only now: an action may add or clear faults.
  for (const auto& action : actions) action();
  if (outcome != Outcome::Forward) {
    ++hits;
    latestHit = kind + ' ' + text;
  }
  return outcome;
}

}  // namespace karst::test
