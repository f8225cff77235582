#include "framework/database/Statement.h"

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "framework/common/String.h"
#include "framework/common/Utf.h"
#include "framework/database/Log.h"

namespace karst::database {

bool Statement::BindBlob(int32_t index, void* data, int32_t size, KaReleaseBlob release) {
  if (data == nullptr || size < 0) {
    // The engine would leave such a block alone.
    if (release != nullptr) release(data);
    return data == nullptr && size == 0 && BindNull(index);
  }
  return CheckBind(sqlite3_bind_blob(Handle(), index + 1, data, size, release != nullptr ? release : SQLITE_TRANSIENT));
}

bool Statement::BindText(int32_t index, const KaChar* text, int32_t) {
  if (text == nullptr) return false;
  return Guarded([&] {
    const std::optional<std::string> bytes = framework::ToUtf8(text);
    if (!bytes) {
      Log("the text for parameter %d holds an unpaired surrogate, in \"%s\"", static_cast<int>(index),
          Excerpt(sqlite3_sql(Handle())).Text());
      return false;
    }
    return CheckBind(
        sqlite3_bind_text64(Handle(), index + 1, bytes->data(), bytes->size(), SQLITE_TRANSIENT, SQLITE_UTF8));
  });
}

bool Statement::BindInt64(int32_t index, int64_t value) {
  return CheckBind(sqlite3_bind_int64(Handle(), index + 1, value));
}

bool Statement::BindNull(int32_t index) {
  return CheckBind(sqlite3_bind_null(Handle(), index + 1));
}

void Statement::Reset() {
  sqlite3_reset(Handle());  // repeats the error of the last step, which is logged
  sqlite3_clear_bindings(Handle());
  state = State::Ready;
}

int32_t Statement::Step() {
  if (state == State::Done) return 0;
  if (state == State::Failed) return failure;
  if (state == State::Ready && !session->Admit(compiled)) return Fail(SQLITE_ABORT);
  const int code = sqlite3_step(Handle());
  if (code == SQLITE_ROW) {
    state = State::Row;
    return 1;
  }
  if (code == SQLITE_DONE) {
    state = State::Done;
    return 0;
  }
  session->ReportFailure(sqlite3_sql(Handle()));
  return Fail(code);
}

bool Statement::Execute() {
  if (state == State::Done) {
    Log("a statement has run and was not reset, in \"%s\"", Excerpt(sqlite3_sql(Handle())).Text());
    return false;
  }
  int32_t answer = 1;
  while (answer == 1) answer = Step();
  return answer == 0;
}

bool Statement::GetString(int32_t column, KaString** out) {
  const int type = ColumnType(column);
  if (out == nullptr) return false;
  if (type == SQLITE_NULL) return true;
  const void* bytes = nullptr;
  uint64_t size = 0;
  if (type != SQLITE_TEXT || !ReadBytes(column, &bytes, &size)) return false;
  return Guarded([&] {
    const std::string_view text(static_cast<const char*>(bytes), static_cast<size_t>(size));
    std::optional<framework::KaText> wide;
    if (text.find('\0') == std::string_view::npos) wide = framework::ToUtf16(text);
    if (!wide) {
      Log("the text in column %d is not valid UTF-8 or holds a NUL, in \"%s\"", static_cast<int>(column),
          Excerpt(sqlite3_sql(Handle())).Text());
      return false;
    }
    framework::String::Create(std::move(*wide), out);
    return true;
  });
}

bool Statement::GetInt64(int32_t column, int64_t* out) {
  if (out == nullptr || ColumnType(column) != SQLITE_INTEGER) return false;
  *out = sqlite3_column_int64(Handle(), column);
  return true;
}

bool Statement::GetBlob(int32_t column, void* buffer, uint64_t size) {
  const void* bytes = nullptr;
  uint64_t stored = 0;
  if (!ReadBytes(column, &bytes, &stored) || stored != size) return false;
  if (size == 0) return true;
  if (buffer == nullptr || bytes == nullptr) return false;
  std::memcpy(buffer, bytes, static_cast<size_t>(size));
  return true;
}

bool Statement::GetBlobSize(int32_t column, uint64_t* out) {
  const void* bytes = nullptr;
  uint64_t size = 0;
  if (out == nullptr || !ReadBytes(column, &bytes, &size)) return false;
  *out = size;
  return true;
}

bool Statement::CheckBind(int code) {
  if (code == SQLITE_OK) return true;
  session->ReportFailure(sqlite3_sql(Handle()));
  return false;
}

int32_t Statement::Fail(int code) {
  state = State::Failed;
  failure = -code;
  return failure;
}

int Statement::ColumnType(int32_t column) const {
  if (column < 0 || column >= sqlite3_data_count(Handle())) return 0;  // no columns without a row
  return sqlite3_column_type(Handle(), column);
}

bool Statement::ReadBytes(int32_t column, const void** bytes, uint64_t* size) {
  switch (ColumnType(column)) {
    case SQLITE_NULL:
      *bytes = nullptr;
      *size = 0;
      return true;
    case SQLITE_BLOB:
      *bytes = sqlite3_column_blob(Handle(), column);
      break;
    case SQLITE_TEXT:
      *bytes = sqlite3_column_text(Handle(), column);
      break;
    default:
      return false;
  }
  *size = static_cast<uint64_t>(sqlite3_column_bytes(Handle(), column));
  if (*bytes != nullptr || sqlite3_errcode(session->Engine()) != SQLITE_NOMEM) return true;
  session->ReportFailure(sqlite3_sql(Handle()));
  return false;
}

}  // namespace karst::database
