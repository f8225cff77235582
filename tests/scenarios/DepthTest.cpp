// Deep trees, on a call stack of 1 MiB.
#if defined(_WIN32)
#include <process.h>
#include <windows.h>
#else
#include <pthread.h>
#endif

#include "tests/support/DomWorld.h"
#if defined(KADOM_TOOL_PATH)
#include "tests/tool/ToolFixture.h"
#endif

namespace karst::test {
namespace {

constexpr int64_t kDepth = 100'000;
constexpr unsigned kStackSize = 1 << 20;

// Runs the test in a thread with a small stack.
template <class Test>
void RunOnStack(unsigned size, Test test) {
#if defined(_WIN32)
  const auto run = [](void* argument) -> unsigned { return (*static_cast<Test*>(argument))(), 0U; };
  const auto thread = _beginthreadex(nullptr, size, run, &test, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  ASSERT_NE(thread, 0U);
  WaitForSingleObject(reinterpret_cast<HANDLE>(thread), INFINITE);
  CloseHandle(reinterpret_cast<HANDLE>(thread));
#else
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
  void* (*const run)(void*) = [](void* argument) -> void* { return (*static_cast<Test*>(argument))(), nullptr; };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &test), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
#endif
}

TEST_F(DomFixture, ChainsAreBuiltWalkedExportedAndDeletedWithoutRecursion) {
  RunOnStack(kStackSize, [&] {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> level;
    ASSERT_TRUE(OpenNew() && document->OpenEditor(editor.Out()));
    calls.Take();
    int64_t id = 1;
    for (int64_t parent = 1; parent < kDepth; parent = id) {
      ASSERT_TRUE(editor->OpenElementEditor(parent, level.Out()) && editor->CreateElement(KA_TEXT("e"), &id));
      ASSERT_TRUE(level->AppendChild(id) && level->Commit());
      EXPECT_EQ(calls.Take().find("SELECT"), std::string::npos) << "building asks nothing";
    }
    ASSERT_TRUE(editor->Commit() && document->CreateIndexes());
    editor.Reset();
    level.Reset();

    KaSmartPtr<KaDomElement> element, next;
    ASSERT_TRUE(document->GetRootElement(element.Out()));
    for (int64_t depth = 2; element->GetFirstChild(next.Out()); ++depth) {
      ASSERT_EQ(next->GetId(), depth);
      element = next;
    }
    EXPECT_EQ(element->GetId(), kDepth);
    while (element->GetParent(next.Out())) element = next;
    EXPECT_EQ(element->GetId(), 1);

    ASSERT_TRUE(document->OpenEditor(editor.Out()) && editor->OpenElementEditor(kDepth, level.Out()));
    EXPECT_FALSE(level->AppendChild(1));
    ExpectLog("3 Failed to append a DOM child element.");
    ASSERT_TRUE(document->GetElement(kDepth - 5'000, element.Out()));
    // Indentation makes deeper files too large: on less of a stack a recursion shows all the same.
    RunOnStack(kStackSize / 8, [&] { EXPECT_TRUE(element->ExportXml(WidePath(Path("x.xml")).c_str())); });
    EXPECT_EQ(std::filesystem::file_size(Path("x.xml")), 2 * 5'000 * 5'000 + 5'000 * (5 + 6) + 6U);
    ASSERT_TRUE(editor->OpenElementEditor(kDepth - 20'000, level.Out()));
    EXPECT_TRUE(level->DeleteChildren());
    EXPECT_EQ(Table("max(id)", "Nodes_1"), "80000");
  });
}

#if defined(KADOM_TOOL_PATH)
TEST_F(ToolFixture, ImportsAndShowsDeepFiles) {
  const auto depth = static_cast<size_t>(kDepth);
  std::string xml;
  for (size_t i = 0; i < depth; ++i) xml += "<e>";
  for (size_t i = 0; i < depth; ++i) xml += "</e>";
  Write("deep.xml", xml);
#if defined(_WIN32)
  const std::string tool = Quoted(KADOM_TOOL_PATH);  // has that stack anyway
#else
  const std::string tool = "ulimit -s 1024; " + Quoted(KADOM_TOOL_PATH);
#endif
  EXPECT_EQ(RunInShell(tool + " import deep.db d deep.xml > ../out"), 0);
  EXPECT_EQ(RunInShell(tool + " tree deep.db d --limit 3000 > ../out"), 0);
  EXPECT_NE(ReadFile("../out").find("e #3000\n"), std::string::npos);
}
#endif

}  // namespace
}  // namespace karst::test
