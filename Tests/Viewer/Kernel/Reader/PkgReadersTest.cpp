#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <Viewer/Kernel/Model/LiteModel.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <cstring>

namespace mirel {
namespace {

/// What shape and GRep packages have in common is tested on both.
struct ShapeKind {
  using Reader = PkgShapeReader;
  static std::string Bytes(double size) { return ToText(MakeBox(size, size, size)); }
  static std::size_t CountIn(const LiteModel& model) { return model.GetShape().size(); }
  static const void* Find(const LiteModel& model, const ObjectId& id) { return model.FindShape(id).get(); }
  static constexpr const char* kFile = "PkgShapeReader.cpp";
};
struct GRepKind {
  using Reader = PkgGRepReader;
  static std::string Bytes(double size) { return ToRecord(MakeGRep(MakeBox(size, size, size))); }
  static std::size_t CountIn(const LiteModel& model) { return model.GetGRepShapes().size(); }
  static const void* Find(const LiteModel& model, const ObjectId& id) {
    return model.FindGRepShape(id).get();
  }
  static constexpr const char* kFile = "PkgGRepReader.cpp";
};

template <class Kind>
class PkgReaderTest : public ::testing::Test {
 protected:
  bool Load(const std::string& package) {
    return typename Kind::Reader(model_).Load(package.data(), static_cast<unsigned int>(package.size()));
  }
  std::size_t Count() const { return Kind::CountIn(model_); }

  LiteModel model_;
  LogCapture log_;
};

struct KindName {
  template <class Kind>
  static std::string GetName(int) {
    return std::is_same_v<Kind, ShapeKind> ? "Shape" : "GRep";
  }
};
using Kinds = ::testing::Types<ShapeKind, GRepKind>;
TYPED_TEST_SUITE(PkgReaderTest, Kinds, KindName);

TYPED_TEST(PkgReaderTest, ReadsEveryItemUnderItsId) {
  EXPECT_TRUE(
      this->Load(MakePackage({{1, TypeParam::Bytes(1)}, {18446744073709551615U, TypeParam::Bytes(2)}})));
  EXPECT_EQ(this->Count(), 2U);
  EXPECT_TRUE(TypeParam::Find(this->model_, Id(1)));
  EXPECT_TRUE(TypeParam::Find(this->model_, Id(18446744073709551615U)));
  EXPECT_EQ(this->model_.GetShape().size() + this->model_.GetGRepShapes().size(), 2U)
      << "nothing in the other table";
  EXPECT_TRUE(this->log_.GetEntries().empty());

  const void* const before = TypeParam::Find(this->model_, Id(1));
  EXPECT_TRUE(this->Load(MakePackage({{1, TypeParam::Bytes(1)}})));
  EXPECT_EQ(this->Count(), 2U);
  EXPECT_NE(TypeParam::Find(this->model_, Id(1)), before) << "the one read last stays";
}

TYPED_TEST(PkgReaderTest, GoesByTheSizesNotByTheOffsets) {
  std::string package = MakePackage({{1, TypeParam::Bytes(1)}, {2, TypeParam::Bytes(2)}});
  for (const std::size_t entry : {4U, 20U})
    std::memset(&package[entry + 8], 0xEE, 4);
  EXPECT_TRUE(this->Load(package + "bytes behind the last item"));
  EXPECT_EQ(this->Count(), 2U);
  EXPECT_TRUE(this->log_.GetEntries().empty());
}

TYPED_TEST(PkgReaderTest, LeavesOutWhatDoesNotDecode) {
  EXPECT_TRUE(this->Load(MakePackage({{1, TypeParam::Bytes(1)},
                                      {2, "neither text nor record"},
                                      {3, ""},
                                      {4, TypeParam::Bytes(2)},
                                      {5, std::string(100, '\0')}})));
  EXPECT_EQ(this->Count(), 2U);
  EXPECT_TRUE(TypeParam::Find(this->model_, Id(1)));
  EXPECT_TRUE(TypeParam::Find(this->model_, Id(4)));
  EXPECT_EQ(this->log_.Count(3, "Shape is null!"), 3);
  EXPECT_EQ(this->log_.GetTexts(3).size(), 3U);
  EXPECT_TRUE(this->log_.Contains(TypeParam::kFile));
  EXPECT_TRUE(this->log_.Contains("item 3 of 5, id 3, 0 bytes"));
}

TYPED_TEST(PkgReaderTest, TellsOfEachItemInItsTurnHoweverManyThreadsDecode) {
  const std::string good = TypeParam::Bytes(1);
  std::vector<std::pair<unsigned long long, std::string>> items;
  for (unsigned long long id = 1; id <= 2500; ++id)
    items.emplace_back(id, id % 10 == 0 ? good.substr(0, good.size() - id / 10 % good.size()) + "." : good);
  EXPECT_TRUE(this->Load(MakePackage(items)));
  EXPECT_EQ(this->Count(), 2250U);
  const auto& entries = this->log_.GetEntries();
  ASSERT_EQ(entries.size(), 4U * 250U) << "reason, item, failure, place";
  for (std::size_t i = 0; i < 250; ++i) {
    EXPECT_EQ(entries[4 * i].second.find("item"), std::string::npos) << entries[4 * i].second;
    EXPECT_NE(entries[4 * i + 1].second.find("item " + std::to_string(10 * (i + 1)) + " of 2500"),
              std::string::npos);
    EXPECT_EQ(entries[4 * i + 2].second, "Shape is null!");
  }
}

TYPED_TEST(PkgReaderTest, RefusesATableThatDoesNotFit) {
  EXPECT_FALSE(this->Load(""));
  EXPECT_FALSE(typename TypeParam::Reader(this->model_).Load(nullptr, 0));
  EXPECT_FALSE(this->Load(MakePackage({})));
  EXPECT_FALSE(this->Load(std::string(4, '\0') + std::string(64, 'x')));
  // Counts one too many, and so large that table and count wrap around in 32 bits.
  for (const unsigned long count : {2UL, 0x0FFFFFFFUL, 0x10000000UL, 0x10000001UL, 0xFFFFFFFFUL}) {
    std::string package = MakePackage({{1, ""}});
    for (std::size_t i = 0; i < 4; ++i)
      package[i] = static_cast<char>((count >> (8 * i)) & 0xFF);
    EXPECT_FALSE(this->Load(package)) << count;
  }
  EXPECT_EQ(this->Count(), 0U);
  EXPECT_TRUE(this->log_.GetEntries().empty());
}

TYPED_TEST(PkgReaderTest, BelievesNoSizeBeyondTheBytes) {
  std::string package = MakePackage({{1, TypeParam::Bytes(1)}, {2, TypeParam::Bytes(2)}});
  std::memset(&package[4 + 12], 0xFF, 4);
  EXPECT_TRUE(this->Load(package));
  EXPECT_LE(this->Count(), 1U) << "the first item is cut short and takes the second one's bytes";
  EXPECT_EQ(static_cast<int>(this->Count()) + this->log_.Count(3, "Shape is null!"), 2);
}

TYPED_TEST(PkgReaderTest, ReadsAnItemThatIsWholeThoughItClaimsMore) {
  std::string package = MakePackage({{1, TypeParam::Bytes(1)}, {2, TypeParam::Bytes(2)}});
  package[4 + 16 + 12 + 2] = 1;  // 64 kB more
  EXPECT_TRUE(this->Load(package));
  EXPECT_EQ(this->Count(), 2U);
  EXPECT_TRUE(this->log_.GetEntries().empty());
  package.resize(package.size() - 20);
  this->model_.Clear();
  EXPECT_TRUE(this->Load(package));
  EXPECT_EQ(this->log_.Count(3, "Shape is null!"), 1);
  EXPECT_TRUE(this->log_.Contains("is cut short"));
}

TEST(PkgGRepReader, ARecordMayBeShorterThanItsItem) {
  LiteModel model;
  const std::string record = GRepKind::Bytes(1);
  const std::string package = MakePackage({{1, record + "slack"}, {2, record}});
  EXPECT_TRUE(PkgGRepReader(model).Load(package.data(), static_cast<unsigned int>(package.size())));
  EXPECT_EQ(model.GetGRepShapes().size(), 2U);
}

TEST(PkgShapeReader, GivesTheShapesThatWereWritten) {
  LiteModel model;
  const std::string package = MakePackage({{1, ShapeKind::Bytes(3)}});
  EXPECT_TRUE(PkgShapeReader(model).Load(package.data(), static_cast<unsigned int>(package.size())));
  EXPECT_EQ(ToComparableText(model.FindShape(Id(1))), ToComparableText(MakeBox(3, 3, 3)));
}

}  // namespace
}  // namespace mirel
