// The contenders "floor" and "tuned": plain C against the engine, with exactly the system's statement sequence.
//
// floor: the engine as it comes; statements are reused where the system reuses them, everything else is text.
// tuned: the read lock is held while the file is open, no memory statistics, no mutex, persistent statements, a page
// cache for the working set, savepoints compiled once, and so are the texts that differ in one number only. Statement
// journals stay in memory, and a commit waits until the rollback journal is gone, as the system's does.
#include <cstdio>
#include <deque>

#include "bench/Contender.h"
#include "bench/SqlLayout.h"
#include "bench/SqlStatement.h"
#include "bench/XmlWriting.h"

namespace karst::bench {

namespace {

constexpr const char* kTunedSettings = "PRAGMA cache_size=-98304;PRAGMA synchronous=EXTRA";

// Elements are numbered from 0 here, rows from 1.
int64_t RowOf(int64_t element) {
  return element + 1;
}

class SqlContender final : public Contender {
 public:
  SqlContender(const Tree& tree, bool tuned) : Contender(tree), tuned(tuned) {
    if (tuned) {
      Require(sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0) == SQLITE_OK &&
                  sqlite3_config(SQLITE_CONFIG_STMTJRNL_SPILL, -1) == SQLITE_OK,
              "the engine is in use already");
    }
  }
  ~SqlContender() override { Close(); }

  std::string Describe() override {
    Connect(":memory:");
    SqlStatement select = Compile(kDescribeEngine);
    Require(select.Step(), "the engine does not tell its version");
    return reinterpret_cast<const char*>(select.Bytes(0));
  }

  void Create(const std::string& path) override {
    std::remove(path.c_str());
    Connect(path);
    Execute(kSchema);
    Execute(kNewDocument);
    Execute("INSERT INTO Nodes_1 (name_id) VALUES (" + std::to_string(Tree::NameIndex(0) + 1) + ");COMMIT");
    Hold();
  }

  void Build() override {
    Begin();
    StoreNames();
    SqlStatement insert = Compile(kInsert);
    SqlStatement setParent = Compile(kSetParent);
    SqlStatement select = Compile(kSelectData);
    SqlStatement setData = Compile(kSetData);
    for (int64_t parent = 0; parent <= tree.Size(); ++parent) {
      const Elements children = tree.Children(parent);
      if (children.IsEmpty()) continue;
      for (const int64_t child : children) {
        insert.Bind(1, Tree::NameIndex(child) + 1);
        insert.Run();
        Require(sqlite3_last_insert_rowid(engine.get()) == RowOf(child), "a row has another id than expected");
        WriteRecord(child, SqlRecord(child), select, setData);
      }
      TakeSavepoint();
      for (const int64_t child : children) {
        setParent.Bind(1, RowOf(parent));
        setParent.Bind(2, RowOf(child));
        setParent.Run();
      }
      ReleaseSavepoint();
    }
    Commit();
  }

  void MakeIndexes() override {
    if (tuned) Execute("COMMIT");
    Execute(kIndexes);
    Hold();
  }

  void Open(const std::string& path) override {
    Connect(path);
    Hold();
    Require(Compile("SELECT name FROM sqlite_master WHERE type='table' AND name='Xdb' LIMIT 1").Step(), "no database");
    names.assign(1, {});
    SqlStatement keywords = Compile("SELECT name FROM Keywords ORDER BY id");
    while (keywords.Step()) {
      names.push_back(Widen({reinterpret_cast<const char*>(keywords.Bytes(0)), keywords.ByteCount(0)}));
    }
    Require(Compile("SELECT id FROM Documents WHERE name='bench' LIMIT 1").Step(), "there is no document");
  }

  void Close() override {
    kept = {};
    engine.reset();
  }

  Sums Walk(bool attributes) override {
    Summing summing(attributes);
    VisitTree(summing);
    return summing.Result();
  }

  int32_t GetNameIndex(int64_t element) override {
    Prepare(kept.selectElement, kSelectElement);
    kept.selectElement.Bind(1, RowOf(element));
    Require(kept.selectElement.Step(), "an element is missing");
    const int64_t nameId = kept.selectElement.Int(0);
    kept.selectElement.Reset();
    return ReadNameIndex(NameOf(nameId));
  }

  void SetCount(int64_t element, int32_t count) override {
    Begin();
    {
      SqlStatement select = Compile(kSelectData);
      SqlStatement setData = Compile(kSetData);
      SqlRecord record(element);
      record.count = count;
      WriteRecord(element, record, select, setData);
    }
    Commit();
  }

  void DeleteBelow(int64_t element) override {
    Begin();
    TakeSavepoint();
    DeleteChildren(RowOf(element), 0);
    ReleaseSavepoint();
    Commit();
  }

  int64_t CountStored() override {
    SqlStatement count = Compile("SELECT count(*) FROM Nodes_1");
    return count.Step() ? count.Int(0) : 0;
  }

  void Export(const std::string& path) override {
    XmlWriting writing(path);
    VisitTree(writing);
  }

 private:
  struct Row {
    int64_t id;
    int64_t nameId;
  };
  // What is compiled once for an open file.
  struct Kept {
    SqlStatement selectElement;
    SqlStatement selectRecord;
    SqlStatement selectChildren;
    SqlStatement selectData;
    SqlStatement takeSavepoint;
    SqlStatement releaseSavepoint;
    SqlStatement deleteRow;
    std::deque<SqlStatement> childrenOf;  // on each level of a deletion
  };
  struct CloseEngine {
    void operator()(sqlite3* opened) const { sqlite3_close_v2(opened); }
  };

  void Connect(const std::string& path) {
    Close();
    sqlite3* opened = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | (tuned ? SQLITE_OPEN_NOMUTEX : 0);
    const int code = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    engine.reset(opened);
    if (code != SQLITE_OK) Fail(sqlite3_errmsg(opened));
    if (tuned) Execute(kTunedSettings);
  }

  void Execute(const std::string& sql) {
    if (sqlite3_exec(engine.get(), sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK)
      Fail(sqlite3_errmsg(engine.get()));
  }

  SqlStatement Compile(const char* sql) { return {engine.get(), sql, tuned ? SQLITE_PREPARE_PERSISTENT : 0U}; }
  void Prepare(SqlStatement& statement, const char* sql) {
    if (!statement) statement = Compile(sql);
  }

  // Takes the read lock, and keeps it until the file is closed or something is committed.
  void Hold() {
    if (tuned) Execute("BEGIN;SELECT 1 FROM sqlite_master LIMIT 1");
  }
  void Begin() {
    if (!tuned) Execute("BEGIN");
  }
  void Commit() {
    Execute("COMMIT");
    Hold();
  }

  void TakeSavepoint() { RunCommand(kept.takeSavepoint, "SAVEPOINT s"); }
  void ReleaseSavepoint() { RunCommand(kept.releaseSavepoint, "RELEASE s"); }
  void RunCommand(SqlStatement& command, const char* sql) {
    if (!tuned) return Execute(sql);
    Prepare(command, sql);
    command.Run();
  }

  void StoreNames() {
    std::vector<std::string> all = Names();
    all.insert(all.end(), {"label", "count", "matrix"});
    for (size_t i = 0; i < all.size(); ++i) {
      Execute("INSERT INTO Keywords (id,name) VALUES (" + std::to_string(i + 1) + ",'" + all[i] + "')");
    }
  }

  // What an element editor does: reads the record, and writes another.
  void WriteRecord(int64_t element, const SqlRecord& record, SqlStatement& select, SqlStatement& setData) {
    TakeSavepoint();
    select.Bind(1, RowOf(element));
    Require(select.Step(), "an element is missing");
    select.Reset();
    setData.BindBlob(1, &record, sizeof record);
    setData.Bind(2, RowOf(element));
    setData.Run();
    ReleaseSavepoint();
  }

  const KaChar* NameOf(int64_t id) const {
    Require(id > 0 && id < static_cast<int64_t>(names.size()), "a name is missing");
    return names[static_cast<size_t>(id)].c_str();
  }

  template <class Visitor>
  void VisitTree(Visitor& visitor) {
    Prepare(kept.selectRecord, kSelectRecord);
    Prepare(kept.selectChildren, kSelectChildren);
    Prepare(kept.selectData, kSelectData);
    kept.selectRecord.Bind(1, RowOf(0));
    Require(kept.selectRecord.Step(), "there is no root");
    const Row root{RowOf(0), kept.selectRecord.Int(1)};
    kept.selectRecord.Reset();
    Visit(visitor, root, 0);
  }

  template <class Visitor>
  void Visit(Visitor& visitor, Row row, size_t depth) {
    const KaChar* name = NameOf(row.nameId);
    visitor.Enter(row.id - 1, name);
    if (visitor.WantsAttributes()) {
      kept.selectData.Bind(1, row.id);
      if (kept.selectData.Step() && kept.selectData.ByteCount(0) != 0) {
        SqlRecord::At(kept.selectData.Bytes(0), kept.selectData.ByteCount(0)).Visit(visitor);
      }
      kept.selectData.Reset();
    }
    if (levels.size() <= depth) levels.emplace_back();
    std::vector<Row>& children = levels[depth];
    children.clear();
    kept.selectChildren.Bind(1, row.id);
    while (kept.selectChildren.Step()) children.push_back({kept.selectChildren.Int(0), kept.selectChildren.Int(1)});
    kept.selectChildren.Reset();
    visitor.EndTag(!children.empty());
    for (const Row child : children) Visit(visitor, child, depth + 1);
    visitor.Leave(name, !children.empty());
  }

  void DeleteChildren(int64_t id, size_t depth) {
    if (kept.childrenOf.size() <= depth) kept.childrenOf.emplace_back();
    SqlStatement text;
    SqlStatement& children = tuned ? kept.childrenOf[depth] : text;
    SelectByNumber(children, kChildrenOf, id);
    while (children.Step()) {
      const int64_t child = children.Int(0);
      DeleteChildren(child, depth + 1);
      SqlStatement deletion;
      SqlStatement& row = tuned ? kept.deleteRow : deletion;
      SelectByNumber(row, kDeleteRow, child);
      row.Run();
    }
    children.Reset();
  }

  // Makes a statement ready whose text ends in a number: compiled anew with the number in it, or once.
  void SelectByNumber(SqlStatement& statement, const char* pattern, int64_t number) {
    char sql[100];
    if (!tuned) {
      std::snprintf(sql, sizeof sql, pattern, static_cast<long long>(number));
      statement = Compile(sql);
      return;
    }
    if (!statement) {
      const std::string text = pattern;
      statement = Compile((text.substr(0, text.find('%')) + "?").c_str());
    }
    statement.Bind(1, number);
  }

  const bool tuned;
  std::unique_ptr<sqlite3, CloseEngine> engine;
  std::vector<std::basic_string<KaChar>> names;  // by id
  Kept kept;
  std::deque<std::vector<Row>> levels;  // the children on each level of a walk
};

}  // namespace

std::unique_ptr<Contender> MakeSql(const Tree& tree, bool tuned) {
  return std::make_unique<SqlContender>(tree, tuned);
}

}  // namespace karst::bench
