// Names and what is stored under them when the engine gives up a transaction.
#include <map>
#include <sstream>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// Plays scripts of steps, each an operation and editors' numbers: D0 opens the document editor 0, E1:0 the editor 1 of
// the root inside it, N0:x creates an element x, R1:x renames, A1:x sets an attribute, C0:x creates a document with the
// root x, c0 commits and x0 releases.
struct Play : DomWorld {
  std::map<char, KaSmartPtr<KaDomDocumentEditor>> documents;
  std::map<char, KaSmartPtr<KaDomElementEditor>> elements;

  bool Run(const std::string& step) {
    const char what = step[0], number = step[1];
    const KaText text = step.size() > 3 ? Wide(step.substr(3)) : KaText();
    const KaChar* name = text.c_str();
    const bool isElement = elements.count(number) != 0;
    int64_t id = 0;
    if (what == 'D') return document->OpenEditor(documents[number].Out());
    if (what == 'E') return documents[step[3]]->OpenElementEditor(1, elements[number].Out());
    if (what == 'N') return documents[number]->CreateElement(name, &id);
    if (what == 'R') return elements[number]->Rename(name);
    if (what == 'A') return elements[number]->SetText(name, name);
    if (what == 'c') return isElement ? elements[number]->Commit() : documents[number]->Commit();
    if (what == 'x') return (isElement ? elements.erase(number) : documents.erase(number)) != 0;
    return database->CreateDocument(KA_TEXT("Two"), name, nullptr);
  }
  // Runs the steps of a script; answers those that did not succeed.
  std::string Refused(const std::string& script) {
    std::istringstream steps(script);
    std::string refused;
    for (std::string step; steps >> step;) {
      if (!Run(step)) refused += (refused.empty() ? "" : " ") + step;
    }
    return refused;
  }
  // What the file holds once every editor has been released.
  std::string ListingAfterReopening() {
    elements.clear();
    documents.clear();
    return Reopen() ? ListingOf(document.Get()) : "<none>";
  }
};

// The disk is full: the engine rolls everything back, and nothing is written until every editor has been released.
TEST(Names, StayTrueWhenTheEngineRollsBack) {
  const std::string large(1 << 20, 'x');
  for (const bool byCommit : {false, true}) {
    SCOPED_TRACE(byCommit);
    Play play;
    ASSERT_TRUE(play.OpenNew());
    EXPECT_EQ(play.Refused("D0 N0:a c0 x0"), "");
    const std::string stored = play.Stored("id,name_id,data", "Nodes_1");
    play.RunSql("PRAGMA max_page_count=" + play.Table("page_count+4", "pragma_page_count"));
    EXPECT_EQ(play.Refused("D0 N0:lost E1:0 A1:late"), "");
    ASSERT_TRUE(play.elements['1']->SetText(KA_TEXT("a"), Wide(large).c_str()));
    while (!byCommit && play.Run("N0:a")) continue;
    const std::string refused = "c1 c0 c1 N0:a N0:new R1:a A1:new D2 E3:0 C0:a";
    EXPECT_EQ(play.Refused(refused), refused);
    EXPECT_FALSE(play.documents['0']->DeleteElement(2) || play.elements['1']->AppendChild(2));
    EXPECT_FALSE(play.elements['1']->DeleteChildren());
    EXPECT_EQ(play.Stored("id,name_id,data", "Nodes_1"), stored);
    EXPECT_EQ(ListingOf(play.document.Get()), "Root a") << "reading goes on";
    play.elements.clear();
    play.documents.clear();
    play.RunSql("PRAGMA max_page_count=100000");
    EXPECT_EQ(play.Refused("D0 N0:kept E1:0 A1:late A1:new c1 c0"), "");
    EXPECT_EQ(play.ListingAfterReopening(), "Root[late=late][new=new] a kept");
    EXPECT_EQ(play.Settle(), "");
  }
}

}  // namespace
}  // namespace karst::test
