// Writes the inputs that the fuzz target starts from into the folder given: a small set of records for each type.
#include <filesystem>
#include <fstream>

#include "tests/values/RecordLaws.h"

int main(int argc, char** argv) {
  if (argc != 2) return 1;
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  std::mt19937_64 random(1);
  for (uint32_t type = 0; type <= 22; ++type) {
    if (type == 1) continue;
    karst::test::Bytes bytes;
    karst::test::AppendRecord(random, 2, type, 2, &bytes);
    karst::test::AppendRecord(random, 5, 2, 1, &bytes);
    std::ofstream file(folder / std::to_string(type), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) return 1;
  }
  return 0;
}
