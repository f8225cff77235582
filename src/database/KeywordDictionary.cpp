#include "src/database/KeywordDictionary.h"

namespace karst::impl {

namespace {

constexpr const char* kInsertFailed = "Failed to insert a keyword.";

}  // namespace

KeywordDictionary::KeywordDictionary(ScopeLedger* ledger) : ledger(ledger) {
  Append(NameView());
}

bool KeywordDictionary::Load(KaDbStatement* select) {
  for (;;) {
    const StepResult step = StepOnce(select);
    if (step == StepResult::NoRow) return true;
    KaSmartPtr<KaString> name;
    if (step == StepResult::Failed || !select->GetString(0, name.Out())) {
      LogFailure("Error occurred in reading 'Keywords' table.");
      return false;
    }
    Append(TextOf(name));
  }
}

int64_t KeywordDictionary::InternKeyword(KaDbConnection* connection, const KaChar* name) {
  const NameView view = name != nullptr ? NameView(name) : NameView();
  if (view.empty()) return 0;
  if (const auto found = keywordIds.find(view); found != keywordIds.end()) return found->second;

  if (!StoreMissing(connection)) return 0;
  const size_t id = Size();
  Append(view);
  if (PrepareInsert(connection)) {
    if (InsertRow(id)) return static_cast<int64_t>(id);
    LogFailure(kInsertFailed);
  }
  ForgetLast();
  return 0;
}

const KaChar* KeywordDictionary::GetKeywordName(int64_t id) const {
  if (id < 0 || static_cast<uint64_t>(id) >= keywordNames.size()) return KA_TEXT("");
  return keywordNames[static_cast<size_t>(id)].c_str();
}

bool KeywordDictionary::StoreMissing(KaDbConnection* connection) {
  const size_t from = ledger->MissingFrom();
  if (from == ScopeLedger::kNone) return true;
  if (from >= Size()) {
    ledger->Restored(ScopeLedger::kNone, false);
    return true;
  }
  if (StoreMissingRows(connection)) return true;
  LogFailure(kInsertFailed);
  return false;
}

bool KeywordDictionary::StoreMissingRows(KaDbConnection* connection) {
  SqlText sql("SELECT name FROM Keywords WHERE id=@ID");
  KaSmartPtr<KaDbStatement> select;
  if (!Prepare(connection, sql, select) || !PrepareInsert(connection)) return false;
  bool stored = false;
  for (size_t id = ledger->MissingFrom(); id < Size(); ++id) {
    const RowState state = FindRow(select.Get(), id, keywordNames[id]);
    const bool present = state == RowState::Present || (state == RowState::Missing && InsertRow(id));
    stored = stored || (present && state == RowState::Missing);
    if (!present) {
      ledger->Restored(id, stored);
      return false;
    }
  }
  ledger->Restored(ScopeLedger::kNone, stored);
  return true;
}

size_t KeywordDictionary::HashName::operator()(NameView name) const {
  constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  constexpr size_t kStep = sizeof(uint64_t) / sizeof(KaChar);
  uint64_t hash = name.size();
  const auto mix = [&hash](uint64_t bits) {
    hash = (hash ^ bits) * kMultiplier;
    hash ^= hash >> 32U;
  };
  const auto mixStep = [&](size_t from) {
    uint64_t bits = 0;
    std::memcpy(&bits, name.data() + from, sizeof bits);
    mix(bits);
  };
  if (name.size() < kStep) {
    for (const KaChar unit : name) mix(unit);
    return static_cast<size_t>(hash);
  }
  for (size_t i = 0; i + kStep < name.size(); i += kStep) mixStep(i);
  mixStep(name.size() - kStep);  // may overlap
  return static_cast<size_t>(hash);
}

KeywordDictionary::RowState KeywordDictionary::FindRow(KaDbStatement* select, size_t id, NameView name) {
  const StatementUse use(select);
  if (!select->BindInt64(0, static_cast<int64_t>(id))) return RowState::Foreign;
  const StepResult step = StepOnce(select);
  if (step != StepResult::Row) return step == StepResult::NoRow ? RowState::Missing : RowState::Foreign;
  // Somebody else may have given the id away meanwhile: such a row is not ours to touch.
  KaSmartPtr<KaString> stored;
  return select->GetString(0, stored.Out()) && name == TextOf(stored) ? RowState::Present : RowState::Foreign;
}

bool KeywordDictionary::PrepareInsert(KaDbConnection* connection) {
  if (keywordInsert) return true;
  SqlText sql("INSERT INTO Keywords (id,name) VALUES (@ID,@STR)");
  return Prepare(connection, sql, keywordInsert);
}

bool KeywordDictionary::InsertRow(size_t id) {
  const StatementUse use(keywordInsert.Get());
  return keywordInsert->BindInt64(0, static_cast<int64_t>(id)) &&
         keywordInsert->BindText(1, keywordNames[id].c_str(), 0) && keywordInsert->Execute();
}

void KeywordDictionary::Append(NameView name) {
  keywordNames.emplace_back(name);
  keywordIds[keywordNames.back()] = static_cast<int64_t>(keywordNames.size() - 1);
}

void KeywordDictionary::ForgetLast() {
  keywordIds.erase(keywordNames.back());
  keywordNames.pop_back();
}

}  // namespace karst::impl
