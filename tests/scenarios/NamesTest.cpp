// Every element and attribute reads under its own name after reopening, however the editors that first used it ended.
#include <map>
#include <sstream>

#include "tests/support/DomWorld.h"

namespace karst::test {
namespace {

// Plays scripts of steps, each an operation and editors' numbers: D0 opens the document editor 0, E1:0 the editor 1 of
// the root inside it, N0:x creates an element x, R1:x renames, A1:x sets an attribute, r1:x removes one, C0:x creates a
// document with the root x, F0:x fails to, c0 commits and x0 releases.
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
    if (what == 'r') return elements[number]->RemoveAttribute(name);
    if (what == 'c') return isElement ? elements[number]->Commit() : documents[number]->Commit();
    if (what == 'x') return (isElement ? elements.erase(number) : documents.erase(number)) != 0;
    if (what == 'F') calls.Fail({.kind = "Execute", .text = "INTO Nodes_2"});
    return database->CreateDocument(KA_TEXT("Two"), name, nullptr) == (what == 'C');
  }
  // Runs the steps of a script, each until it succeeds, so many times at most; answers those that did not.
  std::string Refused(const std::string& script, int tries = 1) {
    std::istringstream steps(script);
    std::string refused;
    for (std::string step; steps >> step;) {
      const std::string before = calls.Take();
      int left = tries;
      while (left > 0 && !Run(step)) --left;
      const std::string since = calls.Take();
      if (left == 0) refused += (refused.empty() ? "" : " ") + step;
      EXPECT_TRUE(step[0] != 'x' || CountOf("Execute", since) == 0) << "to abandon writes nothing";
      calls.Note(before + since);
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

// A script, what the file holds in the end, how many rows of names were stored, and how often the table was looked at.
struct Scenario {
  const char* script;
  const char* listing;
  size_t stored;
  size_t looks;
};

constexpr Scenario kScenarios[] = {
    {"D0 N0:a E1:0 A1:b c1 N0:b c0 D2 N2:a N2:c x2", "Root[b=b] a b", 3, 0},
    {"D0 N0:lost x0 D1 N1:kept N1:lost c1", "Root kept lost", 3, 1},
    {"D0 E1:0 R1:lost x1 E2:0 A2:kept A2:lost c2 c0", "Root[lost=lost][kept=kept]", 3, 1},
    {"D0 E1:0 r1:lost x1 N0:kept c0", "Root kept", 3, 1},
    {"D0 E1:0 D2 A1:p A1:q x2 c1 c0", "Root[p=p][q=q]", 4, 1},
    {"D0 E1:0 D2 A1:p x2 E3:0 R3:p x3 c1 c0", "Root[p=p]", 3, 2},
    {"D0 E1:0 D2 A1:p x2 E3:0 N0:q E4:0 N0:p x4 c3 c1 c0", "Root[p=p] q", 3, 2},
    {"D0 E1:0 D2 A1:p x2 E3:0 R3:p c3 x3 x1 x0 D5 N5:q c5", "Root q", 4, 2},
    {"D0 F0:lost N0:kept c0", "Root kept", 3, 1},
    {"F0:lost D0 N0:kept N0:lost c0", "Root kept lost", 3, 1},
    {"D0 C0:lost x0 D1 N1:kept c1", "Root kept", 3, 1},
    {"D0 N0:p E1:0 A1:p c0 c1", "Root[p=p] p", 1, 0},
};

// Each scenario as it is, then with each of its name rows refused once and the step tried again.
TEST(Names, StayTrueHoweverEditorsEnd) {
  for (const Scenario& scenario : kScenarios) {
    for (size_t fault = 0; fault <= scenario.stored; ++fault) {
      SCOPED_TRACE(scenario.script + std::string(", fault ") + std::to_string(fault));
      Play play;
      ASSERT_TRUE(play.OpenNew());
      play.calls.Take();
      if (fault > 0) play.calls.Fail({.kind = "Execute", .text = "INTO Keywords", .nth = static_cast<int64_t>(fault)});
      EXPECT_EQ(play.Refused(scenario.script, fault > 0 ? 2 : 1), "");
      const std::string calls = play.calls.Take();
      if (fault == 0) {
        EXPECT_EQ(CountOf("BindText", calls), scenario.stored);
        EXPECT_EQ(CountOf("Prepare SELECT name FROM Keywords", calls), scenario.looks);
        EXPECT_EQ(play.host.TakeLog(), "");
      }
      EXPECT_EQ(play.ListingAfterReopening(), scenario.listing);
      EXPECT_EQ(play.Settle(), "");
    }
  }
}

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
