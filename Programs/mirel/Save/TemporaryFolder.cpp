#include <Programs/mirel/Save/TemporaryFolder.h>

#include <Programs/mirel/Save/InterruptCleanup.h>

#include <random>
#include <string>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

TemporaryFolder::TemporaryFolder() {
  std::random_device random;
  std::error_code failure;
  do {
    path_ =
        fs::temp_directory_path(failure) / ("mirel-" + std::to_string(random()) + std::to_string(random()));
  } while (fs::exists(fs::symlink_status(path_, failure)));
}

TemporaryFolder::~TemporaryFolder() {
  InterruptCleanup::Watch(fs::path());
  std::error_code failure;
  fs::remove_all(path_, failure);
}

void TemporaryFolder::Watch() const {
  InterruptCleanup::Watch(path_);
}

}  // namespace mirel
