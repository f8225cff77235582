#include "framework/database/Log.h"

#include <cstdarg>
#include <cstdio>

namespace karst::database {

namespace {

constexpr int32_t kErrorLevel = 3;
constexpr size_t kLineBytes = 640;  // message and text of an engine error, both as excerpts, and the words around them

KaHost* attachedHost = nullptr;

constexpr std::array<const char*, 27> kCodeNames = {
    "SQLITE_OK",       "SQLITE_ERROR",      "SQLITE_INTERNAL", "SQLITE_PERM",      "SQLITE_ABORT", "SQLITE_BUSY",
    "SQLITE_LOCKED",   "SQLITE_NOMEM",      "SQLITE_READONLY", "SQLITE_INTERRUPT", "SQLITE_IOERR", "SQLITE_CORRUPT",
    "SQLITE_NOTFOUND", "SQLITE_FULL",       "SQLITE_CANTOPEN", "SQLITE_PROTOCOL",  "SQLITE_EMPTY", "SQLITE_SCHEMA",
    "SQLITE_TOOBIG",   "SQLITE_CONSTRAINT", "SQLITE_MISMATCH", "SQLITE_MISUSE",    "SQLITE_NOLFS", "SQLITE_AUTH",
    "SQLITE_FORMAT",   "SQLITE_RANGE",      "SQLITE_NOTADB"};
static_assert(SQLITE_NOTADB + 1 == kCodeNames.size());

const char* CodeName(int extendedCode) {
  const auto primary = static_cast<size_t>(extendedCode & 0xFF);
  return primary < kCodeNames.size() ? kCodeNames[primary] : "SQLITE_?";
}

bool IsContinuationByte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

}  // namespace

void SetHost(KaHost* host) {
  attachedHost = host;
}

void Log(const char* format, ...) {
  if (attachedHost == nullptr) return;
  std::array<char, kLineBytes> line{};
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line.data(), line.size(), format, arguments);
  va_end(arguments);
  attachedHost->GetLogger()->Log(kErrorLevel, 0, "KaDatabase: %s", line.data());
}

void LogEngineError(sqlite3* engine, const Excerpt& text) {
  const int code = sqlite3_extended_errcode(engine);
  Log("%s (%s, extended %d) in \"%s\"", Excerpt(sqlite3_errmsg(engine)).Text(), CodeName(code), code, text.Text());
}

Excerpt::Excerpt(std::string_view text) {
  const bool cut = text.size() > kMaxBytes;
  size_t length = cut ? kMaxBytes : text.size();
  if (cut) {
    while (length > 0 && IsContinuationByte(text[length])) --length;
  }
  char* end = bytes.data();
  for (const char byte : text.substr(0, length)) *end++ = static_cast<unsigned char>(byte) < ' ' ? ' ' : byte;
  if (cut) kEllipsis.copy(end, kEllipsis.size());
}

}  // namespace karst::database
