#include "src/module/Attachment.h"

namespace karst::impl {

namespace {

constexpr const char* kDatabaseModuleName = "KaDatabase";
constexpr int32_t kDatabaseModuleVersion = 101;

KaHost* attachedHost = nullptr;
KaDatabase* attachedDatabase = nullptr;

}  // namespace

KaHost* Host() {
  return attachedHost;
}

KaDatabase* DatabaseModule() {
  return attachedDatabase;
}

bool IsAttached() {
  return attachedHost != nullptr && attachedDatabase != nullptr;
}

void AttachTo(KaHost* host) {
  attachedHost = host;
  attachedDatabase = nullptr;
  if (host == nullptr) return;
  // The cast consults run-time type information: a module of another kind counts as none.
  attachedDatabase = dynamic_cast<KaDatabase*>(host->GetModule(kDatabaseModuleName, kDatabaseModuleVersion));
  if (attachedDatabase == nullptr) {
    host->GetLogger()->Log(kLogMissingModule, 0, "Failed to get a module: %s (v%03d)", kDatabaseModuleName,
                           kDatabaseModuleVersion);
  }
}

void Detach() {
  attachedHost = nullptr;
  attachedDatabase = nullptr;
}

HostBlock HostBlock::Allocate(uint64_t size) {
  KaHost* host = Host();
  return HostBlock(host != nullptr ? host->Allocate(size) : nullptr);
}

void HostBlock::Free(void* block) {
  if (block == nullptr) return;
  // After Detach the host's allocator is out of reach: the block stays with the host.
  if (KaHost* host = Host()) host->Free(block);
}

const KaChar* TextOf(KaSmartPtr<KaString>& holder) {
  if (!holder) {
    if (KaHost* host = Host()) host->GetStringFactory()->CreateString(KA_TEXT(""), holder.Out());
  }
  return holder ? holder->GetText() : KA_TEXT("");
}

}  // namespace karst::impl
