// The fixture of the tests that run the tool as a process.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "tests/support/DomWorld.h"

namespace karst::test {

// What a run of the tool answered.
struct Answer {
  int status;  // as std::system tells it
  std::string out;
  std::string error;
};

// An argument for any shell. It must not hold what is special in quotation marks: these, \, $, % and line breaks.
inline std::string Quoted(const std::string& argument) {
  return '"' + argument + '"';
}

inline int RunInShell(const std::string& command) {
#if defined(_WIN32)
  return _wsystem(Wide(Quoted(command)).c_str());  // these marks are the shell's
#else
  return std::system(command.c_str());
#endif
}

// A folder of its own, in which the tool runs.
class ToolFixture : public ::testing::Test {
 protected:
  ToolFixture() {
    std::filesystem::create_directories(folder);
    std::filesystem::current_path(folder);
  }
  ~ToolFixture() override { std::filesystem::current_path(std::filesystem::temp_directory_path()); }

  // Runs the tool with arguments as the shell takes them, in double quotation marks where they need any.
  Answer Run(const std::string& arguments) const {
    const std::string command = Quoted(KADOM_TOOL_PATH) + " " + arguments + " > ../out 2> ../error";
    Answer answer{RunInShell(command), ReadFile("../out"), ReadFile("../error")};
    std::erase(answer.error, '\r');  // where the system ends its lines so
    return answer;
  }
  // Runs the tool, expects success and answers its standard output.
  std::string Done(const std::string& arguments) const {
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 0) << arguments;
    EXPECT_EQ(answer.error, "") << arguments;
    return answer.out;
  }

  void Write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder / name, std::ios::binary) << bytes;
  }
  // The files of the folder: names and bytes.
  std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      files[entry.path().filename().string()] = ReadFile(entry.path());
    }
    return files;
  }
  // Runs SQL statements on a database file, which is created when it does not exist.
  void RunSql(const std::string& name, const std::string& sql) const {
    KaSmartPtr<KaDbConnection> connection;
    ASSERT_TRUE(DatabaseModule().OpenConnection(WidePath(folder / name).c_str(), connection.Out()));
    ASSERT_TRUE(connection->Execute(Wide(sql).c_str())) << sql;
  }
  // Imports the XML text as the document "d".
  void Import(const std::string& database, const std::string& xml) const {
    Write("import.xml", xml);
    Done("import " + database + " d import.xml");
  }

 private:
  const TempFolder root{u"kadom-tool-"};
  const std::filesystem::path folder = root.path / "work";  // what the tests need themselves stands beside it
};

}  // namespace karst::test
