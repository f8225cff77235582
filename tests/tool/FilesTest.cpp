// What becomes of files when commands meet, fail, are interrupted or killed: told by scripts for the shell.
#include "tests/tool/ToolFixture.h"

namespace karst::test {
namespace {

// $K is the tool. `private` waits for the private file of a target, `catching` for a process to take signals. ../f is a
// FIFO, and descriptor 3 its writer.
constexpr const char* kPreparation = R"(exec 2>&1; rm -rf * ../f
private() { n=$1; until set -- $n.kadom-*; test -e "$1"; do :; done; }
catching() { until grep -q 'SigCgt.*6..3$' /proc/$1/status; do :; done; }
imports() { $K import $* > /dev/null; }
echo "<?p?><r a='b'/><!--c--><!--d-->" > good.xml; (echo '<r>'; yes '<element/>' | head -100000; echo '</r>') > big.xml
imports a.db d good.xml; imports big.db d big.xml; mkfifo ../f; mkdir tmp
)";

// What it is about, the script, and what comes on standard output and standard error.
constexpr const char* kCases[][3] = {
    {"an import that was overtaken says so; one that lives keeps its private file",
     R"(imports n.db a ../f & A=$!; exec 3>../f; private n.db; $K ls n.db; imports n.db b good.xml
        echo '<r/>' >&3; exec 3>&-; wait $A; echo $?; $K ls n.db)",
     "kadom: n.db: there is no such file\n"
     "kadom: n.db: another process has changed the file in the meantime; nothing was imported\n1\n1\tb\n"},
    {"one that fails takes nothing of another's away",
     R"(: > n.db; imports n.db a ../f & A=$!; exec 3>../f; private n.db; imports n.db b good.xml
        exec 3>&-; wait $A; echo $?; $K ls n.db)",
     "kadom: ../f:1:1: no element found\n1\n1\tb\n"},
    {"one that was overtaken reads its input again, also for a blank file",
     R"(for t in n.db m.db; do
          : > m.db; $K import $t a big.xml > /dev/null & private $t; kill -STOP $!; ls $t.kadom-* | wc -l
          imports $t b good.xml; kill -CONT $!; wait $!; echo $?; $K ls $t
        done)",
     "1\n0\n1\tb\n2\ta\n1\n0\n1\tb\n2\ta\n"},
    {"links are followed, and what killed ones left beside a file is cleared away",
     R"(ln -s k.db k; imports k d good.xml; : > m.db; : > a.db.kadom-copy; ln -s a.db l.db
        echo x > a.db-journal; $K ls l.db; : > a.db-journal; $K ls a.db
        for t in n.db m.db; do
          $K import $t a ../f & exec 3>../f; private $t; kill -KILL $!; wait $! 2> ../e; $K ls $t; exec 3>&-
        done; ls)",
     "1\td\n1\td\nkadom: n.db: there is no such file\nkadom: m.db: this is not a DOM database\n"
     "a.db\na.db.kadom-copy\nbig.db\nbig.xml\ngood.xml\nk\nk.db\nl.db\nm.db\ntmp\n"},
    {"signals leave everything as it was, while a FIFO is opened and read, and in the middle of an export",
     R"(echo old > old; ls > ../before; md5sum *.* old > ../sums
        for s in INT TERM HUP; do
          for c in 'import n.db d' 'import a.db n' 'export a.db d'; do
            $K $c ../f 2> ../e & catching $!; kill -$s $!; wait $!; echo -n "$? "
          done; exec 3<>../f; echo '<r><b/>' >&3
          $K import n.db n ../f 2> ../e & private n.db; kill -$s $!; wait $!; echo -n "$? "
          $K import a.db n ../f 2> ../e & catching $!; kill -$s $!; wait $!; echo $?; exec 3>&-
        done
        $K export big.db d old & private old; kill -STOP $!; kill -INT $!; kill -CONT $!; wait $!; echo $?
        ls | diff ../before -; md5sum --quiet -c ../sums)",
     "130 130 130 130 130\n143 143 143 143 143\n143 143 143 143 143\nkadom: interrupted\n130\n"},
    {"exports keep what they cannot replace, and links, modes and what they are to be appended to",
     R"(echo old > out; chmod 604 out; ln -s out l; (trap '' XFSZ; ulimit -f 1; $K export big.db d l); cat out
        $K export a.db d l; cat l; stat -c '%F %a' l out; $K export a.db d >> out; $K export a.db d /dev/stdout >> out
        wc -l < out; TMPDIR=$PWD/tmp $K export big.db d | head -1; ls tmp; ls | wc -l)",
     "kadom: l: File too large\nold\n<r a=\"b\"/>\r\nsymbolic link 777\nregular file 604\n3\n<r>\r\n7\n"},
    {"what takes no output is named, and what is stored is stored",
     R"(for c in 'export a.db d' 'tree a.db d' 'get a.db d 1' 'ls a.db'; do $K $c > /dev/full; done 2>&1 | uniq -c
        $K export a.db d /dev/full; $K export a.db d >&-; $K import a.db e good.xml 2>&1 > /dev/full | sed 's/ in.* s / /'
        $K ls a.db)",
     "      4 kadom: standard output: No space left on device\n"
     "kadom: /dev/full: No space left on device\nkadom: standard output: Bad file descriptor\n"
     "imported 1 element, 1 attribute (2 comments, 1 processing instruction skipped)\nkadom: standard output: No space "
     "left on device\n1\td\n2\te\n"},
};

using FilesTest = ToolFixture;

TEST_F(FilesTest, AreWhatTheyShouldBe) {
#if defined(_WIN32)
  GTEST_SKIP() << "there is no such shell, and there are no such signals here";
#endif
  for (const auto& [about, script, said] : kCases) {
    SCOPED_TRACE(about);
    Write("../script", std::string("K=") + KADOM_TOOL_PATH + "\n" + kPreparation + script);
    EXPECT_EQ(RunInShell("env --default-signal timeout 60 sh ../script > ../out"), 0);
    EXPECT_EQ(ReadFile("../out"), said);
  }
}

}  // namespace
}  // namespace karst::test
