#include "tools/kadom/ExportPump.h"

#include <cstdlib>
#include <vector>

#include "tools/kadom/File.h"
#include "tools/kadom/Interrupt.h"
#include "tools/kadom/System.h"
#include "tools/kadom/Text.h"

namespace karst::tool {

namespace {

constexpr size_t kPieceSize = size_t{64} * 1024;

// The last bytes of what has passed.
class Tail {
 public:
  explicit Tail(size_t size) : limit(size) {}

  void Add(std::string_view piece) {
    if (piece.size() > limit) piece.remove_prefix(piece.size() - limit);
    bytes += piece;
    if (bytes.size() > limit) bytes.erase(0, bytes.size() - limit);
  }

  const std::string& Bytes() const { return bytes; }

 private:
  const size_t limit;
  std::string bytes;
};

}  // namespace

std::string PumpExport(KaDomElement& root, size_t tailSize, const std::function<void(std::string_view)>& take,
                       const std::function<void()>& stop) {
  Tail tail(tailSize);
  std::vector<char> buffer(kPieceSize);
  system::Pipe pipe;
  const KaText path = PathForModule(pipe.WriterPath());
  bool isExported = false;
  std::thread worker = StartUninterrupted([&] {
    isExported = root.ExportXml(path.c_str());
    pipe.EndWriting();
  });
  try {
    for (;;) {
      const ptrdiff_t size = Await([&] { return pipe.Read(buffer.data(), buffer.size()); });
      if (size < 0) throw Failure("the export cannot be read: " + LatestError());
      if (size == 0) break;
      const std::string_view piece(buffer.data(), static_cast<size_t>(size));
      tail.Add(piece);
      take(piece);
    }
  } catch (...) {
    stop();
    std::abort();  // nobody waits for the thread
  }
  worker.join();
  if (!isExported) throw Failure("the export cannot be written into a pipe");
  return tail.Bytes();
}

}  // namespace karst::tool
