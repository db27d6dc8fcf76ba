#pragma once

#include <Programs/mirel/Export/GltfMeshes.h>
#include <Programs/mirel/Verb.h>

#include <string>
#include <utility>
#include <vector>

namespace mirel {

class SceneNode;

/// `mirel export FOLDER OUT`: writes a model in a form that other programs read.
class ExportVerb final : public Verb {
 public:
  CLI::App* Declare(CLI::App& program) override;
  ExitCode Run(Console& console) override;

 private:
  /// Path and content of a file.
  using File = std::pair<std::string, std::string>;

  ExitCode WriteExact(Console& console, const std::string& folder) const;
  bool KeepOnly(Console& console, SceneNode& root) const;
  /// The files in the order in which they are to be put in place; false when the format cannot hold the model.
  bool MakeFiles(const SceneNode& root, std::vector<File>& files, std::uint64_t& leftOut) const;

  std::string input_;
  std::string output_;
  std::vector<std::string> only_;
  GltfOptions gltf_;
  std::string schema_ = "ap242";
  bool strict_ = false;
};

}  // namespace mirel
