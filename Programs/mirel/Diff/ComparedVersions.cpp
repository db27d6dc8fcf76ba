#include <Programs/mirel/Diff/ComparedVersions.h>

#include <Programs/mirel/Diff/BodyStore.h>
#include <Programs/mirel/Diff/Changes.h>
#include <Programs/mirel/Diff/PartMatching.h>
#include <Programs/mirel/Open/GraphicsOpener.h>
#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Save/InputFolder.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <optional>

namespace mirel {

// One of both versions, opened.
class ComparedVersions::Version {
 public:
  /// `kDone`, or the exit code after a message.
  ExitCode Open(Console& console, const std::string& input) {
    const ExitCode prepared = folder_.Prepare(console, input);
    if (prepared != ExitCode::kDone) {
      return prepared;
    }
    const std::string& path = folder_.GetPath();
    GraphicsOpener opener(console, path);
    const std::shared_ptr<GroupSceneNode> root = opener.TakeRoot();
    if (!root) {
      return ExitCode::kInputUnread;
    }
    isComplete_ = opener.FinishWithoutBodies();
    store_.emplace(PathUtil::GetFolderPath(ModelPath::FindIndex(path)));
    isComplete_ = store_->Load() && isComplete_;
    model_.emplace(root, *store_);
    return ExitCode::kDone;
  }

  bool IsComplete() const { return isComplete_; }
  const ComparedModel& GetModel() const { return *model_; }
  const std::string& GetFolder() const { return folder_.GetPath(); }

 private:
  InputFolder folder_;
  std::optional<BodyStore> store_;
  std::optional<ComparedModel> model_;
  bool isComplete_ = false;
};

struct ComparedVersions::Findings {
  Findings(const ComparedModel& older, const ComparedModel& newer)
      : classes(older, newer),
        parts(older, newer, classes),
        nodes(older, newer, parts),
        changes(older, newer, classes, nodes) {}

  BodyClasses classes;
  PartMatching parts;
  NodeMatching nodes;
  Changes changes;
};

ComparedVersions::ComparedVersions()
    : older_(std::make_unique<Version>()), newer_(std::make_unique<Version>()) {}

ComparedVersions::~ComparedVersions() = default;

ExitCode ComparedVersions::Open(Console& console, const std::string& older, const std::string& newer) {
  for (const auto& [version, input] : {std::make_pair(older_.get(), &older), {newer_.get(), &newer}}) {
    const ExitCode opened = version->Open(console, *input);
    if (opened != ExitCode::kDone) {
      return opened;
    }
  }
  findings_ = std::make_unique<Findings>(older_->GetModel(), newer_->GetModel());
  return ExitCode::kDone;
}

bool ComparedVersions::IsComplete() const {
  return older_->IsComplete() && newer_->IsComplete();
}

const Changes& ComparedVersions::GetChanges() const {
  return findings_->changes;
}

const std::string& ComparedVersions::GetOldFolder() const {
  return older_->GetFolder();
}

const std::string& ComparedVersions::GetNewFolder() const {
  return newer_->GetFolder();
}

}  // namespace mirel
