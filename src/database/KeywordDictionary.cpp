#include "src/database/KeywordDictionary.h"

#include "src/module/WhileAttached.h"

namespace karst::impl {

namespace {

constexpr const char* kInsertFailed = "Failed to insert a keyword.";
constexpr const char* kReadFailed = "Error occurred in reading 'Keywords' table.";

// How often a new name is given another id when the one before is taken. Somebody who adds names that fast is rare.
constexpr int kTries = 3;

// How often the table is read in vain for a name, until there is a new one. Who meets more ids without a name has a
// broken file.
constexpr int kMostVainLooks = 64;

}  // namespace

KeywordDictionary::KeywordDictionary(ScopeLedger* ledger) : ledger(ledger) {
  Append(NameView());
}

bool KeywordDictionary::Load(KaDbStatement* select) {
  size_t id = Size();
  isLoaded = ReadRows(select, &id);
  if (isLoaded) return true;
  LogFailure(kReadFailed);
  return false;
}

int64_t KeywordDictionary::InternKeyword(const KaChar* name) {
  const NameView view = name != nullptr ? NameView(name) : NameView();
  if (view.empty()) return 0;
  const auto found = ids.find(view);
  return found != ids.end() ? found->second : Add(view);
}

int64_t KeywordDictionary::Add(NameView name) {
  for (int tries = 0; tries < kTries; ++tries) {
    if (!StoreMissing()) return 0;
    // Somebody else may have stored the name meanwhile.
    if (const auto found = ids.find(name); found != ids.end()) return found->second;
    if (!PrepareInsert()) return 0;
    const size_t id = Size();
    if (InsertRow(id, name.data())) {
      // When memory ends here, the row is met again like one of somebody else's.
      Append(name);
      return static_cast<int64_t>(id);
    }
    if (!Refresh() || Size() == id) break;
  }
  LogFailure(kInsertFailed);
  return 0;
}

const KaChar* KeywordDictionary::GetKeywordName(int64_t id) {
  if (id < 0) return KA_TEXT("");
  const auto position = static_cast<size_t>(id);
  if (position < FirstUncertain()) return names[position]->c_str();
  if (!isLoaded) return KA_TEXT("");
  return WhileAttached([&] { return LookFor(position); });
}

const KaChar* KeywordDictionary::LookFor(size_t id) {
  if (id >= Size() && vainLooks == kMostVainLooks) return KA_TEXT("");
  if (!Refresh()) {
    LogFailure(kReadFailed);
    return KA_TEXT("");
  }
  if (id < Size()) return names[id]->c_str();
  ++vainLooks;
  return KA_TEXT("");
}

bool KeywordDictionary::Refresh() {
  size_t id = FirstUncertain();
  SqlText sql("SELECT name FROM Keywords ORDER BY id LIMIT -1 OFFSET %lld", static_cast<long long>(id - 1));
  KaSmartPtr<KaDbStatement> select;
  if (!Prepare(connection, sql, select) || !ReadRows(select.Get(), &id)) return false;
  ledger->Restored(id < Size() ? id : ScopeLedger::kNone, false);
  return true;
}

bool KeywordDictionary::ReadRows(KaDbStatement* select, size_t* id) {
  for (;; ++*id) {
    const StepResult step = StepOnce(select);
    if (step != StepResult::Row) return step == StepResult::NoRow;
    KaSmartPtr<KaString> text;
    if (!select->GetString(0, text.Out())) return false;
    const NameView name = TextOf(text);
    if (*id < Size() && *names[*id] == name) continue;
    if (*id < Size()) ForgetFrom(*id);
    Append(name);
  }
}

bool KeywordDictionary::StoreMissing() {
  const size_t from = ledger->MissingFrom();
  if (from == ScopeLedger::kNone) return true;
  if (from >= Size()) {
    ledger->Restored(ScopeLedger::kNone, false);
    return true;
  }
  if (Refresh() && StoreMissingRows()) return true;
  LogFailure(kInsertFailed);
  return false;
}

bool KeywordDictionary::StoreMissingRows() {
  const size_t from = ledger->MissingFrom();
  if (from == ScopeLedger::kNone) return true;
  if (!PrepareInsert()) return false;
  size_t id = from;
  while (id < Size() && InsertRow(id, names[id]->c_str())) ++id;
  const bool isComplete = id == Size();
  ledger->Restored(isComplete ? ScopeLedger::kNone : id, id != from);
  return isComplete;
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

bool KeywordDictionary::PrepareInsert() {
  if (keywordInsert) return true;
  SqlText sql("INSERT INTO Keywords (id,name) VALUES (@ID,@STR)");
  return Prepare(connection, sql, keywordInsert);
}

bool KeywordDictionary::InsertRow(size_t id, const KaChar* name) {
  const StatementUse use(keywordInsert.Get());
  return keywordInsert->BindInt64(0, static_cast<int64_t>(id)) && keywordInsert->BindText(1, name, 0) &&
         keywordInsert->Execute();
}

// All or nothing: only the last step makes the name one of the dictionary's, and it cannot fail.
void KeywordDictionary::Append(NameView name) {
  MakeRoom(names);
  texts.emplace_back(name);
  ids[texts.back()] = static_cast<int64_t>(Size());
  names.push_back(&texts.back());
  vainLooks = 0;
}

void KeywordDictionary::ForgetFrom(size_t id) {
  ++renumberings;
  ledger->GivenAnew(id);
  for (; Size() > id; names.pop_back()) {
    const auto found = ids.find(*names.back());
    if (found != ids.end() && found->second == static_cast<int64_t>(Size() - 1)) ids.erase(found);
  }
}

}  // namespace karst::impl
