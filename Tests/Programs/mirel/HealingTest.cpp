#include <Programs/mirel/Import/Healing/HealingActor.h>
#include <Programs/mirel/Import/Healing/SparingReShape.h>

#include <Tests/Support/StepFiles.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <BRepAlgoAPI_Cut.hxx>
#include <BRepAlgoAPI_Fuse.hxx>
#include <BRepBuilderAPI_Copy.hxx>
#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCone.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <BRepPrimAPI_MakeTorus.hxx>
#include <BRep_Builder.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <STEPControl_Controller.hxx>
#include <STEPControl_Reader.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Compound.hxx>
#include <TransferBRep.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <vector>

namespace mirel {
namespace {

using test::WriteBRepText;

/// The roots of a file, and for each entity what it has become: its place among the parts of all roots, or its text.
std::string Translate(const std::string& file, bool isTogether) {
  STEPControl_Reader reader;
  EXPECT_EQ(reader.ReadFile(file.c_str()), IFSelect_RetDone);
  if (isTogether) HealingActor::HealTogether(reader);
  reader.TransferRoots();
  std::ostringstream text;
  TopTools_IndexedMapOfShape parts;
  for (int i = 1; i <= reader.NbShapes(); ++i) {
    text << WriteBRepText(reader.Shape(i));
    TopExp::MapShapes(reader.Shape(i), parts);
  }
  const Handle(Transfer_TransientProcess) process = reader.WS()->TransferReader()->TransientProcess();
  for (int i = 1; i <= process->NbMapped(); ++i) {
    const TopoDS_Shape shape = TransferBRep::ShapeResult(process->MapItem(i));
    text << reader.WS()->Model()->Number(process->Mapped(i)) << " ";
    if (!shape.IsNull()) {
      const int place = parts.FindIndex(shape);
      text << shape.Orientation() << " " << place << (place > 0 ? "" : WriteBRepText(shape));
    }
    text << "\n";
  }
  return text.str();
}

void ExpectSameTranslation(const std::string& file) {
  const std::string expected = Translate(file, false);
  EXPECT_GT(expected.size(), 1000u) << file;
  EXPECT_TRUE(Translate(file, true) == expected) << file;
}

std::string WriteStep(const TestFolder& folder, const std::vector<TopoDS_Shape>& roots,
                      STEPControl_StepModelType type) {
  STEPControl_Writer writer;
  for (const TopoDS_Shape& root : roots) {
    EXPECT_EQ(writer.Transfer(root, type), IFSelect_RetDone);
  }
  const std::string file = folder.GetPath() + "written.step";
  EXPECT_EQ(writer.Write(file.c_str()), IFSelect_RetDone);
  return file;
}

class Healing : public testing::Test {
 protected:
  Healing() {
    STEPControl_Controller::Init();
    Message::DefaultMessenger()->ChangePrinters().Clear();
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(10.0, 20.0, 30.0);
    const TopoDS_Shape sphere = BRepPrimAPI_MakeSphere(7.0);
    const TopoDS_Shape cylinder = BRepPrimAPI_MakeCylinder(4.0, 50.0);
    bodies_ = {box,
               sphere,
               cylinder,
               BRepPrimAPI_MakeTorus(9.0, 2.0),
               BRepPrimAPI_MakeCone(3.0, 0.0, 5.0),
               BRepAlgoAPI_Fuse(box, cylinder),
               BRepAlgoAPI_Cut(box, sphere)};
  }

  /// All bodies, each of them twice.
  TopoDS_Shape Together() const {
    TopoDS_Compound all;
    const BRep_Builder builder;
    builder.MakeCompound(all);
    gp_Trsf away;
    away.SetTranslation(gp_Vec(1000.0, 0.0, 0.0));
    for (const TopoDS_Shape& body : bodies_) {
      builder.Add(all, body);
      builder.Add(all, body.Moved(away));
    }
    return all;
  }

  const TestFolder folder_;
  std::vector<TopoDS_Shape> bodies_;
};

TEST_F(Healing, TogetherComesToWhatItComesToOneByOne) {
  for (const std::string& file : ListStepFiles(MIREL_SAMPLE))
    ExpectSameTranslation(file);
  ExpectSameTranslation(WriteStep(folder_, bodies_, STEPControl_AsIs));       // a root for each
  ExpectSameTranslation(WriteStep(folder_, {Together()}, STEPControl_AsIs));  // several in one product
  const int assemblies = Interface_Static::IVal("write.step.assembly");
  for (const char* const mode : {"On", "Off"}) {
    Interface_Static::SetCVal("write.step.assembly", mode);
    ExpectSameTranslation(WriteStep(folder_, {Together(), bodies_.front()}, STEPControl_AsIs));
  }
  Interface_Static::SetIVal("write.step.assembly", assemblies);
  ExpectSameTranslation(WriteStep(folder_, {Together()}, STEPControl_ShellBasedSurfaceModel));
  ExpectSameTranslation(WriteStep(folder_, {Together()}, STEPControl_GeometricCurveSet));
}

/// The numbers of the entities of a type.
std::vector<std::string> ListEntities(const std::string& text, const std::string& type) {
  std::vector<std::string> numbers;
  for (std::size_t at = 0; (at = text.find(" = " + type + "(", at)) != std::string::npos; ++at)
    numbers.push_back(text.substr(text.rfind('#', at), at - text.rfind('#', at)));
  return numbers;
}

// Bodies that share points, edges or faces, have holes in them, or edges that lead elsewhere.
TEST_F(Healing, OfDamagedFilesIsTheSame) {
  const std::string text = ReadFile(WriteStep(folder_, {Together(), bodies_.front()}, STEPControl_AsIs));
  std::mt19937 random(1);
  const std::string file = folder_.GetPath() + "damaged.step";
  for (const char* const type :
       {"CARTESIAN_POINT", "VERTEX_POINT", "EDGE_CURVE", "ORIENTED_EDGE", "EDGE_LOOP", "ADVANCED_FACE",
        "PLANE", "CLOSED_SHELL", "MANIFOLD_SOLID_BREP"}) {
    const std::vector<std::string> numbers = ListEntities(text, type);
    for (int round = 0; round < 4; ++round) {
      std::string damaged = text;
      for (int i = 0; i <= round; ++i) {
        const std::string& number = numbers[random() % numbers.size()];
        for (const char* const end : {",", ")"}) {
          const std::size_t use = damaged.find(number + end, damaged.find(number + " = ") + 1);
          if (use != std::string::npos)
            damaged.replace(use, number.size(), numbers[random() % numbers.size()]);
        }
      }
      WriteFile(file, damaged);
      EXPECT_TRUE(Translate(file, true) == Translate(file, false)) << type << " " << round;
    }
  }
}

/// Replaces parts of a copy of the body at random, and says after each what becomes of the body and of all its parts.
std::string Reshape(const TopoDS_Shape& original, const Handle(ShapeBuild_ReShape) & context,
                    unsigned int seed) {
  const TopoDS_Shape body = BRepBuilderAPI_Copy(original).Shape();
  std::mt19937 random(seed);
  context->ModeConsiderLocation() = random() % 2 == 0;
  TopTools_IndexedMapOfShape parts;
  TopExp::MapShapes(body, parts);
  for (int i = 1; i <= parts.Extent(); ++i)
    parts(i).TShape()->Free(i % 2 == 0);
  std::ostringstream text;
  for (int round = 0; round < 6; ++round) {
    const TopoDS_Shape& part =
        parts(1 + static_cast<int>(random() % static_cast<unsigned int>(parts.Extent())));
    if (round > 0) random() % 8 == 0 ? context->Remove(part) : context->Replace(part, part.EmptyCopied());
    for (const TopAbs_ShapeEnum until : {TopAbs_SHAPE, TopAbs_EDGE, TopAbs_FACE}) {
      const TopoDS_Shape result = context->Apply(body, until);
      text << context->Status(ShapeExtend_OK) << context->Status(ShapeExtend_DONE3)
           << context->Status(ShapeExtend_DONE4) << result.IsSame(body) << "\n";
      if (!result.IsNull()) text << WriteBRepText(result);
    }
    const TopoDS_Shape other = context->Apply(parts(parts.Extent() / 2));
    text << other.IsNull() << "\n";
  }
  return text.str() + WriteBRepText(body);
}

TEST_F(Healing, WhatStaysIsNotCopiedButTheSame) {
  for (const TopoDS_Shape& body : bodies_) {
    for (unsigned int seed = 0; seed < 8; ++seed)
      EXPECT_TRUE(Reshape(body, new SparingReShape, seed) == Reshape(body, new ShapeBuild_ReShape, seed))
          << seed;
  }
}

}  // namespace
}  // namespace mirel
