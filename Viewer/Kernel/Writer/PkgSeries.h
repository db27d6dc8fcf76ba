#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/LiteLimits.h>

#include <optional>
#include <string>
#include <utility>

namespace mirel {

/// Fills packages 1, 2, ... of one kind and writes each into a folder as soon as its items exceed `kPkgSizeLimit`; the
/// item that exceeds it stays in the package. At most one package is in memory.
template <class Package>
class PkgSeries {
 public:
  explicit PkgSeries(std::string folder) : folder_(std::move(folder)) {}

  template <class Item>
  void AddItem(const ObjectId& id, const Item& item) {
    if (!current_) current_.emplace(static_cast<int>(count_) + 1);
    if (current_->AddItem(id, item) > kPkgSizeLimit) Finish();
  }

  /// Writes the package begun, if it holds anything.
  void Finish() {
    if (current_ && current_->GetItemCount() > 0) {
      current_->Write(folder_);
      ++count_;
    }
    current_.reset();
  }

  /// How many packages were written: the number of the last one.
  unsigned int GetCount() const { return count_; }

 private:
  std::string folder_;
  std::optional<Package> current_;
  unsigned int count_ = 0;
};

}  // namespace mirel
