// Benchmarks of one contender; the script compare runs all of them side by side.
//
// Usage: kadom_bench NAME ELEMENTS [describe] [--benchmark_...]
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "bench/Contender.h"
#include "framework/host/ModuleLibrary.h"

namespace karst::bench {

void Fail(const std::string& what) {
  std::fprintf(stderr, "kadom_bench: %s\n", what.c_str());
  std::exit(1);
}

void SyncFile(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY);
  Require(file >= 0 && fsync(file) == 0 && close(file) == 0, "a file cannot be synchronised");
}

namespace {

// Null: there is no such contender, or this program was built without its library.
std::unique_ptr<Contender> MakeContender(const std::string& name, const Tree& tree) {
  if (name == "floor" || name == "tuned") return MakeSql(tree, name == "tuned");
  if (name == "kadom") return MakeKadom(tree);
#if defined(KADOM_BENCH_PUGIXML)
  if (name == "pugixml") return MakePugixml(tree);
#endif
#if defined(KADOM_BENCH_HDF5)
  if (name == "hdf5") return MakeHdf5(tree);
#endif
  return nullptr;
}

// What makes the figures worthless, or "none".
std::string Hindrances() {
  std::string found;
  found += KADOM_BENCH_SANITIZERS;
#if !defined(NDEBUG)
  found += " asserts";
#endif
#if !defined(__OPTIMIZE__)
  found += " no optimisation";
#endif
  return found.empty() ? "none" : found;
}

int Run(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::string extra = argc == 4 ? argv[3] : "";
  const int64_t elements = argc >= 3 ? std::atoll(argv[2]) : 0;
  if (elements < 1 || argc > 4) Fail("usage: kadom_bench NAME ELEMENTS [describe] [--benchmark_...]");
  const Tree tree(elements);
  const auto contender = MakeContender(argv[1], tree);
  if (contender == nullptr) Fail(std::string("built without the contender ") + argv[1]);
  if (extra == "describe") {
    std::printf("%s\n", contender->Describe().c_str());
    return 0;
  }
  const std::filesystem::path folder = host::ProgramFolder().parent_path() / "bench-data";
  std::filesystem::create_directories(folder);
  RegisterWorkloads(argv[1], *contender, tree, folder.string());
  benchmark::AddCustomContext("compiled", KADOM_BENCH_BUILD);
  benchmark::AddCustomContext("hindrances", Hindrances());
  return benchmark::RunSpecifiedBenchmarks() != 0 ? 0 : 1;
}

}  // namespace

}  // namespace karst::bench

int main(int argc, char** argv) {
  return karst::bench::Run(argc, argv);
}
