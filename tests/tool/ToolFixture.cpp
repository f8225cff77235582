#include "tests/tool/ToolFixture.h"

#include <cstdlib>
#include <fstream>
#include <random>

#include "tests/support/DomWorld.h"
#include "tests/support/Text.h"

namespace karst::test {

namespace fs = std::filesystem;

namespace {

std::string Quoted(const std::string& argument) {
#if defined(_WIN32)
  return "\"" + argument + "\"";
#else
  std::string quoted = "'";
  for (const char c : argument) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
#endif
}

int ExitCode(int status) {
#if defined(_WIN32)
  return status;
#else
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

}  // namespace

ToolFixture::ToolFixture()
    : root(fs::temp_directory_path() / ("kadom-tool-" + std::to_string(std::random_device()()))),
      folder(root / "work") {
  fs::create_directories(folder);
}

ToolFixture::~ToolFixture() {
  fs::remove_all(root);
}

Answer ToolFixture::Run(const std::vector<std::string>& arguments, const std::string& outputFile) const {
  const std::string out = outputFile.empty() ? (root / "out").string() : outputFile;
  std::string command = "cd " + Quoted(folder.string()) + " && " + Quoted(KADOM_TOOL_PATH);
  for (const std::string& argument : arguments) command += " " + Quoted(argument);
  command += " > " + Quoted(out) + " 2> " + Quoted((root / "error").string());
  Answer outcome;
  outcome.code = ExitCode(std::system(command.c_str()));
  if (outputFile.empty()) outcome.out = ReadFile(out);
  outcome.error = ReadFile(root / "error");
  return outcome;
}

std::string ToolFixture::Done(const std::vector<std::string>& arguments) const {
  const Answer outcome = Run(arguments);
  EXPECT_EQ(outcome.code, 0) << testing::PrintToString(arguments);
  EXPECT_EQ(outcome.error, "") << testing::PrintToString(arguments);
  return outcome.out;
}

void ToolFixture::Write(const std::string& name, const std::string& bytes) const {
  std::ofstream(folder / name, std::ios::binary) << bytes;
}

std::string ToolFixture::Read(const std::string& name) const {
  return ReadFile(folder / name);
}

std::map<std::string, std::string> ToolFixture::Files() const {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    files[entry.path().filename().string()] = entry.is_directory() ? "" : ReadFile(entry.path());
  }
  return files;
}

void ToolFixture::RunSql(const std::string& name, const std::string& sql) const {
  KaSmartPtr<KaDbConnection> connection;
  ASSERT_TRUE(DatabaseModule().OpenConnection(WidePath(folder / name).c_str(), connection.Out()));
  ASSERT_TRUE(connection->Execute(Wide(sql).c_str())) << sql;
}

void ToolFixture::Import(const std::string& database, const std::string& xml) const {
  Write("import.xml", xml);
  Done({"import", database, "d", "import.xml"});
}

}  // namespace karst::test
