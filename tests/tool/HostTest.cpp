// The host: how modules are found, and each way in which that fails.
#include "framework/host/Host.h"

#include <gmock/gmock.h>

#include <fstream>

#include "karst/KaDom.h"
#include "tests/support/Text.h"

namespace karst::test {
namespace {

namespace fs = std::filesystem;

const fs::path kBuilt = KADOM_BIN_DIR;

TEST(HostTest, EachWayOfFailingHasItsOwnMessage) {
  const TempFolder temporary;
  const fs::path& folder = temporary.path;
  std::ofstream(folder / host::ModuleFileName("Text", 101)) << "no library";
  fs::copy_file(KADOM_NO_ENTRY_POINT, folder / host::ModuleFileName("NoEntryPoint", 101));
  fs::copy_file(KADOM_NO_MODULE, folder / host::ModuleFileName("NoModule", 101));
  fs::copy_file(kBuilt / host::ModuleFileName("KaDatabase", 101), folder / host::ModuleFileName("KaDatabase", 7));
  const std::tuple<const char*, int32_t, const char*> cases[] = {
      {"Missing", 101, "there is no file"},
      {"Text", 101, "is not a library that can be loaded here: "},
      {"NoEntryPoint", 101, "is not a module: it has no function KaGetModule."},
      {"NoModule", 101, "handed out no module object."},
      {"KaDatabase", 7, "holds version 101."},
  };
  host::Host host(folder);
  for (const auto& [name, version, reason] : cases) {
    EXPECT_EQ(host.GetModule(name, version), nullptr);
    EXPECT_THAT(host.LastError(),
                testing::AllOf(testing::StartsWith(std::string("Module ") + name), testing::HasSubstr(reason)));
  }
}

TEST(HostTest, LoadsAttachesAndRemembers) {
  host::Host host(kBuilt);
  std::string log;
  host.GetLogger()->SetSink(
      [&](int32_t level, std::string_view text) { log += std::to_string(level) + std::string(text) + "\n"; });
  auto* dom = host.GetModuleAs<KaDom>("KaDom", 101);
  ASSERT_NE(dom, nullptr) << host.LastError();
  EXPECT_EQ(host.GetModule("KaDom", 101), dom);
  EXPECT_EQ(host.GetModuleAs<KaDom>("KaDatabase", 101), nullptr) << "a module of another kind";
  EXPECT_EQ(log, "") << "KaDom found its database module through the host that was attaching it";

  // A provided module stands in front of the library.
  host.Provide("KaDatabase", 101, dom);
  dom->Attach(&host);
  EXPECT_EQ(log, "4Failed to get a module: KaDatabase (v101)\n");
  host.Provide("KaDatabase", 101, nullptr);
  EXPECT_NE(host.GetModule("KaDatabase", 101), dom);

  char* narrow = nullptr;
  const KaChar unpaired[] = {u'a', 0xD800, 0};
  EXPECT_FALSE(host.GetStringFactory()->ToMultiByte(unpaired, kCodePageUtf8, &narrow));
  ASSERT_TRUE(host.GetStringFactory()->ToMultiByte(KA_TEXT("\u00e4\U0001F600"), kCodePageUtf8, &narrow));
  EXPECT_STREQ(narrow, "\xC3\xA4\xF0\x9F\x98\x80");
  host.Free(narrow);

  host.GetLogger()->SetThreshold(4);
  host.GetLogger()->Log(3, 0, "%s", "too low");
  host.GetLogger()->Log(4, 0, "%s %lld", std::string(1000, 'x').c_str(), 5LL);
  EXPECT_THAT(log, testing::EndsWith("\n4" + std::string(1000, 'x') + " 5\n"));
}

}  // namespace
}  // namespace karst::test
