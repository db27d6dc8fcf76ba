#include <Bench/WorkFolder.h>

#include <filesystem>
#include <fstream>
#include <vector>

namespace mirel::bench {

namespace fs = std::filesystem;

std::uint64_t BytesOnDisk(const std::string& path) {
  if (!fs::is_directory(path)) return fs::file_size(path);
  std::uint64_t bytes = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

void WarmUp(const std::string& folder) {
  std::vector<char> block(std::size_t{1} << 20);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    while (file.read(block.data(), static_cast<std::streamsize>(block.size()))) {
    }
  }
}

}  // namespace mirel::bench
