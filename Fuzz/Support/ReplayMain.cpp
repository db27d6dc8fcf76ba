// Runs a fuzz target on the inputs that it is given: files, and folders of files. A property that does not hold aborts
// the program; the name printed last is that of the input. A path that is not there has no inputs.

#include <Fuzz/Support/FuzzCheck.h>
#include <Tests/Support/TestFolder.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

namespace fs = std::filesystem;

// Targets bring their mutators along; nothing is mutated here.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t*, std::size_t size, std::size_t) {
  return size;
}

int main(int argc, char** argv) {
  std::vector<fs::path> files;
  for (int i = 1; i < argc; ++i) {
    const fs::path path = fs::u8path(argv[i]);
    if (fs::is_regular_file(path)) files.push_back(path);
    if (!fs::is_directory(path)) continue;
    for (const fs::directory_entry& entry : fs::directory_iterator(path))
      files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::printf("%s\n", file.u8string().c_str());
    std::fflush(stdout);
    const std::string content = mirel::ReadFile(file.u8string());
    // A block of just this size, so that a sanitizer sees what reads beyond it.
    const auto bytes = std::make_unique<std::uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), bytes.get());
    LLVMFuzzerTestOneInput(bytes.get(), content.size());
  }
  std::printf("%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}
