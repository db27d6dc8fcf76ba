#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/LogCapture.h>
#include <Tests/Support/StepFiles.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <Programs/mirel/Diff/Assignment.h>
#include <Programs/mirel/Import/OcctMessages.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Import/StepReader.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Save/TypeUseCounter.h>
#include <Programs/mirel/StageProgress.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <BRepAdaptor_Surface.hxx>
#include <BRepAlgoAPI_Cut.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepTools.hxx>
#include <Interface_Static.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Face.hxx>
#include <gp_Cylinder.hxx>

#include <glm/glm.hpp>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <map>
#include <random>

namespace mirel {
namespace {

using Lines = std::vector<std::string>;

// What `mirel diff` says of two versions: a line for each change.
struct Difference {
  int code = -1;
  Lines changes;
  rapidjson::Document json;
};

Difference Compare(const std::string& older, const std::string& newer) {
  Difference difference;
  std::string text, err;
  difference.code = Mirel({"diff", "--json", older, newer}, text, &err);
  EXPECT_EQ(err, "");
  difference.json.Parse(text.c_str());
  EXPECT_FALSE(difference.json.HasParseError()) << text;
  for (const auto& change : difference.json["changes"].GetArray()) {
    std::string line = std::string(change["kind"].GetString()) + " " + change["name"].GetString();
    if (change["places"].Size() != 1) {
      line += " x" + std::to_string(change["places"].Size());
    }
    difference.changes.push_back(line);
  }
  return difference;
}

// A model that is changed item by item, and what its parts are called.
class EditedModel {
 public:
  explicit EditedModel(const std::string& folder) {
    EXPECT_TRUE(folder_.Load(folder));
    // The assembly that holds more than one thing.
    LiteModelItem* item = folder_.GetModel().GetItems().front().get();
    for (main_ = dynamic_cast<GroupItem*>(item); main_ != nullptr && main_->GetChildren().size() == 1;) {
      main_ = dynamic_cast<GroupItem*>(main_->GetChildren().front().get());
    }
  }

  LiteModel& GetModel() { return folder_.GetModel(); }
  GroupItem* GetMain() { return main_; }
  LiteModelItem& GetLast() { return *main_->GetChildren().back(); }

  std::unique_ptr<LiteModelItem> Take(std::size_t child) {
    std::vector<std::unique_ptr<LiteModelItem>> children;
    std::unique_ptr<LiteModelItem> taken;
    for (std::size_t i = 0; i < main_->GetChildren().size(); ++i) {
      std::unique_ptr<LiteModelItem> copy = ReadItem(WriteItem(*main_->GetChildren()[i], folder_.GetModel()));
      if (i == child) {
        taken = std::move(copy);
      } else {
        children.push_back(std::move(copy));
      }
    }
    main_->SetChildren(std::move(children));
    return taken;
  }

  // Into a copy of the folder that it was read from; the bodies are written again only when one was changed.
  void Save(const std::string& base, const std::string& folder) {
    TypeUseCounter::Count(GetModel());
    std::filesystem::remove_all(folder);
    if (hasNewBodies_) {
      LiteModelWriter(GetModel()).Save(folder + "/");
      return;
    }
    std::filesystem::copy(base, folder, std::filesystem::copy_options::recursive);
    GetModel().GetShapes().clear();
    const TestFolder scratch;
    LiteModelWriter(GetModel()).Save(scratch.GetPath());
    const std::string key = "\"Metadata\":{", old = Inflate(base + "/index.gz");
    std::string index = Inflate(scratch.GetPath() + "index.gz");
    const std::size_t to = index.find(key), from = old.find(key);
    index.replace(to, index.find('}', to) - to, old, from, old.find('}', from) - from);
    WriteGzip(folder + "/index.gz", index);
  }

  ObjectId AddBody(const std::shared_ptr<TopoShape>& body) {
    hasNewBodies_ = true;
    return GetModel().AddShape(body);
  }

  // All items that show bodies.
  std::vector<ShapeItem*> ListShapes() {
    std::vector<LiteModelItem*> open;
    for (const auto& item : GetModel().GetItems()) {
      open.push_back(item.get());
    }
    for (const auto& type : GetModel().GetTypes()) {
      open.push_back(type.second.get());
    }
    std::vector<ShapeItem*> shapes;
    while (!open.empty()) {
      LiteModelItem* const item = open.back();
      open.pop_back();
      if (auto* const group = dynamic_cast<GroupItem*>(item)) {
        for (const auto& child : group->GetChildren()) {
          open.push_back(child.get());
        }
      } else if (auto* const shape = dynamic_cast<ShapeItem*>(item)) {
        shapes.push_back(shape);
      }
    }
    std::sort(shapes.begin(), shapes.end(), [](const ShapeItem* a, const ShapeItem* b) {
      return a->GetId().GetInteger() < b->GetId().GetInteger();
    });
    return shapes;
  }

 private:
  ModelFolder folder_;
  GroupItem* main_ = nullptr;
  bool hasNewBodies_ = false;
};

// How often an item stands in the tree of a folder.
std::string CountPlaces(const std::string& folder, const ObjectId& item) {
  std::string tree;
  EXPECT_EQ(Mirel({"tree", folder}, tree), 0);
  const std::string id = " id " + item.toString() + " ";
  std::size_t count = 0;
  for (std::size_t at = tree.find(id); at != std::string::npos; at = tree.find(id, at + 1)) {
    ++count;
  }
  return count == 1 ? "" : " x" + std::to_string(count);
}

// A body with one of its holes made wider; null when it has no whole cylinder that is hollow. Colours go with the faces.
std::shared_ptr<TopoShape> WidenHole(const TopoDS_Shape& body, double by, ShapeItem::FaceColorMap& colors) {
  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(body, TopAbs_FACE, faces);
  for (int i = 1; i <= faces.Extent(); ++i) {
    const TopoDS_Face& face = TopoDS::Face(faces(i));
    const BRepAdaptor_Surface surface(face);
    if (surface.GetType() != GeomAbs_Cylinder || !surface.Cylinder().Position().Direct() ||
        face.Orientation() != TopAbs_REVERSED ||
        surface.LastUParameter() - surface.FirstUParameter() < 2 * M_PI - 1e-6) {
      continue;
    }
    const double first = surface.FirstVParameter(), last = surface.LastVParameter();
    gp_Ax2 axes = surface.Cylinder().Position().Ax2();
    axes.Translate(gp_Vec(axes.Direction()) * first);
    BRepAlgoAPI_Cut cut(
        body, BRepPrimAPI_MakeCylinder(axes, surface.Cylinder().Radius() + by / 2, last - first).Shape());
    TopTools_IndexedMapOfShape newFaces;
    TopExp::MapShapes(cut.Shape(), TopAbs_FACE, newFaces);
    if (!cut.IsDone() || newFaces.Extent() != faces.Extent()) {
      continue;  // it met something else
    }
    ShapeItem::FaceColorMap newColors;
    for (const auto& [number, color] : colors) {
      const TopoDS_Shape& old = faces(static_cast<int>(number) + 1);
      const TopTools_ListOfShape& changed = cut.Modified(old);
      const int now = newFaces.FindIndex(changed.IsEmpty() ? old : changed.First());
      if (now > 0) {
        newColors[static_cast<std::uint32_t>(now - 1)] = color;
      }
    }
    colors = newColors;
    return std::make_shared<TopoShape>(cut.Shape());
  }
  return nullptr;
}

// The same file with its entities in the opposite order and under other numbers.
std::string Renumber(const std::string& step) {
  const std::size_t begin = step.find("DATA;") + 5, end = step.rfind("ENDSEC;");
  std::vector<std::string> entities;
  bool isText = false;
  std::string entity;
  for (std::size_t i = begin; i < end; ++i) {
    const char byte = step[i];
    isText = isText != (byte == '\'');
    entity += byte;
    if (!isText && byte == '#') {
      std::size_t number = 0;
      for (; i + 1 < end && std::isdigit(static_cast<unsigned char>(step[i + 1])) != 0; ++i) {
        number = 10 * number + static_cast<std::size_t>(step[i + 1] - '0');
      }
      entity += std::to_string(10000000 - number);
    } else if (!isText && byte == ';') {
      entities.push_back(entity);
      entity.clear();
    }
  }
  std::string text = step.substr(0, begin);
  for (auto one = entities.rbegin(); one != entities.rend(); ++one) {
    text += *one;
  }
  return text + "\n" + step.substr(end);
}

class SilentProgress : public StageProgress {
 public:
  void Begin(const std::string&) override {}
  void SetFraction(double) override {}
};

// Reads a file and writes it again, in other units, each of which is in the name of its file.
void Rewrite(const std::string& from, const std::string& to, const std::vector<const char*>& units) {
  const OcctMessages quiet;
  SilentProgress progress;
  StepReader reader(progress);
  const SourceFile file(from);
  const Handle(TDocStd_Document) document = reader.Read(file);
  ASSERT_FALSE(document.IsNull());
  for (const char* const unit : units) {
    Interface_Static::SetCVal("write.step.unit", unit);  // which a writer looks at when it is made
    const bool isWritten = STEPCAFControl_Writer().Perform(document, (to + unit + ".step").c_str());
    Interface_Static::SetCVal("write.step.unit", "MM");
    ASSERT_TRUE(isWritten);
  }
}

// The folder of a file, which is converted once.
const std::string& FindBase(const std::string& file) {
  static const TestFolder folder;
  static std::map<std::string, std::string> bases;
  const auto [base, isNew] =
      bases.try_emplace(file, folder.GetPath() + "base" + std::to_string(bases.size() + 1));
  if (isNew) {
    EXPECT_EQ(Mirel({"save", "-q", file, base->second}), 0) << file;
  }
  return base->second;
}

class DiffOf : public testing::TestWithParam<std::string> {
 protected:
  Difference Expect(EditedModel& edited, const Lines& changes) {
    edited.Save(base_, version_);
    Difference difference = Compare(base_, version_);
    EXPECT_EQ(difference.changes, changes);
    EXPECT_EQ(difference.code, changes.empty() ? 0 : 1);
    std::string out;
    EXPECT_EQ(Mirel({"diff", "-q", version_, base_}, out), difference.code);
    return difference;
  }

  const TestFolder scratch_;
  const std::string &base_ = FindBase(GetParam()), version_ = scratch_.GetPath() + "version";
};

std::vector<std::string> ListFiles() {
  return ListStepFiles(MIREL_SAMPLE);
}
INSTANTIATE_TEST_SUITE_P(Files, DiffOf, testing::ValuesIn(ListFiles()),
                         [](const auto& file) { return std::to_string(file.index); });

TEST_P(DiffOf, TellsWhatBecameOfOnePart) {
  const LogCapture quiet;
  EditedModel original(base_);
  if (original.GetMain() == nullptr || original.GetMain()->GetChildren().size() < 3) {
    GTEST_SKIP() << "no assembly";
  }
  const std::string name = original.GetLast().GetName();
  {
    SCOPED_TRACE("moved");
    EditedModel edited(base_);
    edited.GetLast().SetTransform(Move(0.006, 0, 0.008) * edited.GetLast().GetTransform());
    const Difference difference = Expect(edited, {"moved " + name});
    EXPECT_NEAR(difference.json["changes"][0]["distance"].GetDouble(), 0.01, 1e-6);
    EXPECT_EQ(difference.json["changes"][0]["angle"].GetDouble(), 0.0);
  }
  {
    SCOPED_TRACE("turned");
    EditedModel edited(base_);
    edited.GetLast().SetTransform(edited.GetLast().GetTransform() * TurnAboutZ(1.0));
    EXPECT_NEAR(Expect(edited, {"moved " + name}).json["changes"][0]["angle"].GetDouble(), 1.0, 1e-6);
  }
  {
    SCOPED_TRACE("removed");
    EditedModel edited(base_);
    edited.Take(edited.GetMain()->GetChildren().size() - 1);
    Expect(edited, {"removed " + name});
  }
  {
    SCOPED_TRACE("added twice");
    EditedModel edited(base_);
    const std::string json = WriteItem(edited.GetLast(), edited.GetModel());
    for (const char* const copy : {"copy 1", "copy 2"}) {
      std::unique_ptr<LiteModelItem> item = ReadItem(json);
      item->SetId(ObjectId::NewId());
      item->SetName(copy);
      item->SetTransform(Move(0, 0, copy[5] == '1' ? 500 : 700) * item->GetTransform());
      edited.GetMain()->AddItem(std::move(item));
    }
    Expect(edited, {"added copy 1", "added copy 2"});
  }
  {
    SCOPED_TRACE("renamed");
    EditedModel edited(base_);
    edited.GetLast().SetName("neuer Name");
    EXPECT_EQ(Expect(edited, {"renamed " + name}).json["changes"][0]["newName"], "neuer Name");
  }
  {
    SCOPED_TRACE("under another assembly");
    EditedModel edited(base_);
    std::unique_ptr<LiteModelItem> item = edited.Take(edited.GetMain()->GetChildren().size() - 1);
    const auto& children = edited.GetMain()->GetChildren();
    const auto found = std::find_if(children.begin(), children.end(), [](const auto& child) {
      return dynamic_cast<const GroupItem*>(child.get()) != nullptr;
    });
    if (found != children.end()) {
      auto& group = static_cast<GroupItem&>(**found);
      item->SetTransform(glm::inverse(group.GetTransform()) * item->GetTransform());
      group.AddItem(std::move(item));
      Expect(edited, {"reparented " + name});
    }
  }
}

TEST_P(DiffOf, TellsWhatBecameOfOneBody) {
  const LogCapture quiet;
  {
    SCOPED_TRACE("one face");
    EditedModel edited(base_);
    ShapeItem& item = *edited.ListShapes().front();
    item.SetFaceColor(0, {0.9f, 0.05f, 0.6f});
    const Difference difference =
        Expect(edited, {"recolored " + item.GetName() + CountPlaces(base_, item.GetId())});
    ASSERT_EQ(difference.json["changes"][0]["colors"].Size(), 1u);
    EXPECT_EQ(difference.json["changes"][0]["colors"][0]["faces"], 1);
  }
  EditedModel edited(base_);
  for (ShapeItem* const item : edited.ListShapes()) {
    ShapeItem::FaceColorMap colors = item->GetFaceColor();
    const std::shared_ptr<TopoShape> old = edited.GetModel().FindShape(item->GetShapeId());
    const std::shared_ptr<TopoShape> body = old ? WidenHole(old->GetImpl(), 0.1, colors) : nullptr;
    if (!body) {
      continue;
    }
    SCOPED_TRACE("wider hole in " + item->GetName());
    const ObjectId id = edited.AddBody(body);
    item->SetShapeId(id);
    item->SetFaceColor(colors);
    const Difference difference =
        Expect(edited, {"reshaped " + item->GetName() + CountPlaces(base_, item->GetId())});
    const auto& change = difference.json["changes"][0];
    EXPECT_LT(change["new"]["volume"].GetDouble(), change["old"]["volume"].GetDouble());
    EXPECT_GT(change["faces"]["same"].GetUint(), 0u);
    EXPECT_GT(change["faces"]["gone"].Size(), 0u);
    EXPECT_EQ(change["faces"]["gone"].Size(), change["faces"]["new"].Size());
    break;
  }
}

TEST_P(DiffOf, FindsNothingWhereAFileWasOnlyWrittenAnew) {
  const std::string again = scratch_.GetPath() + "again.";
  const auto expectEqual = [&](const std::string& kind) {
    SCOPED_TRACE(kind);
    const Difference difference = Compare(base_, again + kind + ".step");
    EXPECT_EQ(difference.changes, Lines());
    EXPECT_EQ(difference.code, 0);
  };
  WriteFile(again + "renumbered.step", Renumber(ReadFile(GetParam())));
  expectEqual("renumbered");
  EXPECT_EQ(Mirel({"export", "-q", base_, again + "exported.step"}), 0);
  expectEqual("exported");
  const std::vector<const char*> units = {"MM", "INCH", "M"};
  Rewrite(GetParam(), again, units);
  for (const char* const unit : units) {
    expectEqual(unit);
  }
}

TEST(Assignment, FindsTheSmallestSum) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    const std::size_t rows = 1 + random() % 5, columns = 1 + random() % 5;
    std::vector<double> costs(rows * columns);
    for (double& cost : costs) {
      cost = static_cast<double>(random() % 100) / 100.0;
    }
    constexpr double kLimit = 0.7;
    const auto cost = [&](std::size_t row, std::size_t column) { return costs[row * columns + column]; };
    const auto add = [&](const std::vector<std::size_t>& result) {
      double sum = 0.0;
      for (std::size_t row = 0; row < rows; ++row) {
        sum +=
            row < result.size() && result[row] < columns ? std::min(kLimit, cost(row, result[row])) : kLimit;
      }
      return sum;
    };
    // All ways, with as many columns more for none.
    std::vector<std::size_t> way(rows + columns);
    for (std::size_t i = 0; i < way.size(); ++i) {
      way[i] = i;
    }
    double least = 1e9;
    if (way.size() <= 7) {
      do {
        least = std::min(least, add(way));
      } while (std::next_permutation(way.begin(), way.end()));
      const std::vector<std::size_t> found = Assignment::Solve(rows, columns, kLimit, cost);
      EXPECT_NEAR(add(found), least, 1e-12);
    }
  }
}

}  // namespace
}  // namespace mirel
