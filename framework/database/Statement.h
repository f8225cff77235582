// A compiled statement.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "karst/KaDatabase.h"
#include "common/KaSmartImpl.h"
#include "framework/database/Session.h"

namespace karst::database {

// Bound while it is ready, run by Step and Execute, read while it stands on a row, and ready again after Reset.
//
// The engine is entered no more often than it must be, because entering costs: numbers reach it when the statement
// starts, and it has the statement reset as soon as there are no more rows.
class Statement final : public impl::KaSmartImpl<KaDbStatement> {
 public:
  // May throw std::bad_alloc.
  Statement(std::shared_ptr<Session> shared, CompiledStatement statement);

  bool BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) override;
  bool BindText(int32_t index, const KaChar* text, int32_t reserved) override;
  bool BindInt64(int32_t index, int64_t value) override;
  bool BindNull(int32_t index) override;
  void Reset() override;
  int32_t Step() override;
  bool Execute() override;
  bool GetString(int32_t column, KaString** out) override;
  bool GetInt64(int32_t column, int64_t* out) override;
  bool GetBlob(int32_t column, void* buffer, uint64_t size) override;
  bool GetBlobSize(int32_t column, uint64_t* out) override;

 private:
  enum class State { Ready, Row, Done, Failed };

  ~Statement() override;

  void Unlisted3() override {}
  void Unlisted4() override {}
  void Unlisted5() override {}
  void Unlisted7() override {}
  void Unlisted9() override {}
  void Unlisted11() override {}
  void Unlisted15() override {}
  void Unlisted17() override {}
  void Unlisted18() override {}
  void Unlisted19() override {}
  void Unlisted21() override {}
  void Unlisted23() override {}

  // What is bound to a parameter. The engine has texts and blobs already.
  struct Parameter {
    enum class Content : uint8_t { Null, Number, Block };

    Content content = Content::Null;
    int64_t number = 0;
  };

  sqlite3_stmt* Handle() const { return compiled.handle.get(); }
  // The parameter, if it can be bound now; otherwise null (logged).
  Parameter* ParameterAt(int32_t index) {
    const bool canBind = state == State::Ready && index >= 0 && static_cast<size_t>(index) < parameters.size();
    return canBind ? &parameters[static_cast<size_t>(index)] : RefuseParameter(index);
  }
  Parameter* RefuseParameter(int32_t index);
  // Notes what the engine has been given for a parameter, with its answer.
  bool NoteBlock(Parameter* parameter, int code);
  void GiveParameters();
  void Leave(State next);
  int32_t Fail(int code);
  // A column of the current row; null when there is no row or no such column. One look-up for its type and content.
  sqlite3_value* ColumnAt(int32_t column) const;
  // The bytes of a column: those of a BLOB or a TEXT, none for NULL. False: anything else.
  bool ReadBytes(sqlite3_value* value, const void** bytes, uint64_t* size);

  const std::shared_ptr<Session> session;
  CompiledStatement compiled;
  std::vector<Parameter> parameters;
  bool holdsBlocks = false;              // the engine has a text or a blob for one of them
  std::optional<Session::Use> standing;  // while it is on a row
  State state = State::Ready;
  int columns = 0;      // of the current row
  int32_t failure = 0;  // what Step answers while state is Failed
};

}  // namespace karst::database
