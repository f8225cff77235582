// What the connections of this process on one file know of each other.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "framework/database/FileIdentity.h"

namespace karst::database {

class ReadLock;

// A file with the read locks of all connections that this process has on it. Safe to use from several threads.
class SharedFile {
 public:
  explicit SharedFile(FileIdentity key) : identity(key) {}

  // The one for that file, made when this process has no other connection on it. May throw std::bad_alloc.
  static std::shared_ptr<SharedFile> Of(FileIdentity identity);

  // May throw std::bad_alloc.
  void Join(ReadLock* member);
  // Returns when nobody reaches for the member any more.
  void Part(ReadLock* member);

  // A member is about to write: until EndWrite no other one holds its read lock while it is idle.
  void BeginWrite(const ReadLock* member);
  void EndWrite() { writers.fetch_sub(1); }
  // Members between BeginWrite and EndWrite.
  int Writers() const { return writers.load(); }

 private:
  const FileIdentity identity;
  std::atomic<int> writers{0};
  std::mutex access;  // to the members
  std::vector<ReadLock*> members;
};

}  // namespace karst::database
