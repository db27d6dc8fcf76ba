#include <Fuzz/Support/FuzzFolder.h>

#include <Tests/Support/TestFolder.h>

namespace mirel::fuzz {

const std::string& FuzzFolder() {
  static const TestFolder folder;
  return folder.GetPath();
}

}  // namespace mirel::fuzz
