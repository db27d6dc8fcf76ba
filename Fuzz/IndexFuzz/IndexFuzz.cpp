// The text of an index. Whatever items load from it, also before a failure, can be written and load again as the same;
// with types written in the place of their only instance, the same bodies are drawn at the same places.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/FuzzFolder.h>
#include <Fuzz/Support/IndexText.h>
#include <Fuzz/Support/ModelText.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/InstanceItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

/// Models that unfold into more are not drawn, for want of time.
constexpr std::size_t kMaxUnfolded = 10000;

/// Deeper models lose something, with a message, and less when types stand in the place of their instances.
constexpr std::size_t kMaxDepth = 240;

/// The index as the writer saves it. The file is left out for most inputs: it takes a hundred times as long as the text.
std::string SaveIndex(LiteModel& model, bool asFile) {
  if (asFile) {
    LiteModelWriter(model).Save(FuzzFolder());
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(FuzzFolder() + "index.gz");
    MIREL_FUZZ_CHECK(buffer, "The index cannot be saved");
    return std::string(buffer->GetData(), buffer->GetSize());
  }
  rapidjson::StringBuffer buffer;
  LiteModelItem::JsonWriter writer(buffer);
  const auto write = [&](const LiteModelItem& item) {
    writer.StartObject();
    item.Write(writer, model);
    writer.EndObject();
  };
  writer.StartObject();
  writer.Key("Types");
  writer.StartArray();
  for (const auto& [id, type] : model.GetTypes()) {
    if (type->GetTag() >= 2) write(*type);
  }
  writer.EndArray();
  writer.Key("Items");
  writer.StartArray();
  for (const auto& item : model.GetItems())
    write(*item);
  writer.EndArray();
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

void Read(LiteModel& model, const std::string& text) {
  const QuietLog log;
  LiteModelReader reader(model);
  MIREL_FUZZ_CHECK(reader.Load(text), "An index that was written does not load");
  MIREL_FUZZ_CHECK(reader.GetPkgShape() == 0 && reader.GetPkgGRep() == 0,
                   "It names packages, and there are no bodies");
  MIREL_FUZZ_CHECK(log.CountFailures() == 0, "An index that was written loads with failures");
}

/// Every type shared: nothing but the order of the types may change.
void CheckSaved(LiteModel& model, bool asFile) {
  for (const auto& [id, type] : model.GetTypes())
    type->SetTag(2);
  std::string text;
  {
    const QuietLog log;
    text = SaveIndex(model, asFile);
    MIREL_FUZZ_CHECK(SaveIndex(model, asFile) == text, "Saved twice, the bytes differ");
    MIREL_FUZZ_CHECK(log.CountFailures() == 0, "What was loaded cannot be saved");
  }
  LiteModel again;
  Read(again, text);
  MIREL_FUZZ_CHECK(DescribeItems(again) == DescribeItems(model), "What was saved loads as something else");
}

/// A body where it is drawn.
struct Leaf {
  ObjectId id;
  glm::dmat4 place;
  double scale;  // what a rounding error in one of the matrices can grow to
};

void CollectLeaves(const LiteModel& model, const LiteModelItem* item, const glm::dmat4& outer, double scale,
                   std::vector<const LiteModelItem*>& types, std::vector<Leaf>& leaves) {
  if (!item) return;
  double norm = 0.0;
  for (int i = 0; i < 16; ++i)
    norm = std::max(norm, std::fabs(item->GetTransform()[i / 4][i % 4]));
  const glm::dmat4 place = outer * item->GetTransform();
  scale *= std::max(1.0, 4.0 * norm);
  if (const auto* const shape = dynamic_cast<const ShapeItem*>(item))
    leaves.push_back({shape->GetShapeId(), place, scale});
  if (const auto* const group = dynamic_cast<const GroupItem*>(item)) {
    for (const auto& child : group->GetChildren())
      CollectLeaves(model, child.get(), place, scale, types, leaves);
  }
  if (const auto* const instance = dynamic_cast<const InstanceItem*>(item)) {
    const LiteModelItem* const type = model.FindType(instance->GetTypeId());
    if (std::find(types.begin(), types.end(), type) != types.end()) return;
    types.push_back(type);
    CollectLeaves(model, type, place, scale, types, leaves);
    types.pop_back();
  }
}

std::vector<Leaf> CollectLeaves(const LiteModel& model) {
  std::vector<Leaf> leaves;
  std::vector<const LiteModelItem*> types;
  for (const auto& item : model.GetItems())
    CollectLeaves(model, item.get(), glm::dmat4(1.0), 1.0, types, leaves);
  return leaves;
}

bool IsSamePlace(const Leaf& a, const Leaf& b) {
  if (a.scale > 1e100) return true;  // nearly infinite: nobody knows
  for (int i = 0; i < 16; ++i) {
    if (std::fabs(a.place[i / 4][i % 4] - b.place[i / 4][i % 4]) > 1e-9 * a.scale) return false;
  }
  return true;
}

/// Sets the tags of types as a program does before it saves: the number of instances that lead to each.
void CountUses(LiteModel& model) {
  std::vector<const LiteModelItem*> open;
  for (const auto& item : model.GetItems())
    open.push_back(item.get());
  for (const auto& [id, type] : model.GetTypes())
    type->SetTag(0);
  while (!open.empty()) {
    const LiteModelItem* const item = open.back();
    open.pop_back();
    if (const auto* const group = dynamic_cast<const GroupItem*>(item)) {
      for (const auto& child : group->GetChildren())
        open.push_back(child.get());
    }
    if (const auto* const instance = dynamic_cast<const InstanceItem*>(item)) {
      LiteModelItem* const type = model.FindType(instance->GetTypeId());
      if (!type) continue;
      type->SetTag(type->GetTag() + 1);
      if (type->GetTag() == 1) open.push_back(type);
    }
  }
}

/// Types used once in the place of their instance: the same bodies at the same places.
void CheckDrawn(LiteModel& model) {
  if (CountUnfolded(model, kMaxUnfolded, kMaxDepth) >= kMaxUnfolded) return;
  const std::vector<Leaf> before = CollectLeaves(model);
  CountUses(model);
  std::string text;
  {
    const QuietLog log;
    text = SaveIndex(model, false);
    // A placement that is no longer finite is left out and reported.
    if (log.CountFailures() > 0) return;
  }
  LiteModel again;
  Read(again, text);
  const std::vector<Leaf> after = CollectLeaves(again);
  MIREL_FUZZ_CHECK(before.size() == after.size(), "Another number of bodies is drawn");
  for (std::size_t i = 0; i < before.size(); ++i) {
    MIREL_FUZZ_CHECK(before[i].id == after[i].id, "Another body is drawn");
    MIREL_FUZZ_CHECK(IsSamePlace(before[i], after[i]), "A body is drawn at another place");
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string text(reinterpret_cast<const char*>(data), size);
  return ReturnInput(MutateIndex(text, random, maxSize), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  LiteModel model;
  {
    const QuietLog log;
    LiteModelReader(model).Load(std::string(reinterpret_cast<const char*>(data), size));
  }
  CheckSaved(model, size % 64 == 0);
  CheckDrawn(model);
  return 0;
}
