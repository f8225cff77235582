#include "framework/database/SharedFile.h"

#include <algorithm>

#include "framework/database/ReadLock.h"

namespace karst::database {

std::shared_ptr<SharedFile> SharedFile::Of(FileIdentity identity) {
  static std::mutex access;
  static std::vector<std::weak_ptr<SharedFile>> files;
  const std::lock_guard lock(access);
  std::erase_if(files, [](const std::weak_ptr<SharedFile>& each) { return each.expired(); });
  for (const std::weak_ptr<SharedFile>& each : files) {
    std::shared_ptr<SharedFile> file = each.lock();
    if (file != nullptr && file->identity == identity) return file;
  }
  auto added = std::make_shared<SharedFile>(identity);
  files.push_back(added);
  return added;
}

void SharedFile::Join(ReadLock* member) {
  const std::lock_guard lock(access);
  members.push_back(member);
}

void SharedFile::Part(ReadLock* member) {
  const std::lock_guard lock(access);
  std::erase(members, member);
}

void SharedFile::BeginWrite(const ReadLock* member) {
  writers.fetch_add(1);
  const std::lock_guard lock(access);
  for (ReadLock* each : members) {
    if (each != member) each->DropIfIdle();
  }
}

}  // namespace karst::database
