#include <Programs/mirel/Save/SavedFolderCheck.h>

#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/Check/PackageSet.h>
#include <Programs/mirel/Import/BodyText.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Writer/PkgGRepBuilder.h>

#include <algorithm>
#include <locale>
#include <sstream>
#include <unordered_map>
#include <utility>
#include <vector>

namespace mirel {

namespace {

const char* const kIndex = "index.gz";

std::string RecordOf(const GRepShape& grep) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  grep.ToStream(stream);
  return stream.str();
}

// Whether both show the same: a colour with a negative red is none, whatever its other components are.
bool IsSameColor(const glm::vec3& a, const glm::vec3& b) {
  return a == b || (a.r < 0.0F && b.r < 0.0F);
}

class ItemComparison {
 public:
  ItemComparison(const LiteModel& model, FindingList& findings) : model_(model), findings_(findings) {}

  void Compare(const LiteModel& readBack) {
    CompareLists(model_.GetItems(), readBack.GetItems(), "the model");
    std::size_t shared = 0;
    for (const auto& [id, type] : model_.GetTypes()) {
      if (type->GetTag() < 2) {
        continue;
      }
      ++shared;
      const LiteModelItem* const read = readBack.FindType(id);
      if (read == nullptr) {
        findings_.Add(CheckCode::kTableDiffers, kIndex, "type " + id.toString() + " is missing");
      } else {
        open_.emplace_back(type.get(), read);
      }
    }
    if (shared != readBack.GetTypes().size()) {
      findings_.Add(CheckCode::kTableDiffers, kIndex,
                    "there are " + std::to_string(readBack.GetTypes().size()) + " types instead of " +
                        std::to_string(shared));
    }
    while (!open_.empty()) {
      const auto [saved, read] = open_.back();
      open_.pop_back();
      CompareItems(*saved, *read);
    }
  }

 private:
  void Differs(const LiteModelItem& item, const std::string& what) {
    findings_.Add(CheckCode::kItemDiffers, kIndex,
                  item.GetType() + " " + item.GetId().toString() + " \"" + item.GetName() + "\": " + what +
                      " not what was saved");
  }

  void CompareLists(const LiteModel::ItemList& saved, const LiteModel::ItemList& read,
                    const std::string& owner) {
    std::vector<const LiteModelItem*> there;
    for (const auto& item : saved) {
      if (item) {
        there.push_back(item.get());
      }
    }
    if (there.size() != read.size()) {
      findings_.Add(CheckCode::kTableDiffers, kIndex,
                    owner + " has " + std::to_string(read.size()) + " items instead of " +
                        std::to_string(there.size()));
    }
    for (std::size_t i = 0; i < std::min(there.size(), read.size()); ++i) {
      open_.emplace_back(there[i], read[i].get());
    }
  }

  void CompareItems(const LiteModelItem& original, const LiteModelItem& read) {
    const LiteModelItem* saved = &original;
    // A type that is used once has been written in the place of its instance.
    const auto* instance = dynamic_cast<const InstanceItem*>(saved);
    const LiteModelItem* const type = instance != nullptr ? model_.FindType(instance->GetTypeId()) : nullptr;
    if (type != nullptr && type->GetTag() == 1) {
      saved = type;
      instance = dynamic_cast<const InstanceItem*>(saved);
    }
    if (saved->GetType() != read.GetType() || saved->GetId() != read.GetId()) {
      Differs(*saved, "its kind or id is");
      return;
    }
    if (saved->GetName() != read.GetName()) {
      Differs(*saved, "its name is");
    }
    if (!IsSameColor(saved->GetColor(), read.GetColor())) {
      Differs(*saved, "its colour is");
    }
    if (saved->GetTransform() != read.GetTransform()) {
      Differs(*saved, "its placement is");
    }
    if (const auto* const group = dynamic_cast<const GroupItem*>(saved)) {
      CompareLists(group->GetChildren(), static_cast<const GroupItem&>(read).GetChildren(),
                   "Group " + group->GetId().toString());
    } else if (const auto* const shape = dynamic_cast<const ShapeItem*>(saved)) {
      const auto& readShape = static_cast<const ShapeItem&>(read);
      if (shape->GetShapeId() != readShape.GetShapeId()) {
        Differs(*saved, "the id of its body is");
      }
      if (shape->GetFaceColor() != readShape.GetFaceColor()) {
        Differs(*saved, "the colours of its faces are");
      }
    } else if (instance != nullptr &&
               instance->GetTypeId() != static_cast<const InstanceItem&>(read).GetTypeId()) {
      Differs(*saved, "the id of its type is");
    }
  }

  const LiteModel& model_;
  FindingList& findings_;
  std::vector<std::pair<const LiteModelItem*, const LiteModelItem*>> open_;  // pairs still to be compared
};

// Compares the packages of one kind with what `expect` says an id should have; empty for nothing.
template <typename Table, typename Expect>
void ComparePackages(const std::string& folder, const char* kind, const Table& table, CheckCode code,
                     Expect&& expect, FindingList& findings) {
  PackageSet packages(folder, kind);
  FindingList known;  // the check of the folder has found the same
  packages.CheckFound(known);
  std::size_t found = 0;
  packages.Visit([&](const std::string& file, const std::vector<PackageSet::Item>& items) {
    for (const PackageSet::Item& item : items) {
      const auto entry = table.find(item.id);
      if (entry == table.end() || !entry->second || !item.counts) {
        findings.Add(CheckCode::kTableDiffers, file, item.name + ": was not saved");
        continue;
      }
      ++found;
      const std::string expected = expect(*entry->second);
      if (expected.compare(0, expected.size(), item.bytes, item.size) != 0) {
        findings.Add(code, file, item.name + ": its bytes are not what was saved");
      }
    }
  });
  const auto saved = static_cast<std::size_t>(
      std::count_if(table.begin(), table.end(), [](const auto& entry) { return entry.second != nullptr; }));
  if (found != saved) {
    findings.Add(CheckCode::kTableDiffers, kind,
                 "holds " + std::to_string(found) + " of " + std::to_string(saved) + " that were saved");
  }
}

}  // namespace

void SavedFolderCheck::Compare(const LiteModel& model, const PkgGRepBuilder& greps, const std::string& folder,
                               const LiteModel& readBack, FindingList& findings) {
  ItemComparison(model, findings).Compare(readBack);
  ComparePackages(
      folder, "model", model.GetShape(), CheckCode::kTextDiffers,
      [](const TopoShape& body) { return BodyText::Of(body.GetImpl()); }, findings);
  LiteModel::GRepTable made;
  for (const auto& [id, grep] : greps.GetItems()) {
    made[id] = grep;
  }
  ComparePackages(
      folder, "grep", made, CheckCode::kRecordDiffers, [](const GRepShape& grep) { return RecordOf(grep); },
      findings);
}

}  // namespace mirel
