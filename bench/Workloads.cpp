// The measured works, each with a check of its result.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>

#include "bench/Contender.h"
#include "bench/XmlWriting.h"

namespace karst::bench {

namespace {

constexpr int64_t kGetsInARun = 20000;
// Runs for a first look need no exact times.
constexpr int64_t kSmokeSize = 5000;

// Linux counts what a process had before it became another program into its getrusage, but not into this file.
double PeakKib() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6));
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss);
}

class Workloads {
 public:
  Workloads(const std::string& name, Contender& contender, const Tree& tree, const std::string& folder)
      : contender(contender), tree(tree), path(folder + "/" + name), sums{Expected(false), Expected(true)} {}

  // From the first element to what is on disk; the indexes are timed apart.
  void Build(benchmark::State& state) {
    contender.Create(path);
    Measure(state, tree.Size(), [&] { contender.Build(); });
    const auto begin = std::chrono::steady_clock::now();
    contender.MakeIndexes();
    const std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - begin;
    state.counters["indexes_us"] = elapsed.count() / static_cast<double>(tree.Size());
    Reopen();
    CheckWalk(true);
  }

  void WalkNames(benchmark::State& state) {
    MeasureWarm(state, tree.Size(), [&] { CheckWalk(false); });
  }
  void WalkAttributes(benchmark::State& state) {
    MeasureWarm(state, tree.Size(), [&] { CheckWalk(true); });
  }

  void Get(benchmark::State& state) {
    Reopen();
    contender.PrepareGets();
    const int64_t count = std::min(kGetsInARun, tree.Size());
    const auto gets = [&] {
      for (int64_t i = 0; i < count; ++i) CheckName(int64_t(Scatter(uint64_t(i)) % uint64_t(tree.Size())) + 1);
    };
    gets();
    Measure(state, count, gets);
  }

  void Export(benchmark::State& state) {
    const std::string exported = path + ".xml";
    MeasureWarm(state, tree.Size(), [&] { contender.Export(exported); });
    Require(contender.IsExported(exported), "the export is wrong");
    std::filesystem::remove(exported);
  }

  void Open(benchmark::State& state) {
    Measure(state, 1, [&] {
      contender.Open(path);
      CheckName(tree.Size());
      contender.Close();
    });
  }

  void Change(benchmark::State& state) {
    const int64_t element = tree.Size() / 2;
    const int32_t before = Tree::Count(element);
    int32_t count = before;
    Reopen();
    Measure(state, 1, [&] { contender.SetCount(element, ++count); });
    Reopen();
    Sums changed = sums[1];
    changed.values += static_cast<uint64_t>(count - before);
    Require(contender.Walk(true) == changed, "a change is not stored");
    contender.SetCount(element, before);
  }

  // Everything below one child of the root.
  void Delete(benchmark::State& state) {
    const std::string copy = path + ".delete";
    std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
    SyncFile(copy);
    const int64_t element = *tree.Children(0).begin();
    Summing subtree(false);
    tree.Visit(subtree, element);
    contender.Open(copy);
    Measure(state, subtree.Result().elements - 1, [&] { contender.DeleteBelow(element); });
    const Sums left = contender.Walk(false);
    Require(left.elements == sums[0].elements - subtree.Result().elements + 1 &&
                left.elements == contender.CountStored() &&
                left.numbers == sums[0].numbers - subtree.Result().numbers + element,
            "the wrong elements are gone");
    std::filesystem::remove(copy);
  }

  void Close() { contender.Close(); }

 private:
  Sums Expected(bool attributes) const {
    Summing summing(attributes);
    tree.Visit(summing);
    return summing.Result();
  }

  template <class Work>
  static void Measure(benchmark::State& state, int64_t items, Work work) {
    for (auto _ : state) work();
    state.counters["items"] = static_cast<double>(items);
    state.counters["peak_kib"] = PeakKib();
  }

  // On the file as it has just been opened, but not for the first time.
  template <class Work>
  void MeasureWarm(benchmark::State& state, int64_t items, Work work) {
    Reopen();
    work();
    Measure(state, items, work);
  }

  void Reopen() {
    contender.Close();
    contender.Open(path);
  }

  void CheckWalk(bool attributes) {
    Require(contender.Walk(attributes) == sums[attributes ? 1 : 0], "a walk finds something else than was stored");
  }

  void CheckName(int64_t element) {
    Require(contender.GetNameIndex(element) == Tree::NameIndex(element), "an element has another name");
  }

  Contender& contender;
  const Tree& tree;
  const std::string path;
  const std::array<Sums, 2> sums;  // of a walk without and with attributes
};

}  // namespace

bool Contender::IsExported(const std::string& path) {
  const std::string expectedPath = path + ".expected";
  {
    XmlWriting writing(expectedPath);
    tree.Visit(writing);
  }
  using Bytes = std::istreambuf_iterator<char>;
  std::ifstream exported(path, std::ios::binary);
  std::ifstream expected(expectedPath, std::ios::binary);
  const bool same = exported && std::equal(Bytes(exported), Bytes(), Bytes(expected), Bytes());
  std::filesystem::remove(expectedPath);
  return same;
}

void RegisterWorkloads(const std::string& name, Contender& contender, const Tree& tree, const std::string& folder) {
  const auto workloads = std::make_shared<Workloads>(name, contender, tree, folder);
  const auto add = [&](const char* work, void (Workloads::*run)(benchmark::State&)) {
    const auto call = [workloads, run](benchmark::State& state) {
      ((*workloads).*run)(state);
      workloads->Close();
    };
    return benchmark::RegisterBenchmark((std::string(work) + '/' + name).c_str(), call)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
  };
  const double leastTime = tree.Size() > kSmokeSize ? 0.1 : 0.01;
  // Build and delete use up what they work on.
  add("build", &Workloads::Build)->Iterations(1);
  add("walk", &Workloads::WalkNames)->MinTime(leastTime);
  add("attributes", &Workloads::WalkAttributes)->MinTime(leastTime);
  add("get", &Workloads::Get)->MinTime(leastTime);
  add("export", &Workloads::Export)->MinTime(leastTime);
  add("open", &Workloads::Open)->MinTime(leastTime);
  add("change", &Workloads::Change)->MinTime(leastTime);
  add("delete", &Workloads::Delete)->Iterations(1);
}

}  // namespace karst::bench
