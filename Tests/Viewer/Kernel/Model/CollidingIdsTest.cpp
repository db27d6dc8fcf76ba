#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <unordered_set>

namespace mirel {
namespace {

constexpr std::size_t kIds = 100000;

/// The buckets of a table with so many ids.
std::size_t BucketCount(std::size_t ids) {
  std::unordered_set<ObjectId, ObjectIdHash> table;
  for (std::size_t i = 0; i < ids; ++i)
    table.insert(Id(i));
  return table.bucket_count();
}

/// Ids whose hashes are all multiples of `buckets`, so that they all lie in the first bucket: what somebody writes into
/// a file who knows the hash.
///
/// The hash of an id goes over its low half first. When the low byte of the state is 0 then, the high half adds
/// a number that does not depend on the low half: h = state · prime⁴ + tail(high half), modulo 2⁶⁴. So it is enough
/// to have many states and many tails, and to look among the tails for the one that completes a state.
std::vector<unsigned long long> CollidingIds(std::size_t count, std::uint64_t buckets) {
  constexpr std::uint64_t kPrime = 0x100000001b3ULL;
  std::vector<std::vector<std::uint32_t>> highs(buckets);  // by their tails modulo the number of buckets
  const auto tail = [](std::uint32_t high) {
    std::uint64_t hash = 0;
    for (int shift = 0; shift < 32; shift += 8)
      hash = (hash ^ ((high >> shift) & 0xFF)) * kPrime;
    return hash;
  };
  for (std::uint32_t high = 1; high <= 2 * buckets; ++high)
    highs[tail(high) % buckets].push_back(high);

  std::vector<unsigned long long> ids;
  for (std::uint32_t low = 0; ids.size() < count; ++low) {
    std::uint64_t state = 0xcbf29ce484222325ULL;
    for (int shift = 0; shift < 24; shift += 8)
      state = (state ^ ((low >> shift) & 0xFF)) * kPrime;
    const std::uint64_t last = state & 0xFF;  // the fourth byte that makes the low byte of the state 0
    const std::uint64_t head = (state ^ last) * kPrime * kPrime * kPrime * kPrime * kPrime;
    for (const std::uint32_t high : highs[(buckets - head % buckets) % buckets]) {
      if (head + tail(high) < head) continue;  // the sum has wrapped around: another remainder
      ids.push_back(static_cast<std::uint64_t>(high) << 32 | last << 24 | low);
    }
  }
  ids.resize(count);
  return ids;
}

/// How many entries must be looked at to find one, at worst.
template <class Table>
std::size_t LargestBucket(const Table& table) {
  std::size_t largest = 0;
  for (std::size_t i = 0; i < table.bucket_count(); ++i)
    largest = std::max(largest, static_cast<std::size_t>(std::distance(table.begin(i), table.end(i))));
  return largest;
}

TEST(CollidingIds, DoNotMakeTheTablesSlow) {
  // The few first: without a remedy, the many would take minutes.
  for (const std::size_t count : {kIds / 20, kIds}) {
    const std::size_t buckets = BucketCount(count);
    const std::vector<unsigned long long> ids = CollidingIds(count, buckets);
    for (const unsigned long long id : ids)
      ASSERT_EQ(ObjectIdHash()(Id(id)) % buckets, 0U) << "or this is no attack";

    LogCapture log;
    LiteModel model;
    for (const unsigned long long id : ids) {
      model.AddShape(Id(id), std::shared_ptr<TopoShape>());
      model.AddShape(Id(id), std::shared_ptr<GRepShape>());
    }
    EXPECT_EQ(model.GetShape().size(), count) << "none is lost";
    EXPECT_EQ(model.GetGRepShapes().size(), count);
    ASSERT_LE(LargestBucket(model.GetShape()), kMaxIdsPerBucket);
    ASSERT_LE(LargestBucket(model.GetGRepShapes()), kMaxIdsPerBucket);
    EXPECT_EQ(log.GetTexts(1).size(), 2U) << "once for each table";
    EXPECT_TRUE(log.GetTexts(3).empty());

    model.AddShape(Id(ids[0]), MakeBox(1, 1, 1));
    EXPECT_EQ(model.GetShape().size(), count) << "the same entry";
    EXPECT_TRUE(model.FindShape(Id(ids[0])));
    EXPECT_FALSE(model.FindShape(Id(ids[1])));
  }
}

TEST(CollidingIds, InAFileLoadLikeOthers) {
  const std::vector<unsigned long long> ids = CollidingIds(kIds, BucketCount(kIds));
  LiteModel model;
  std::string index = R"({"Types":[)";
  std::string items;
  for (const unsigned long long id : ids) {
    const std::string text = std::to_string(id);
    index += (index.back() == '[' ? "" : ",") + (R"({"Type":"Group","Id":")" + text) + R"(","Children":[]})";
    items += (items.empty() ? "" : ",") + (R"({"Type":"Instance","TId":")" + text) + "\"}";
  }
  EXPECT_TRUE(LiteModelReader(model).Load(index + R"(],"Items":[)" + items + "]}"));
  ASSERT_EQ(model.GetTypes().size(), kIds);
  EXPECT_LE(LargestBucket(model.GetTypes()), kMaxIdsPerBucket);

  const std::string record = ToRecord(MakeGRep(MakePoints(1)));
  std::vector<std::pair<unsigned long long, std::string>> package;
  package.reserve(ids.size());
  for (const unsigned long long id : ids)
    package.emplace_back(id, record);
  const std::string content = MakePackage(package);
  EXPECT_TRUE(PkgGRepReader(model).Load(content.data(), static_cast<unsigned int>(content.size())));
  ASSERT_EQ(model.GetGRepShapes().size(), kIds);
  EXPECT_LE(LargestBucket(model.GetGRepShapes()), kMaxIdsPerBucket);
}

// The order decides the bytes that are saved, so a secret must not get into it for nothing.
TEST(CollidingIds, OthersKeepTheOrderThatEveryProcessGivesThem) {
  LiteModel model;
  std::unordered_set<ObjectId, ObjectIdHash> plain;
  for (std::size_t i = 0; i < kIds; ++i) {
    const ObjectId id = Id(i % 2 ? i : i << 40);
    model.AddShape(id, std::shared_ptr<TopoShape>());
    plain.insert(id);
  }
  EXPECT_FALSE(model.GetShape().hash_function().IsSecret());
  EXPECT_TRUE(std::equal(plain.begin(), plain.end(), model.GetShape().begin(), model.GetShape().end(),
                         [](const ObjectId& id, const auto& entry) { return id == entry.first; }));
}

TEST(CollidingIds, FaceNumbersDoNotMakeAnItemSlow) {
  LogCapture log;
  for (const std::size_t count : {100, 1000, 20000}) {
    ShapeItem::FaceColorMap plain;
    for (std::uint32_t i = 0; i < count; ++i)
      plain[i];
    std::string text;
    for (std::uint64_t i = 0; i < count; ++i)  // each a multiple of the number of buckets: all in one bucket
      text += (i ? ",{\"FId\":" : "{\"FId\":") + std::to_string(i * plain.bucket_count()) + "}";
    const auto item = ReadItem(R"({"Type":"Shape","FColor":[)" + text + "]}");
    const ShapeItem::FaceColorMap& colors = dynamic_cast<ShapeItem&>(*item).GetFaceColor();
    EXPECT_EQ(colors.size(), count) << "as a pattern of faces may have them";
    EXPECT_LE(LargestBucket(colors), kCrowdedFaceColors + 1);
  }
  EXPECT_TRUE(log.GetEntries().empty());

  // Where there are as many buckets as there may be, a number too many is left out, and no other.
  ShapeItem item;
  ShapeItem::FaceColorMap crowded;
  crowded.rehash(kMaxBucketsPerFaceColor * 20 * kMaxFaceColorsPerBucket);
  const std::uint64_t stride = crowded.bucket_count();
  for (std::uint32_t i = 0; i < kMaxFaceColorsPerBucket; ++i)
    crowded[static_cast<std::uint32_t>(i * stride)];
  item.SetFaceColor(crowded);
  rapidjson::Document document;
  document.Parse(("{\"FColor\":[{\"FId\":" + std::to_string(kMaxFaceColorsPerBucket * stride) +
                  "},{\"FId\":0},{\"FId\":1}]}")
                     .c_str());
  EXPECT_TRUE(item.Read(document));
  EXPECT_EQ(item.GetFaceColor().size(), kMaxFaceColorsPerBucket + 1)
      << "number 1 has come, the crowded one has not";
  EXPECT_EQ(log.GetTexts(3).size(), 1U);
  EXPECT_TRUE(log.Contains("1 face colours of item "));
}

}  // namespace
}  // namespace mirel
