#pragma once

#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>

#include <cstdint>
#include <functional>
#include <string>

namespace mirel {

/// The steps of loading a model folder: index, graphics, exact bodies. They log what `LiteSceneReader` promises.
class FolderLoad {
 public:
  /// Called with the bytes that a file takes in the folder, when it has been read; false ends the step.
  using OnFile = std::function<bool(std::uint64_t bytes)>;

  /// The index file, under any name.
  explicit FolderLoad(const std::string& index) : index_(index) {}

  /// False when there is no model.
  bool LoadIndex();
  void LoadGReps(const OnFile& onFile = nullptr);
  void LoadShapes(const OnFile& onFile = nullptr);

  LiteModel& GetModel() { return model_; }

  /// The bytes that the index takes in the folder, and the packages that it counts.
  std::uint64_t CountIndexBytes() const;
  std::uint64_t CountPackageBytes() const;

 private:
  const std::string index_;
  LiteModel model_;
  LiteModelReader reader_{model_};
};

}  // namespace mirel
