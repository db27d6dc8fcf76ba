#pragma once

#include <Viewer/Kernel/Model/LiteModel.h>

#include <cstdint>
#include <string>
#include <vector>

namespace mirel {

/// A model folder read back into a model, file by file, with what each file and each stage cost. Where a
/// viewer sees scene nodes, this sees the items, so that they can be counted.
class ModelFolder {
 public:
  /// One file of the folder.
  struct File {
    std::string name;  ///< relative to the folder: "index.gz", "model/1.gz", "grep/1.gz"
    std::uint64_t packedBytes = 0;
    std::uint64_t bytes = 0;       ///< inflated
    bool missing = false;          ///< named by the index, but not there or not readable
    std::vector<ObjectId> bodies;  ///< of a package: what its table lists, in this order
  };

  /// Seconds.
  struct Times {
    double index = 0.0;
    double graphics = 0.0;
    double shapes = 0.0;
  };

  enum class Graphics { kRead, kPassOver };

  /// Reads everything, or everything but the graphics, given the folder or its index file; failures are in the log. False when the index cannot be read or is rejected: the model
  /// then holds what came before.
  bool Load(const std::string& path, Graphics graphics = Graphics::kRead);

  const LiteModel& GetModel() const { return model_; }
  LiteModel& GetModel() { return model_; }
  /// The index first, then the packages of graphics, then those of exact bodies, by their numbers.
  const std::vector<File>& GetFiles() const { return files_; }
  /// The packages in a folder of packages (`FolderFiles::kGReps`): the one with number n is at n - 1. Where numbers are passed
  /// over, because too many packages are missing, they end.
  std::vector<const File*> GetPackages(const std::string& kind) const;
  const Times& GetTimes() const { return times_; }

 private:
  LiteModel model_;
  std::vector<File> files_;
  Times times_;
  unsigned int shapePackages_ = 0;
  unsigned int grepPackages_ = 0;
};

}  // namespace mirel
