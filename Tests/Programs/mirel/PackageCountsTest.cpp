#include <Viewer/Kernel/Model/PackageCounts.h>

#include <Viewer/Kernel/Model/LiteModel.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>

#include <gtest/gtest.h>

namespace mirel {
namespace {

// What is streamed is what the reader of the index would look for.
TEST(PackageCounts, AreThoseOfTheReader) {
  for (const std::string metadata :
       {R"({"PkgGRep":2,"PkgShape":3})", R"({"PkgGRep":2,"PkgGRep":5})", R"({"PkgGRep":"2","PkgGRep":5})",
        R"({"PkgGRep":{"PkgShape":4},"PkgGRep":5,"PkgShape":6})", R"({"PkgGRep":-1,"PkgGRep":5})",
        R"({"PkgGRep":4294967296,"PkgShape":4294967295})", R"([1],"Metadata":{"PkgGRep":7})",
        R"(null,"Metadata":{"PkgGRep":7})", R"({"PkgGRep":1.0,"PkgShape":1e0})", R"({},"PkgGRep":7)"}) {
    const std::string text =
        R"({"x":{"Metadata":{"PkgGRep":9}},"Metadata":)" + metadata + R"(,"Types":[],"Items":[]})";
    LiteModel model;
    LiteModelReader reader(model);
    ASSERT_TRUE(reader.Load(text)) << text;
    const PackageCounts counts(text.c_str());
    EXPECT_EQ(counts.greps, reader.GetPkgGRep()) << text;
    EXPECT_EQ(counts.shapes, reader.GetPkgShape()) << text;
  }
}

TEST(PackageSearch, FindsWhatIsThereHoweverMuchIsMissing) {
  const PackageSearch search({9000, 150, 7}, 200);
  ASSERT_EQ(search.numbers.size(), kMaxMissingPackages + 2);
  EXPECT_EQ(search.numbers[6], 7U);
  EXPECT_EQ(search.numbers.back(), 150U);
  EXPECT_EQ(search.leftOut, 98U);
  EXPECT_EQ(PackageSearch({4294967295U}, 4294967295U).numbers.back(), 4294967295U);
  EXPECT_TRUE(PackageSearch({1}, 0).numbers.empty());
}

}  // namespace
}  // namespace mirel
