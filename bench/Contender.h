// What the benchmarks ask of every contender.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bench/Tree.h"

namespace karst::bench {

// Ends the process with a message: a contender failed, or its result is wrong.
[[noreturn]] void Fail(const std::string& what);

inline void Require(bool holds, const char* what) {
  if (!holds) Fail(what);
}

// Waits until a file is on disk.
void SyncFile(const std::string& path);

// A way to store a Tree in a file. What fails ends the process.
//
// A contender has at most one file open. Whatever changes the file is durable when the operation returns.
class Contender {
 public:
  virtual ~Contender() = default;

  // The library that does the work, with its version.
  virtual std::string Describe() = 0;

  // Makes a new file that holds a root element without attributes, and opens it.
  virtual void Create(const std::string& path) = 0;
  // Adds all elements below the root.
  virtual void Build() = 0;
  // What should be done once after a bulk build, so that reading is fast.
  virtual void MakeIndexes() {}

  virtual void Open(const std::string& path) = 0;
  virtual void Close() = 0;

  virtual Sums Walk(bool attributes) = 0;
  // Called once before many elements are asked for.
  virtual void PrepareGets() {}
  // Finds an element by its number and answers the index of its name.
  virtual int32_t GetNameIndex(int64_t element) = 0;
  virtual void SetCount(int64_t element, int32_t count) = 0;
  virtual void DeleteBelow(int64_t element) = 0;
  // The number of elements in the file, whether they are in the tree or not.
  virtual int64_t CountStored() { return Walk(false).elements; }
  // Writes the tree as XML text.
  virtual void Export(const std::string& path) = 0;
  // Whether Export has written what it should.
  virtual bool IsExported(const std::string& path);

 protected:
  explicit Contender(const Tree& tree) : tree(tree) {}

  const Tree& tree;
};

// Answers the engine's version with the build settings that matter most for its speed.
constexpr const char* kDescribeEngine =
    "SELECT 'SQLite '||sqlite_version()||' '||group_concat(compile_options,' ') FROM pragma_compile_options "
    "WHERE compile_options LIKE 'THREADSAFE%' OR compile_options LIKE 'SECURE_DELETE%' OR compile_options LIKE "
    "'%MEMSTATUS%' OR compile_options LIKE '%LOOKASIDE%'";

// Contenders of which there is one in a process: engines have settings that hold for the whole process.
std::unique_ptr<Contender> MakeSql(const Tree& tree, bool tuned);
std::unique_ptr<Contender> MakeKadom(const Tree& tree);
std::unique_ptr<Contender> MakePugixml(const Tree& tree);
std::unique_ptr<Contender> MakeHdf5(const Tree& tree);

// Registers every work with Google Benchmark as "<work>/<name>", in the order in which they must run: the first makes
// the file in `folder` that the others work on. The result of every work is checked; a wrong one ends the process. All
// arguments outlive the benchmarks.
//
// Each counts "items", the elements or operations in one run of the work, and "peak_kib", the most memory that the
// process has had up to then. A build also counts "indexes_us": the making of the indexes, for each element.
void RegisterWorkloads(const std::string& name, Contender& contender, const Tree& tree, const std::string& folder);

}  // namespace karst::bench
