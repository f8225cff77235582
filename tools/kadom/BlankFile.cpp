#include "tools/kadom/BlankFile.h"

#include <string>
#include <vector>

#include "common/PathText.h"
#include "tools/kadom/Interrupt.h"

namespace karst::tool {

namespace {

constexpr const KaChar* kAnything = KA_TEXT("SELECT 1 FROM main.sqlite_master LIMIT 1");

// A text of SQL in quotation marks of that kind.
std::string InQuotes(const std::string& text, char mark) {
  std::string quoted(1, mark);
  for (const char c : text) quoted.append(c == mark ? 2 : 1, c);
  return quoted + mark;
}

class Copy {
 public:
  Copy(Session& openSession, KaDbConnection& to) : session(openSession), connection(to) {}

  // From the attached database "built".
  void Run() {
    for (const KaText& sql : Texts("sql", "type='table' AND name NOT LIKE 'sqlite!_%' ESCAPE '!'")) Execute(sql);
    for (const KaText& table : Texts("name", "type='table' AND name NOT LIKE 'sqlite!_%' ESCAPE '!'")) CopyRows(table);
    Execute("DELETE FROM main.sqlite_sequence; INSERT INTO main.sqlite_sequence SELECT * FROM built.sqlite_sequence");
    for (const KaText& sql : Texts("sql", "type<>'table' AND sql IS NOT NULL")) Execute(sql);
  }

 private:
  std::vector<KaText> Texts(const std::string& column, const std::string& condition) {
    const std::string sql = "SELECT " + column + " FROM built.sqlite_master WHERE " + condition + " ORDER BY rowid";
    KaSmartPtr<KaDbStatement> statement;
    if (!connection.Prepare(TextFromUser(sql, "SQL").c_str(), statement.Out(), 0)) throw Failed();
    std::vector<KaText> texts;
    while (session.Step(*statement)) {
      KaSmartPtr<KaString> text;
      if (!statement->GetString(0, text.Out())) throw Failed();
      texts.emplace_back(text->GetText());
    }
    return texts;
  }

  void CopyRows(const KaText& table) {
    const std::string name = InQuotes(common::ToUtf8(table).value_or(""), '"');
    Execute("INSERT INTO main." + name + " SELECT * FROM built." + name);
  }

  void Execute(const std::string& sql) { Execute(TextFromUser(sql, "SQL")); }

  void Execute(const KaText& sql) {
    CheckInterrupt();
    if (!connection.Execute(sql.c_str())) throw Failed();
  }

  Failure Failed() const { return session.Fail("cannot be filled"); }

  Session& session;
  KaDbConnection& connection;
};

}  // namespace

bool FillBlankFile(Session& session, const std::filesystem::path& from) {
  const KaSmartPtr<KaDbConnection> connection = session.Connect(session.Path(), Access::Edit);
  // An absolute path looks like nothing else that the engine knows.
  const std::string path = common::PathText(std::filesystem::absolute(from));
  // The transaction takes the locks of both files. One that is not synced takes no part in a journal for them all.
  const std::string attach = "ATTACH " + InQuotes(path, '\'') + " AS built; PRAGMA built.synchronous=OFF";
  if (!connection->Execute(TextFromUser(attach, "the path " + path).c_str())) throw session.Fail("cannot be filled");
  if (!connection->Execute(KA_TEXT("BEGIN EXCLUSIVE"))) {
    if (session.HasRow(*connection, kAnything)) return false;
    throw session.Fail("cannot be written");
  }
  if (session.HasRow(*connection, kAnything)) return false;
  Copy(session, *connection).Run();
  CheckInterrupt();
  if (!connection->Execute(KA_TEXT("COMMIT"))) throw session.Fail("the document cannot be stored");
  return true;
}

void TakeEncoding(Session& session, const std::filesystem::path& to) {
  KaSmartPtr<KaString> encoding;
  {
    const KaSmartPtr<KaDbConnection> connection = session.Connect(session.Path(), Access::Read);
    KaSmartPtr<KaDbStatement> statement;
    const bool isRead = connection->Prepare(KA_TEXT("PRAGMA encoding"), statement.Out(), 0) &&
                        session.Step(*statement) && statement->GetString(0, encoding.Out());
    if (!isRead) throw session.Fail("cannot be read");
  }
  const KaText name = encoding->GetText();
  if (name == KA_TEXT("UTF-8")) return;
  const KaSmartPtr<KaDbConnection> connection = session.Connect(to, Access::Build);
  const KaText sql =
      KA_TEXT("PRAGMA journal_mode=MEMORY; PRAGMA encoding='") + name + KA_TEXT("'; CREATE TABLE t (a); DROP TABLE t");
  if (!connection->Execute(sql.c_str())) throw session.Fail("cannot be built");
}

}  // namespace karst::tool
