#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Writer/PkgContainerWriter.h>
#include <Viewer/Kernel/Writer/PkgGRepBuilder.h>
#include <Viewer/Kernel/Writer/PkgGRepWriter.h>
#include <Viewer/Kernel/Writer/PkgSeries.h>
#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <BRepBuilderAPI_MakeVertex.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Vertex.hxx>

#include <limits>
#include <locale>

namespace mirel {
namespace {

TEST(PkgContainerWriter, MovesWithWhatItHoldsAndWritesItAsOftenAsAsked) {
  const TestFolder folder;
  PkgContainerWriter writer(7);
  EXPECT_EQ(writer.AddItem(Id(0x0102030405060708ULL), "abc"), 3);
  EXPECT_EQ(writer.AddItem(Id(18446744073709551615U), std::string("\0\xff", 2)), 5);
  EXPECT_EQ(writer.AddItem(Id(0), ""), 5);
  writer.Write(folder.GetPath());
  EXPECT_EQ(
      Inflate(folder.GetPath() + "7.gz"),
      MakePackage(
          {{0x0102030405060708ULL, "abc"}, {18446744073709551615U, std::string("\0\xff", 2)}, {0, ""}}));

  PkgContainerWriter moved(1);
  moved.AddItem(Id(9), "dropped");
  moved = std::move(writer);
  PkgContainerWriter(std::move(moved)).Write(folder.GetPath() + "m");  // no separator is put in between
  EXPECT_EQ(ReadFile(folder.GetPath() + "m7.gz"), ReadFile(folder.GetPath() + "7.gz"));
  PkgContainerWriter(5).Write(folder.GetPath());  // empty: no file
  EXPECT_EQ(folder.ListFiles(), "7.gz m7.gz");
}

TEST(PkgShapeWriter, DoesNotMindTheProgramsLocale) {
  struct Grouping : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::shared_ptr<TopoShape> shape = MakeBox(1234.5, 20000, 30000);
  const std::string text = ToText(shape);
  const TestFolder folder;
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  PkgShapeWriter writer(1000);
  writer.AddItem(Id(1), shape);
  writer.Write(folder.GetPath());
  const std::string record = ToRecord(MakeGRep(shape));
  std::locale::global(before);
  EXPECT_EQ(Inflate(folder.GetPath() + "1000.gz"), MakePackage({{1, text}}));
  EXPECT_EQ(record, ToRecord(MakeGRep(shape)));
}

TEST(PkgWriters, StoreTextsAndRecordsAndLeaveOutWhatIsEmpty) {
  const TestFolder folder;
  LogCapture log;
  const std::shared_ptr<TopoShape> box = MakeBox(1, 1, 1);
  const std::string text = ToText(box);
  PkgShapeWriter shapes(-3);
  EXPECT_EQ(shapes.AddItem(Id(1), box), static_cast<int>(text.size()));
  EXPECT_EQ(shapes.AddItem(Id(2), nullptr), static_cast<int>(text.size()));
  EXPECT_EQ(shapes.AddItem(Id(3), std::make_shared<TopoShape>(TopoDS_Shape())),
            static_cast<int>(text.size()));
  EXPECT_EQ(shapes.AddItem(Id(4), box), static_cast<int>(2 * text.size()));
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto odd = std::make_shared<TopoShape>(BRepBuilderAPI_MakeVertex(gp_Pnt(0, nan, 0)).Vertex());
  EXPECT_EQ(shapes.AddItem(Id(5), odd), static_cast<int>(2 * text.size()));
  EXPECT_NE(log.GetTexts(1).back().find("A number is not finite"), std::string::npos);
  shapes.Write(folder.GetPath());
  EXPECT_EQ(Inflate(folder.GetPath() + "-3.gz"), MakePackage({{1, text}, {4, text}}));

  const std::string record = ToRecord(MakeGRep(box));
  PkgGRepWriter greps(2147483647);
  EXPECT_EQ(greps.AddItem(Id(1), MakeGRep(box)), static_cast<int>(record.size()));
  EXPECT_EQ(greps.AddItem(Id(2), nullptr), static_cast<int>(record.size()));
  greps.Write(folder.GetPath());
  EXPECT_EQ(Inflate(folder.GetPath() + "2147483647.gz"), MakePackage({{1, record}}));
  EXPECT_EQ(log.GetTexts(3), (std::vector<std::string>{
                                 "Shape 2 is not written: it is empty", "Shape 3 is not written: it is empty",
                                 "Shape 5 is not written: readers would refuse its text",
                                 "GRep 2 is not written: it is empty"}));
}

/// A package whose items are sizes: what it is given is all that counts for the series.
struct SizePackage {
  explicit SizePackage(int number) : number_(number) {}
  int AddItem(const ObjectId&, int size) {
    if (size >= 0) ++items_;  // a negative size stands for an item that cannot be written
    return size_ += std::max(size, 0);
  }
  int GetItemCount() const { return items_; }
  void Write(const std::string& folder) const {
    written_ += folder + std::to_string(number_) + ":" + std::to_string(items_) + " ";
  }
  int number_;
  int items_ = 0;
  int size_ = 0;
  static std::string written_;
};
std::string SizePackage::written_;

std::string Split(const std::vector<int>& sizes) {
  SizePackage::written_.clear();
  PkgSeries<SizePackage> series("p");
  for (const int size : sizes)
    series.AddItem(ObjectId(), size);
  series.Finish();
  return SizePackage::written_ + "= " + std::to_string(series.GetCount());
}

TEST(PkgSeries, ClosesAPackageWhenItsItemsExceedTheLimit) {
  constexpr int kLimit = 4194304;
  EXPECT_EQ(Split({}), "= 0");
  EXPECT_EQ(Split({1, 1}), "p1:2 = 1");
  EXPECT_EQ(Split({kLimit, 1, 1}), "p1:2 p2:1 = 2") << "at exactly the limit the next item joins";
  EXPECT_EQ(Split({kLimit - 1, 1, 1}), "p1:3 = 1") << "the count names only packages that were written";
  EXPECT_EQ(Split({kLimit + 1, 1}), "p1:1 p2:1 = 2");
  EXPECT_EQ(Split({1, 100000000, 1}), "p1:2 p2:1 = 2") << "an item over the limit joins the package begun";
  EXPECT_EQ(Split({-1, -1}), "= 0") << "nothing could be written";
  EXPECT_EQ(Split({kLimit + 1, -1, kLimit + 1, -1}), "p1:1 p2:1 = 2") << "numbers run without gaps";
}

TEST(PkgGRepBuilder, CountsThePackagesThatItWrites) {
  const TestFolder folder;
  LogCapture log;
  PkgGRepBuilder builder;
  builder.SetPkgCount(5);
  builder.AddItem(Id(1), nullptr);
  builder.AddItem(Id(2), std::make_shared<TopoShape>(TopoDS_Shape()));
  EXPECT_EQ(log.GetTexts(3).size(), 2U) << "shapes without a GRep are left out";
  builder.Build();
  builder.Write(folder.GetPath() + "grep/");
  EXPECT_EQ(builder.GetPkgCount(), 0U);
  EXPECT_EQ(folder.ListFiles(), "");

  const std::shared_ptr<TopoShape> box = MakeBox(1, 1, 1);
  builder.AddItem(Id(2), box);
  builder.AddItem(Id(1), box);
  builder.AddItem(Id(2), box);
  builder.Build();
  builder.Write(folder.GetPath() + "grep/");
  EXPECT_EQ(builder.GetPkgCount(), 1U);
  const std::string record = ToRecord(MakeGRep(box));
  EXPECT_EQ(Inflate(folder.GetPath() + "grep/1.gz"), MakePackage({{2, record}, {1, record}, {2, record}}))
      << "in the order of AddItem, an id given twice twice";
}

TEST(PkgGRepBuilder, SharesItsGRepsWithACopyAndHandsThemOverInAMove) {
  const TestFolder folder;
  PkgGRepBuilder builder;
  builder.AddItem(Id(1), MakeBox(1, 1, 1));
  PkgGRepBuilder(builder).Build();
  builder.Write(folder.GetPath());
  EXPECT_EQ(Inflate(folder.GetPath() + "1.gz"), MakePackage({{1, ToRecord(MakeGRep(MakeBox(1, 1, 1)))}}))
      << "computed through the copy";

  builder.SetPkgCount(4);
  const PkgGRepBuilder moved(std::move(builder));
  EXPECT_EQ(moved.GetPkgCount(), 4U);
  EXPECT_EQ(builder.GetPkgCount(), 4U);  // NOLINT(*-use-after-move,*.Move): the old count stays
  builder.Write(folder.GetPath() + "c/");
  EXPECT_EQ(builder.GetPkgCount(), 0U) << "no entries";
}

}  // namespace
}  // namespace mirel
