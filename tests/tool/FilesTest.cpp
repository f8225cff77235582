// What becomes of files when commands meet, fail, are interrupted or killed: told by scripts for the shell.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

struct Case {
  const char* name;
  const char* script;
  const char* said;  // on standard output and standard error
};

// Waits for the private file of a target, and for a process to take signals. $K is the tool; ../f a FIFO, 3 its writer.
constexpr const char* kFunctions = R"(
exec 2>&1
private() { n=$1; until set -- $n.kadom-*; test -e "$1"; do :; done; }
catching() { until grep -q 'SigCgt.*6..3$' /proc/$1/status; do :; done; }
imports() { $K import $* > /dev/null; }
imports a.db d good.xml; imports big.db d big.xml
mkfifo ../f; mkdir tmp
)";

const Case kCases[] = {
    {"the faster of two imports stays, and the private file of a living one",
     "imports n.db a ../f & A=$!; exec 3>../f; private n.db; $K ls n.db; imports n.db b good.xml\n"
     "echo '<r/>' >&3; exec 3>&-; wait $A; echo $?; $K ls n.db",
     "kadom: n.db: there is no such file\n"
     "kadom: n.db: another process has changed the file in the meantime; nothing was imported\n1\n1\tb\n"},
    {"one that fails removes nothing of the other",
     ": > n.db; imports n.db a ../f & A=$!; exec 3>../f; private n.db; imports n.db b good.xml\n"
     "exec 3>&-; wait $A; echo $?; $K ls n.db",
     "kadom: ../f:1:1: no element found\n1\n1\tb\n"},
    {"an input that can be read again is, also into a blank file",
     "for t in n.db m.db; do : > m.db; $K import $t a big.xml > /dev/null & private $t; kill -STOP $!; ls $t.kadom-* | "
     "wc -l\n"
     "imports $t b good.xml; kill -CONT $!; wait $!; echo $?; $K ls $t; done",
     "1\n0\n1\tb\n2\ta\n1\n0\n1\tb\n2\ta\n"},
    {"killed ones are cleared away",
     "for n in n.db a.db; do cat good.xml > $n-x; done; : > m.db\n"
     "for n in n.db m.db; do $K import $n a ../f & exec 3>../f; private $n; kill -KILL $!; wait $! 2> ../e; $K ls $n; "
     "exec 3>&-; done\n"
     "echo x > a.db-journal; ln -s a.db l.db; $K ls l.db; : > a.db-journal; $K ls a.db; : > a.db-journal\n"
     "$K set a.db d 1 x y --type Text; ls",
     "kadom: n.db: there is no such file\nkadom: m.db: this is not a DOM database\n1\td\n1\td\n"
     "a.db\na.db-x\nbig.db\nbig.xml\ngood.xml\nl.db\nm.db\nn.db-x\ntmp\n"},
    {"signals leave everything as it was",
     "ls > ../before; md5sum *.* > ../sums\n"
     "for S in INT TERM HUP; do for C in 'import n.db d' 'import a.db n' 'export a.db d'; do\n"
     "$K $C ../f 2> ../e & catching $!; kill -$S $!; wait $!; echo -n \" $?\"; done\n"
     "for C in n.db a.db; do exec 3<>../f; $K import $C n ../f 2> ../e & catching $!; echo '<r><b/>' >&3; test $C = "
     "a.db || private $C\n"
     "kill -$S $!; wait $!; echo -n \" $?\"; exec 3>&-; done; done\n"
     "echo old > old; $K export big.db d old & private old; kill -STOP $!; kill -INT $!; kill -CONT $!; wait $!; echo "
     "$?\n"
     "cat ../e old; rm old; ls | diff ../before -; md5sum --quiet -c ../sums",
     " 130 130 130 130 130 143 143 143 143 143 143 143 143 143 143kadom: interrupted\n130\nkadom: interrupted\nold\n"},
    {"a failing export leaves the old file, and one that works keeps link and mode",
     "echo old > out; chmod 604 out; ln -s out l; (trap '' XFSZ; ulimit -f 1; $K export big.db d l); cat out\n"
     "$K export a.db d l; cat l; stat -c '%F %a' l out; ls | wc -l; $K export a.db d >> out; wc -l < out",
     "kadom: l: File too large\nold\n<r/>\r\nsymbolic link 777\nregular file 604\n7\n2\n"},
    {"a pager ends an export", "TMPDIR=$PWD/tmp $K export big.db d | head -1; ls tmp; ls | wc -l", "<r>\r\n5\n"},
    {"a link to nothing leads to the new file", "ln -s n.db l; imports l d good.xml; ls -F l n.db; $K ls l",
     "l@\nn.db\n1\td\n"},
};

class FilesTest : public ToolFixture, public testing::WithParamInterface<Case> {};

TEST_P(FilesTest, AreWhatTheyShouldBe) {
#if defined(_WIN32)
  GTEST_SKIP() << "there is no such shell, and there are no such signals here";
#endif
  std::string big = "<r>";
  for (int i = 0; i < 20000; ++i) big += "<element/>";
  Write("big.xml", big + "</r>");
  Write("good.xml", "<r/>");
  Write("../script", std::string("K=") + KADOM_TOOL_PATH + kFunctions + GetParam().script);
  EXPECT_EQ(RunInShell("timeout 60 sh ../script > ../out"), 0) << GetParam().name;
  EXPECT_EQ(ReadFile("../out"), GetParam().said) << GetParam().name;
}

INSTANTIATE_TEST_SUITE_P(All, FilesTest, testing::ValuesIn(kCases));

}  // namespace
}  // namespace karst::test
