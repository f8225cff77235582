#include "tools/kadom/AttributeReader.h"

#include <cstring>

#include "records/RecordCodec.h"

namespace karst::tool {

namespace {

template <class Number>
std::vector<Number> Numbers(const impl::Record& record) {
  std::vector<Number> numbers(static_cast<size_t>(record.NumberCount()));
  if (!numbers.empty()) std::memcpy(numbers.data(), record.data, numbers.size() * sizeof(Number));
  return numbers;
}

KaText TextOf(const impl::Record& record) {
  KaText text(record.TextLength(), KaChar{});
  std::memcpy(text.data(), record.data, text.size() * sizeof(KaChar));
  return text;
}

Value ValueOf(const impl::Record& record) {
  Value value{record.type, record.unit, {}};
  switch (record.info->kind) {
    case impl::ValueKind::Text:
      value.content = TextOf(record);
      break;
    case impl::ValueKind::Int:
      value.content = Numbers<int32_t>(record);
      break;
    case impl::ValueKind::Int64:
      value.content = Numbers<int64_t>(record);
      break;
    case impl::ValueKind::Double:
      value.content = Numbers<double>(record);
      break;
    case impl::ValueKind::None:
      break;
  }
  return value;
}

// Resets a statement at the end of its use.
class Use {
 public:
  explicit Use(KaDbStatement& used) : statement(used) {}
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;
  ~Use() { statement.Reset(); }

 private:
  KaDbStatement& statement;
};

}  // namespace

AttributeReader::AttributeReader(Session& openSession, int64_t documentId)
    : session(openSession),
      recordsStatement(session.Prepare("SELECT data FROM Nodes_" + std::to_string(documentId) + " WHERE id=@ELEM")),
      nameStatement(session.Prepare("SELECT name FROM Keywords WHERE id=@ID")) {}

std::vector<Attribute> AttributeReader::Read(int64_t elementId) {
  const std::vector<uint8_t> bytes = ReadRecords(elementId);
  const uint8_t* cursor = bytes.data();
  const uint8_t* const end = cursor + bytes.size();
  std::vector<Attribute> attributes;
  impl::Record record;
  while (cursor != end && impl::ReadRecord(cursor, end, &record)) {
    attributes.push_back({NameOf(record.nameId), ValueOf(record)});
    cursor = record.end;
  }
  return attributes;
}

std::vector<uint8_t> AttributeReader::ReadRecords(int64_t elementId) {
  KaDbStatement& statement = *recordsStatement;
  const Use use(statement);
  if (!statement.BindInt64(0, elementId)) throw session.Fail("cannot be read");
  if (!session.Step(statement)) return {};
  uint64_t size = 0;
  if (!statement.GetBlobSize(0, &size)) throw session.Fail("cannot be read");
  std::vector<uint8_t> bytes(static_cast<size_t>(size));
  if (size > 0 && !statement.GetBlob(0, bytes.data(), size)) throw session.Fail("cannot be read");
  return bytes;
}

const KaText& AttributeReader::NameOf(int64_t nameId) {
  const auto [entry, isNew] = names.try_emplace(nameId);
  if (!isNew) return entry->second;
  KaDbStatement& statement = *nameStatement;
  const Use use(statement);
  if (!statement.BindInt64(0, nameId)) throw session.Fail("cannot be read");
  KaSmartPtr<KaString> name;
  if (session.Step(statement) && statement.GetString(0, name.Out())) entry->second = name->GetText();
  return entry->second;
}

}  // namespace karst::tool
