// The system's statements and records for the tree, as a program in plain C has them: the one document's number is 1,
// records are read and written at fixed offsets.
#pragma once

#include "bench/Contender.h"

namespace karst::bench {

constexpr const char* kSchema =
    "BEGIN EXCLUSIVE TRANSACTION;DROP TABLE IF EXISTS XDB;DROP TABLE IF EXISTS Keywords;DROP TABLE IF EXISTS Nodes;"
    "DROP TABLE IF EXISTS Documents;CREATE TABLE Xdb (name TEXT,major INTEGER,minor INTEGER,release INTEGER);"
    "INSERT INTO Xdb (name,major,minor,release) VALUES ('XDB',0,0,1);"
    "CREATE TABLE Keywords (id INTEGER PRIMARY KEY,name TEXT);"
    "CREATE TABLE Documents (id INTEGER PRIMARY KEY AUTOINCREMENT,name TEXT,size INTEGER,timestamp DATETIME);"
    "CREATE INDEX IF NOT EXISTS IdxKeywords ON Keywords (id);COMMIT";
constexpr const char* kNewDocument =
    "BEGIN IMMEDIATE;INSERT INTO Documents (name,size,timestamp) VALUES ('bench',-1, -1);"
    "CREATE TABLE Nodes_1 (id INTEGER PRIMARY KEY AUTOINCREMENT,parent_id INTEGER DEFAULT 0,name_id INTEGER NOT NULL,"
    "data BLOB);";
constexpr const char* kIndexes =
    "CREATE INDEX IF NOT EXISTS IdxIdNodes_1 ON Nodes_1 (id);"
    "CREATE INDEX IF NOT EXISTS IdxParentNodes_1 ON Nodes_1 (parent_id);"
    "CREATE INDEX IF NOT EXISTS IdxNameNodes_1 ON Nodes_1 (name_id);";
constexpr const char* kInsert = "INSERT INTO Nodes_1 (parent_id,name_id) VALUES (-1,@NAME)";
constexpr const char* kSetParent = "UPDATE Nodes_1 SET parent_id=@PARENT WHERE id=@CHILD";
constexpr const char* kSetData = "UPDATE Nodes_1 SET data=@BLOB WHERE id=@ELEM";
constexpr const char* kSelectData = "SELECT data FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
constexpr const char* kSelectElement = "SELECT name_id FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
constexpr const char* kSelectRecord = "SELECT parent_id,name_id FROM Nodes_1 WHERE id=@ELEM LIMIT 1";
constexpr const char* kSelectChildren = "SELECT id,name_id FROM Nodes_1 WHERE parent_id=@ELEM";
constexpr const char* kChildrenOf = "SELECT id FROM Nodes_1 WHERE parent_id=%lld";
constexpr const char* kDeleteRow = "DELETE FROM Nodes_1 WHERE id=%lld";

// The ids of the attribute names, which are stored behind those of the elements.
constexpr int64_t kLabelId = kNameCount + 1;
constexpr int64_t kCountId = kNameCount + 2;
constexpr int64_t kMatrixId = kNameCount + 3;

#pragma pack(push, 1)
struct SqlRecord {
  int64_t labelId = kLabelId;
  uint32_t labelType = ValueType::Text;
  LabelText<KaChar> label;
  int64_t countId = kCountId;
  uint32_t countType = ValueType::Int;
  uint32_t countUnit = kCountUnit;
  int32_t count;
  int64_t matrixId = kMatrixId;
  uint32_t matrixType = ValueType::DoubleArray4x4;
  uint32_t matrixUnit = kMatrixUnit;
  int32_t matrixCount = 1;
  Matrix matrix;

  explicit SqlRecord(int64_t element)
      : label(Tree::Label<KaChar>(element)), count(Tree::Count(element)), matrix(Tree::MatrixOf(element)) {}
  // A stored record, where it is.
  static const SqlRecord& At(const uint8_t* bytes, size_t size) {
    Require(size == sizeof(SqlRecord), "a record has another size than expected");
    return *reinterpret_cast<const SqlRecord*>(bytes);
  }

  template <class Visitor>
  void Visit(Visitor& visitor) const {
    if (labelType == ValueType::Text) visitor.Label(label.data());
    if (countType == ValueType::Int) visitor.Count(count, countUnit);
    if (matrixType == ValueType::DoubleArray4x4) visitor.MatrixAt(&matrix, matrixUnit);
  }
};
#pragma pack(pop)

}  // namespace karst::bench
