#include "framework/database/Statement.h"

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "common/String.h"
#include "common/Utf.h"
#include "framework/database/Log.h"

namespace karst::database {

Statement::Statement(std::shared_ptr<Session> shared, CompiledStatement statement)
    : session(std::move(shared)), compiled(std::move(statement)) {
  // The only parameter of a pooled statement is not its user's.
  if (!compiled.IsPooled()) parameters.resize(static_cast<size_t>(sqlite3_bind_parameter_count(Handle())));
}

Statement::~Statement() {
  const Session::Use use(*session);
  session->Discard(std::move(compiled));
  compiled = {};  // what was not kept is finalized while the session is in use
}

bool Statement::BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) {
  const bool isBlock = data != nullptr && size >= 0;
  Parameter* const parameter = isBlock ? ParameterAt(index) : nullptr;
  if (parameter == nullptr) {
    if (release != nullptr) release(data);
    return data == nullptr && size == 0 && BindNull(index);
  }
  const Session::Use use(*session);
  const auto destructor = release != nullptr ? release : SQLITE_TRANSIENT;
  return NoteBlock(parameter, sqlite3_bind_blob(Handle(), index + 1, data, size, destructor));
}

bool Statement::BindText(int32_t index, const KaChar* text, int32_t) {
  if (text == nullptr) return false;
  return Guarded([&] {
    const std::optional<std::string> bytes = common::ToUtf8(text);
    if (!bytes) {
      Log("the text for parameter %d holds an unpaired surrogate, in \"%s\"", static_cast<int>(index),
          TextOf(compiled).Text());
      return false;
    }
    Parameter* const parameter = ParameterAt(index);
    if (parameter == nullptr) return false;
    const Session::Use use(*session);
    return NoteBlock(parameter, sqlite3_bind_text64(Handle(), index + 1, bytes->data(), bytes->size(), SQLITE_TRANSIENT,
                                                    SQLITE_UTF8));
  });
}

bool Statement::NoteBlock(Parameter* parameter, int code) {
  holdsBlocks = true;
  parameter->content = code == SQLITE_OK ? Parameter::Content::Block : Parameter::Content::Null;
  if (code != SQLITE_OK) session->ReportFailure(TextOf(compiled));
  return code == SQLITE_OK;
}

bool Statement::BindInt64(int32_t index, int64_t value) {
  Parameter* const parameter = ParameterAt(index);
  if (parameter != nullptr) *parameter = {Parameter::Content::Number, value};
  return parameter != nullptr;
}

bool Statement::BindNull(int32_t index) {
  Parameter* const parameter = ParameterAt(index);
  if (parameter != nullptr) *parameter = {};
  return parameter != nullptr;
}

Statement::Parameter* Statement::RefuseParameter(int32_t index) {
  if (state != State::Ready) {
    Log("a statement that has run and was not reset cannot be bound, in \"%s\"", TextOf(compiled).Text());
  } else {
    Log("there is no parameter %d, in \"%s\"", static_cast<int>(index), TextOf(compiled).Text());
  }
  return nullptr;
}

void Statement::GiveParameters() {
  int number = 0;
  for (const Parameter& parameter : parameters) {
    ++number;
    if (parameter.content == Parameter::Content::Number) {
      sqlite3_bind_int64(Handle(), number, parameter.number);
    } else if (parameter.content == Parameter::Content::Null) {
      sqlite3_bind_null(Handle(), number);
    }
  }
}

void Statement::Reset() {
  if (state == State::Row || holdsBlocks) {
    const Session::Use use(*session);
    Leave(State::Ready);
    if (holdsBlocks) sqlite3_clear_bindings(Handle());
    holdsBlocks = false;
  }
  state = State::Ready;
  for (Parameter& parameter : parameters) parameter.content = Parameter::Content::Null;
}

int32_t Statement::Step() {
  if (state == State::Done) return 0;
  if (state == State::Failed) return failure;
  const Session::Use use(*session);
  const bool isFirst = state == State::Ready;
  if (isFirst) GiveParameters();
  const int code = isFirst ? session->Start(compiled) : session->Continue(compiled);
  if (code == SQLITE_ROW) {
    if (isFirst) {
      standing.emplace(*session);
      columns = sqlite3_data_count(Handle());
    }
    state = State::Row;
    return 1;
  }
  if (code == SQLITE_DONE) {
    Leave(State::Done);
    return 0;
  }
  session->NoticeFailedStep(compiled, code, isFirst);
  return Fail(code);
}

bool Statement::Execute() {
  if (state == State::Done) {
    Log("a statement has run and was not reset, in \"%s\"", TextOf(compiled).Text());
    return false;
  }
  int32_t answer = 1;
  while (answer == 1) answer = Step();
  return answer == 0;
}

bool Statement::GetString(int32_t column, KaString** out) {
  sqlite3_value* const value = ColumnAt(column);
  if (out == nullptr || value == nullptr) return false;
  const int type = sqlite3_value_type(value);
  if (type == SQLITE_NULL) return true;
  const void* bytes = nullptr;
  uint64_t size = 0;
  if (type != SQLITE_TEXT || !ReadBytes(value, &bytes, &size)) return false;
  return Guarded([&] {
    const std::string_view text(static_cast<const char*>(bytes), static_cast<size_t>(size));
    std::optional<common::KaText> wide;
    if (text.find('\0') == std::string_view::npos) wide = common::ToUtf16(text);
    if (!wide) {
      Log("the text in column %d is not valid UTF-8 or holds a NUL, in \"%s\"", static_cast<int>(column),
          TextOf(compiled).Text());
      return false;
    }
    common::String::Create(std::move(*wide), out);
    return true;
  });
}

bool Statement::GetInt64(int32_t column, int64_t* out) {
  sqlite3_value* const value = ColumnAt(column);
  if (out == nullptr || value == nullptr || sqlite3_value_type(value) != SQLITE_INTEGER) return false;
  *out = sqlite3_value_int64(value);
  return true;
}

bool Statement::GetBlob(int32_t column, void* buffer, uint64_t size) {
  const void* bytes = nullptr;
  uint64_t stored = 0;
  if (!ReadBytes(ColumnAt(column), &bytes, &stored) || stored != size) return false;
  if (size == 0) return true;
  if (buffer == nullptr || bytes == nullptr) return false;
  std::memcpy(buffer, bytes, static_cast<size_t>(size));
  return true;
}

bool Statement::GetBlobSize(int32_t column, uint64_t* out) {
  const void* bytes = nullptr;
  uint64_t size = 0;
  if (out == nullptr || !ReadBytes(ColumnAt(column), &bytes, &size)) return false;
  *out = size;
  return true;
}

int32_t Statement::Fail(int code) {
  Leave(State::Failed);
  failure = -code;
  return failure;
}

void Statement::Leave(State next) {
  sqlite3_reset(Handle());  // repeats the error of the last step, which is logged
  standing.reset();
  state = next;
}

sqlite3_value* Statement::ColumnAt(int32_t column) const {
  if (state != State::Row || column < 0 || column >= columns) return nullptr;
  return sqlite3_column_value(Handle(), column);  // not protected against other threads, of which there are none
}

bool Statement::ReadBytes(sqlite3_value* value, const void** bytes, uint64_t* size) {
  switch (value == nullptr ? 0 : sqlite3_value_type(value)) {
    case SQLITE_NULL:
      *bytes = nullptr;
      *size = 0;
      return true;
    case SQLITE_BLOB:
      *bytes = sqlite3_value_blob(value);
      break;
    case SQLITE_TEXT:
      *bytes = sqlite3_value_text(value);
      break;
    default:
      return false;
  }
  *size = static_cast<uint64_t>(sqlite3_value_bytes(value));
  if (*bytes != nullptr || sqlite3_errcode(session->Engine()) != SQLITE_NOMEM) return true;
  session->ReportFailure(TextOf(compiled));
  return false;
}

}  // namespace karst::database
