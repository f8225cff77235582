// The fixture of the tests that run the tool as a process.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace karst::test {

// What a run of the tool answered.
struct Answer {
  int code = -1;
  std::string out;
  std::string error;
};

// A folder of its own, in which the tool runs.
class ToolFixture : public ::testing::Test {
 protected:
  ToolFixture();
  ~ToolFixture() override;

  // Runs the tool. Its standard output goes to `outputFile`, and into the answer when that is empty.
  Answer Run(const std::vector<std::string>& arguments, const std::string& outputFile = {}) const;
  // Runs the tool, expects success and answers its standard output.
  std::string Done(const std::vector<std::string>& arguments) const;

  void Write(const std::string& name, const std::string& bytes) const;
  std::string Read(const std::string& name) const;
  // The files of the folder: names and bytes.
  std::map<std::string, std::string> Files() const;
  // Runs SQL statements on a database file that is created when it does not exist.
  void RunSql(const std::string& name, const std::string& sql) const;

  // Imports the XML text into a new file as the document "d".
  void Import(const std::string& database, const std::string& xml) const;

 private:
  std::filesystem::path root;    // what the tests need beside the folder
  std::filesystem::path folder;  // where the tool runs
};

}  // namespace karst::test
