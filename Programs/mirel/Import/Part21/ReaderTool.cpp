#include <Programs/mirel/Import/Part21/ReaderTool.h>

#include <Programs/mirel/HandlerStack.h>
#include <Programs/mirel/StageProgress.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <Interface_FileParameter.hxx>
#include <Interface_ReaderModule.hxx>
#include <Standard_Failure.hxx>
#include <StepData_ReadWriteModule.hxx>
#include <StepGeom_Axis2Placement2d.hxx>
#include <StepGeom_Axis2Placement3d.hxx>
#include <StepGeom_BSplineCurveWithKnots.hxx>
#include <StepGeom_BSplineSurfaceWithKnots.hxx>
#include <StepGeom_CartesianPoint.hxx>
#include <StepGeom_Circle.hxx>
#include <StepGeom_ConicalSurface.hxx>
#include <StepGeom_CylindricalSurface.hxx>
#include <StepGeom_Direction.hxx>
#include <StepGeom_Ellipse.hxx>
#include <StepGeom_Line.hxx>
#include <StepGeom_Pcurve.hxx>
#include <StepGeom_Plane.hxx>
#include <StepGeom_SeamCurve.hxx>
#include <StepGeom_SphericalSurface.hxx>
#include <StepGeom_SurfaceCurve.hxx>
#include <StepGeom_ToroidalSurface.hxx>
#include <StepGeom_Vector.hxx>
#include <StepRepr_DefinitionalRepresentation.hxx>
#include <StepShape_AdvancedFace.hxx>
#include <StepShape_EdgeCurve.hxx>
#include <StepShape_EdgeLoop.hxx>
#include <StepShape_FaceBound.hxx>
#include <StepShape_FaceOuterBound.hxx>
#include <StepShape_OrientedEdge.hxx>
#include <StepShape_VertexPoint.hxx>
#include <StepVisual_StyledItem.hxx>
#include <StepVisual_SurfaceStyleFillArea.hxx>
#include <StepVisual_SurfaceStyleUsage.hxx>

#include <algorithm>
#include <cstring>

namespace mirel {

namespace {

constexpr int kChunkRecords = 8192;
constexpr std::size_t kRecordBytes = 32;  // about, of the text
constexpr int kRecordsBetweenNews = 1024;

// What fills entities of a type.
struct Filler {
  Handle(StepData_ReadWriteModule) module;
  int number = 0;
};
using Fillers = std::unordered_map<const Standard_Type*, Filler>;

// The types that most entities of large files have, and whose fillers look at nothing but their own record and the types of the
// entities that it refers to.
template <typename... Types>
Fillers FindFillers(Interface_ReaderLib& readers) {
  Fillers fillers;
  for (readers.Start(); readers.More(); readers.Next()) {
    const auto protocol = Handle(StepData_Protocol)::DownCast(readers.Protocol());
    const auto module = Handle(StepData_ReadWriteModule)::DownCast(readers.Module());
    const auto add = [&](const Handle(Standard_Type) & type) {
      const int number = protocol->TypeNumber(type);
      if (number > 0) {
        fillers.try_emplace(type.get(), Filler{module, number});  // OpenCASCADE takes the first one as well
      }
    };
    if (!protocol.IsNull()) {
      (add(STANDARD_TYPE(Types)), ...);
    }
  }
  return fillers;
}

// In a text with a backslash OpenCASCADE may find something to tell all about, not just this entity.
bool HasBackslash(const StepData_StepReaderData& data, int record) {
  for (int i = data.NbParams(record); i > 0; --i) {
    const Interface_FileParameter& parameter = data.Param(record, i);
    if (parameter.ParamType() == Interface_ParamText && std::strchr(parameter.CValue(), '\\') != nullptr) {
      return true;
    }
  }
  return false;
}

// Whether the entity of the record is filled, and OpenCASCADE has nothing to say of it.
bool Fill(const Filler& filler, const Handle(StepData_StepReaderData) & data, int record,
          Handle(Interface_Check) & check) {
  try {
    filler.module->ReadStep(filler.number, data, record, check, data->BoundEntity(record));
  } catch (const Standard_Failure&) {
    return false;
  }
  if (check->NbFails() == 0 && check->NbWarnings() == 0 && check->NbInfoMsgs() == 0) {
    return true;
  }
  check->Clear();
  return false;
}

}  // namespace

ReaderTool::ReaderTool(const Handle(StepData_StepReaderData) & data,
                       const Handle(StepData_Protocol) & protocol, const Part21NewNames& renamed,
                       StageProgress& progress)
    : StepData_StepReaderTool(data, protocol),
      data_(data),
      readers_(protocol),
      makers_(protocol),
      isFilled_(static_cast<std::size_t>(data->NbRecords()) + 1),
      doubles_(renamed),
      progress_(progress) {}

ReaderTool::Maker ReaderTool::FindMaker(int record) {
  for (readers_.Start(); readers_.More(); readers_.Next()) {
    const int number = readers_.Module().IsNull() ? 0 : readers_.Module()->CaseNum(data_, record);
    if (number <= 0) {
      continue;
    }
    for (makers_.Start(); makers_.More(); makers_.Next()) {
      if (!makers_.Protocol().IsNull() &&
          makers_.Protocol()->DynamicType() == readers_.Protocol()->DynamicType()) {
        Handle(Standard_Transient) trial;
        return makers_.Module()->NewVoid(number, trial) ? Maker{makers_.Module(), number} : Maker{};
      }
    }
    return {};
  }
  return {};
}

Standard_Boolean ReaderTool::Recognize(const Standard_Integer record, Handle(Interface_Check) & check,
                                       Handle(Standard_Transient) & entity) {
  if (data_->IsComplex(record)) {
    return StepData_StepReaderTool::Recognize(record, check, entity);
  }
  const auto [known, isNew] = makerOf_.try_emplace(&data_->RecordType(record));
  if (isNew) {
    known->second = FindMaker(record);
  }
  return known->second.module.IsNull() ? StepData_StepReaderTool::Recognize(record, check, entity)
                                       : known->second.module->NewVoid(known->second.number, entity);
}

void ReaderTool::FillAhead() {
  const Fillers fillers =
      FindFillers<StepGeom_Axis2Placement2d, StepGeom_Axis2Placement3d, StepGeom_BSplineCurveWithKnots,
                  StepGeom_BSplineSurfaceWithKnots, StepGeom_CartesianPoint, StepGeom_Circle,
                  StepGeom_ConicalSurface, StepGeom_CylindricalSurface, StepGeom_Direction, StepGeom_Ellipse,
                  StepGeom_Line, StepGeom_Pcurve, StepGeom_Plane, StepGeom_SeamCurve,
                  StepGeom_SphericalSurface, StepGeom_SurfaceCurve, StepGeom_ToroidalSurface, StepGeom_Vector,
                  StepRepr_DefinitionalRepresentation, StepShape_AdvancedFace, StepShape_EdgeCurve,
                  StepShape_EdgeLoop, StepShape_FaceBound, StepShape_FaceOuterBound, StepShape_OrientedEdge,
                  StepShape_VertexPoint, StepVisual_StyledItem, StepVisual_SurfaceStyleFillArea,
                  StepVisual_SurfaceStyleUsage>(readers_);
  // OpenCASCADE remembers in static variables where the last record began, but only of the reader data that was made last.
  const Handle(StepData_StepReaderData) last = new StepData_StepReaderData(1, 1, 1);
  const int end = data_->NbRecords() + 1;
  const int first = data_->FindNextRecord(0);
  if (first == 0) {
    return;
  }
  const auto fillChunk = [&](std::size_t chunk) {
    const HandlerStack stack;  // OpenCASCADE may crash here as well
    Handle(Interface_Check) check = new Interface_Check;
    const int begin = first + static_cast<int>(chunk) * kChunkRecords;
    for (int record = begin; record < std::min(begin + kChunkRecords, end); ++record) {
      if (data_->RecordIdent(record) <= 0 || data_->BoundEntity(record).IsNull()) {
        continue;
      }
      const auto filler = fillers.find(data_->BoundEntity(record)->DynamicType().get());
      if (filler != fillers.end() && !data_->IsComplex(record) && !HasBackslash(*data_, record)) {
        isFilled_[static_cast<std::size_t>(record)] = Fill(filler->second, data_, record, check);
      }
    }
  };
  const auto records = static_cast<std::size_t>(end - first);
  ShareOut((records + kChunkRecords - 1) / kChunkRecords, records * kRecordBytes, fillChunk);
}

Standard_Boolean ReaderTool::AnalyseRecord(const Standard_Integer record,
                                           const Handle(Standard_Transient) & entity,
                                           Handle(Interface_Check) & check) {
  if (record % kRecordsBetweenNews == 0) {
    progress_.SetFraction(static_cast<double>(record) / data_->NbRecords());
  }
  if (doubles_.erase(record) > 0) {
    check->AddFail("Another entity before it has the same number");
  }
  if (isFilled_[static_cast<std::size_t>(record)]) {
    isFilled_[static_cast<std::size_t>(record)] = false;  // when it is read again, it is for another entity
    return !check->HasFailed();
  }
  return StepData_StepReaderTool::AnalyseRecord(record, entity, check);
}

}  // namespace mirel
