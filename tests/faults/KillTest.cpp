// Processes that end at any of their calls that change a file.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/DomWorld.h"

namespace {

int callsUntilEnd = -1;    // of this process; negative: it goes on
bool endsHalfWay = false;  // in a write that has begun

bool IsTheEnd() {
  return callsUntilEnd >= 0 && callsUntilEnd-- == 0;
}

template <class Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The engine's calls that change a file end up here.
#define KA_INTERPOSED extern "C" __attribute__((visibility("default")))

KA_INTERPOSED ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at) {
  static auto* const real = Real<ssize_t(int, const void*, size_t, off64_t)>("pwrite64");
  if (!IsTheEnd()) return real(file, bytes, size, at);
  if (endsHalfWay) real(file, bytes, size / 2, at);
  _exit(0);
}

KA_INTERPOSED int ftruncate64(int file, off64_t size) noexcept {
  static auto* const real = Real<int(int, off64_t)>("ftruncate64");
  if (IsTheEnd()) _exit(0);
  return real(file, size);
}

KA_INTERPOSED int unlink(const char* path) noexcept {
  static auto* const real = Real<int(const char*)>("unlink");
  if (IsTheEnd()) _exit(0);
  return real(path);
}

namespace karst::test {
namespace {

constexpr int kCommits = 3;
constexpr const KaChar* kCount = KA_TEXT("count");

// Every commit adds an element with a text of some pages, and counts them in an attribute of the root.
class KillTest : public DomFixture {
 protected:
  bool CommitOne(int count) {
    KaSmartPtr<KaDomDocumentEditor> editor;
    KaSmartPtr<KaDomElementEditor> root, child;
    int64_t id = 0;
    const KaText text(20000, static_cast<KaChar>('a' + count));
    const KaText name = Wide("name" + std::to_string(count));
    return document->OpenEditor(editor.Out()) && editor->OpenElementEditor(1, root.Out()) &&
           root->SetInt(kCount, count, 0) && editor->CreateElement(name.c_str(), &id) && root->AppendChild(id) &&
           root->Commit() && editor->OpenElementEditor(id, child.Out()) && child->SetText(kCount, text.c_str()) &&
           child->Commit() && editor->Commit();
  }

  // Edits in another process, which ends at one of its calls unless `call` is negative. Answers the commits that were
  // answered true there, and sets whether it came to its end.
  int EditElsewhere(int call, bool* isDone) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
      callsUntilEnd = call;
      bool isGood = Reopen();
      for (char commit = 1; isGood && commit <= kCommits; ++commit) {
        isGood = CommitOne(commit) && write(ends[1], &commit, 1) == 1;
      }
      Close();
      _exit(isGood && callsUntilEnd >= 0 ? 1 : 0);
    }
    close(ends[1]);
    char committed = 0;
    while (read(ends[0], &committed, 1) == 1) continue;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    *isDone = WEXITSTATUS(status) == 1;
    return committed;
  }

  // What the file holds: the commits that are in it as a whole; -1 when it cannot be opened or is damaged.
  int CountCommits() {
    if (!Reopen() || Table("integrity_check", "pragma_integrity_check") != "'ok'") return -1;
    std::string tree = "Root";
    KaSmartPtr<KaDomElement> root;
    KaSmartPtr<KaDomAttribute> attribute;
    int32_t count = 0;
    if (document->GetRootElement(root.Out()) && root->GetFirstAttribute(attribute.Out())) attribute->GetInt(&count);
    if (count > 0) tree += "[count=" + std::to_string(count) + "/0](";
    for (int commit = 1; commit <= count; ++commit) {
      const std::string number = std::to_string(commit);
      tree += (commit > 1 ? ",name" : "name") + number +
              "[count=" + std::string(20000, static_cast<char>('a' + commit)) + "]";
    }
    return TreeOf(document.Get()) == tree + (count > 0 ? ")" : "") ? count : -1;
  }

  // Ends a process at each of its calls. Answers how many of the files were damaged afterwards or lost a commit.
  int CountDamaged() {
    int damaged = 0;
    bool isDone = false;
    for (int call = 0; !isDone; ++call) {
      std::filesystem::remove(Path("test.db"));
      EXPECT_TRUE(OpenNew());
      Close();
      const int committed = EditElsewhere(call, &isDone);
      const int found = CountCommits();
      const bool isSound = found == committed || found == committed + 1;
      damaged += isSound ? 0 : 1;
      host.TakeLog();
      Close();
      std::filesystem::remove(Path("test.db-journal"));
    }
    return damaged;
  }
};

TEST_F(KillTest, NeverHarmsAFileUnlessTheHostAsksForLess) {
  for (const bool halfWay : {false, true}) {
    endsHalfWay = halfWay;
    for (const char* cache : {"4", "65536"}) {  // pages reach the file before the commit, or do not
      ASSERT_TRUE(DatabaseModule().SetOption("cache_size", cache));
      EXPECT_EQ(CountDamaged(), 0) << cache << halfWay;
    }
  }
  ASSERT_TRUE(DatabaseModule().SetOption("journal", "requested"));
  EXPECT_GT(CountDamaged(), 0) << "so this test would notice";
  ASSERT_TRUE(DatabaseModule().SetOption("journal", "durable"));
}

}  // namespace
}  // namespace karst::test
