// The text of an index. Whatever items load from it, also before a failure, can be written and load again as the same;
// with types written in the place of their only instance, the same bodies are drawn at the same places.

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/FuzzFolder.h>
#include <Fuzz/Support/IndexText.h>
#include <Fuzz/Support/ModelText.h>
#include <Programs/mirel/Save/TypeUseCounter.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <cmath>
#include <optional>
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

/// The index with every type shared.
std::string SaveShared(LiteModel& model, bool asFile) {
  const QuietLog log;
  for (const auto& [id, type] : model.GetTypes())
    type->SetTag(2);
  std::string text = SaveIndex(model, asFile);
  MIREL_FUZZ_CHECK(log.CountFailures() == 0, "What was loaded cannot be saved");
  return text;
}

/// Nothing but the order of the types may change, and two models of one index are in one order.
void CheckSaved(LiteModel& model, bool asFile) {
  const std::string text = SaveShared(model, asFile);
  LiteModel again;
  LiteModel twin;
  Read(again, text);
  Read(twin, text);
  MIREL_FUZZ_CHECK(DescribeItems(again) == DescribeItems(model), "What was saved loads as something else");
  MIREL_FUZZ_CHECK(SaveShared(again, asFile) == SaveShared(twin, asFile), "Saved twice, the bytes differ");
}

bool IsSamePlace(const Leaf& a, const Leaf& b) {
  if (a.scale > 1e100) return true;  // nearly infinite: nobody knows
  for (int i = 0; i < 16; ++i) {
    if (std::fabs(a.place[i / 4][i % 4] - b.place[i / 4][i % 4]) > 1e-9 * a.scale) return false;
  }
  return true;
}

/// Types used once in the place of their instance: the same bodies at the same places.
void CheckDrawn(LiteModel& model) {
  const std::optional<std::vector<Leaf>> before = CollectLeaves(model, kMaxUnfolded, kMaxDepth);
  if (!before) return;
  TypeUseCounter::Count(model);
  std::string text;
  {
    const QuietLog log;
    text = SaveIndex(model, false);
    // A placement that is no longer finite is left out and reported.
    if (log.CountFailures() > 0) return;
  }
  LiteModel again;
  Read(again, text);
  const std::optional<std::vector<Leaf>> after = CollectLeaves(again, kMaxUnfolded, kMaxDepth);
  MIREL_FUZZ_CHECK(after && before->size() == after->size(), "Another number of bodies is drawn");
  for (std::size_t i = 0; i < before->size(); ++i) {
    MIREL_FUZZ_CHECK((*before)[i].id == (*after)[i].id, "Another body is drawn");
    MIREL_FUZZ_CHECK(IsSamePlace((*before)[i], (*after)[i]), "A body is drawn at another place");
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
