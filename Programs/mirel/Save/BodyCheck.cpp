#include <Programs/mirel/Save/BodyCheck.h>

#include <Programs/mirel/Check/BodyAgreement.h>
#include <Programs/mirel/Check/GuardedLoop.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>

#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>

#include <algorithm>
#include <memory>
#include <thread>

namespace mirel {

namespace {

// With fewer the work is done before another process is up and running.
constexpr std::size_t kMinSharedFaces = 1000;

std::size_t CountFaces(const LiteModel& model, const ObjectId& body) {
  return model.FindGRepShape(body)->GetMesh().faces.size();
}

}  // namespace

BodyCheck::BodyCheck(LiteModel& model) : model_(model) {
  for (const auto& item : model.GetItems()) {
    item->Apply(this);
  }
  for (const auto& type : model.GetTypes()) {
    type.second->Apply(this);
  }
}

void BodyCheck::Visit(GroupItem* item) {
  for (const auto& child : item->GetChildren()) {
    child->Apply(this);
  }
}

void BodyCheck::Visit(InstanceItem*) {}

void BodyCheck::Visit(ShapeItem* item) {
  items_[item->GetShapeId()].push_back(item);
}

std::string BodyCheck::NameOf(const ObjectId& body) const {
  const auto items = items_.find(body);
  const std::string name = items == items_.end() ? std::string() : items->second.front()->GetName();
  return name.empty() ? "body " + body.toString() : "\"" + name + "\"";
}

std::vector<BodyCheck::Fault> BodyCheck::FindMissing(const LiteModel& readBack) const {
  std::vector<Fault> missing;
  for (const auto& [id, body] : model_.GetShape()) {
    if (!readBack.FindShape(id)) {
      const bool isEmpty = !body || body->GetImpl().IsNull();
      missing.push_back({id, NameOf(id) + (isEmpty ? ": is empty" : ": cannot be written as BRep text")});
    }
  }
  return missing;
}

std::vector<ObjectId> BodyCheck::GetItems(const ObjectId& body) const {
  std::vector<ObjectId> ids;
  const auto items = items_.find(body);
  if (items != items_.end()) {
    for (const ShapeItem* const item : items->second) {
      ids.push_back(item->GetId());
    }
  }
  return ids;
}

void BodyCheck::Empty(const std::vector<Fault>& missing) {
  for (const Fault& fault : missing) {
    TopoDS_Compound nothing;
    BRep_Builder().MakeCompound(nothing);
    model_.AddShape(fault.id, std::make_shared<TopoShape>(nothing));
    for (ShapeItem* const item : items_[fault.id]) {
      item->SetFaceColor(ShapeItem::FaceColorMap());
    }
  }
}

// The bodies are shared out to several processes, each to the one that has the fewest faces so far.
std::vector<BodyCheck::Fault> BodyCheck::FindDrawnWrongly(const LiteModel& readBack,
                                                          unsigned int seconds) const {
  std::vector<ObjectId> ids;
  std::size_t faces = 0;
  for (const auto& [id, body] : model_.GetShape()) {
    if (body && readBack.FindGRepShape(id)) {
      ids.push_back(id);
      faces += CountFaces(readBack, id);
    }
  }
  const std::size_t processes =
      faces < kMinSharedFaces ? 1 : std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
  std::vector<std::vector<std::size_t>> shares(processes);
  std::vector<std::size_t> load(processes);
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto least = std::min_element(load.begin(), load.end()) - load.begin();
    shares[static_cast<std::size_t>(least)].push_back(i);
    load[static_cast<std::size_t>(least)] += CountFaces(readBack, ids[i]);
  }
  std::vector<std::optional<Fault>> found(ids.size());
  ShareOut(processes, kMinSharedBytes,
           [&](std::size_t process) { CompareWithGraphics(readBack, seconds, ids, shares[process], found); });
  std::vector<Fault> faults;
  for (const std::optional<Fault>& fault : found) {
    if (fault) {
      faults.push_back(*fault);
    }
  }
  return faults;
}

void BodyCheck::CompareWithGraphics(const LiteModel& readBack, unsigned int seconds,
                                    const std::vector<ObjectId>& ids, const std::vector<std::size_t>& share,
                                    std::vector<std::optional<Fault>>& found) const {
  const auto hear = [&](std::size_t i, const std::string& text) {
    const std::size_t body = share[i];
    if (!found[body]) {
      found[body] = Fault{ids[body], NameOf(ids[body]) + ": " + text};
    }
  };
  GuardedLoop::Run(
      share.size(), GuardedLoop::Limits{seconds, 0},
      [&](std::size_t i, const GuardedLoop::Say& say) {
        const ObjectId& id = ids[share[i]];
        BodyAgreement::Compare(model_.FindShape(id)->GetImpl(), readBack.FindGRepShape(id)->GetMesh(),
                               BodyAgreement::Effort::kLittle,
                               [&](CheckCode, const std::string& text) { say(text); });
      },
      hear,
      [&](std::size_t i, GuardedLoop::End end) {
        if (end != GuardedLoop::End::kDone) {
          hear(i, end == GuardedLoop::End::kTimedOut ? "cannot be compared with its graphics in time"
                                                     : "makes OpenCASCADE fail");
        }
      });
}

}  // namespace mirel
