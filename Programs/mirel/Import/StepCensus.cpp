#include <Programs/mirel/Import/StepCensus.h>

#include <Programs/mirel/Import/EntityFilter.h>

#include <Interface_InterfaceModel.hxx>
#include <StepBasic_ApprovalAssignment.hxx>
#include <StepBasic_CertificationAssignment.hxx>
#include <StepBasic_ContractAssignment.hxx>
#include <StepBasic_DateAndTimeAssignment.hxx>
#include <StepBasic_DateAssignment.hxx>
#include <StepBasic_OrganizationAssignment.hxx>
#include <StepBasic_PersonAndOrganizationAssignment.hxx>
#include <StepBasic_SecurityClassificationAssignment.hxx>
#include <StepData_UndefinedEntity.hxx>
#include <StepRepr_ConstructiveGeometryRepresentation.hxx>
#include <StepVisual_AnnotationOccurrence.hxx>
#include <StepVisual_PointStyle.hxx>
#include <StepVisual_PresentationLayerAssignment.hxx>
#include <TCollection_HAsciiString.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_LayerTool.hxx>

#include <numeric>

namespace mirel {

namespace {

using CensusFilter =
    EntityFilter<StepBasic_PersonAndOrganizationAssignment, StepBasic_OrganizationAssignment,
                 StepBasic_DateAndTimeAssignment, StepBasic_DateAssignment, StepBasic_ApprovalAssignment,
                 StepBasic_SecurityClassificationAssignment, StepBasic_CertificationAssignment,
                 StepBasic_ContractAssignment, StepVisual_AnnotationOccurrence, StepVisual_PointStyle,
                 StepRepr_ConstructiveGeometryRepresentation, StepVisual_PresentationLayerAssignment,
                 StepData_UndefinedEntity>;

template <typename... Types>
bool IsAny(const Standard_Transient& entity) {
  return (entity.IsKind(STANDARD_TYPE(Types)) || ...);
}

// The type that the file gives to an entity of which OpenCASCADE knows no type.
std::string TypeOf(const StepData_UndefinedEntity& entity) {
  std::string type = entity.StepType();
  for (Handle(StepData_UndefinedEntity) next = entity.Next(); !next.IsNull(); next = next->Next()) {
    type += std::string(" ") + next->StepType();
  }
  return type;
}

}  // namespace

void StepCensus::Add(const Interface_InterfaceModel& entities, const Handle(TDocStd_Document) & document) {
  const Handle(XCAFDoc_LayerTool) layers = XCAFDoc_DocumentTool::LayerTool(document->Main());
  CensusFilter filter;
  for (int i = 1; i <= entities.NbEntities(); ++i) {
    const Handle(Standard_Transient)& entity = entities.Value(i);
    if (!filter.Takes(entity)) {
      continue;
    }
    people_ += IsAny<StepBasic_PersonAndOrganizationAssignment, StepBasic_OrganizationAssignment>(*entity);
    dates_ += IsAny<StepBasic_DateAndTimeAssignment, StepBasic_DateAssignment>(*entity);
    approvals_ += IsAny<StepBasic_ApprovalAssignment, StepBasic_SecurityClassificationAssignment,
                        StepBasic_CertificationAssignment, StepBasic_ContractAssignment>(*entity);
    annotations_ += IsAny<StepVisual_AnnotationOccurrence>(*entity);
    pointStyles_ += IsAny<StepVisual_PointStyle>(*entity);
    if (const auto geometry = Handle(StepRepr_ConstructiveGeometryRepresentation)::DownCast(entity)) {
      supplementalGeometry_ += static_cast<std::uint64_t>(geometry->NbItems());
    } else if (const auto layer = Handle(StepVisual_PresentationLayerAssignment)::DownCast(entity)) {
      TDF_Label found;
      if (!layer->Name().IsNull() &&
          !layers->FindLayer(TCollection_ExtendedString(layer->Name()->String()), found)) {
        unreadLayers_.insert(layer->Name()->ToCString());
      }
    } else if (const auto unknown = Handle(StepData_UndefinedEntity)::DownCast(entity)) {
      AddUnknown(TypeOf(*unknown));
    }
  }
}

// A context says what the numbers of others mean, and nothing itself.
void StepCensus::AddUnknown(const std::string& type) {
  if (type.find("ANNOTATION") != std::string::npos) {
    ++annotations_;
  } else if (type.find("_CONTEXT") == std::string::npos) {
    ++unknown_[type];
  }
}

std::vector<LossReport::Loss> StepCensus::GetLosses() const {
  LossReport::Loss unknown{
      "unknownEntities", "entity|entities of types that OpenCASCADE does not know", 0, {}};
  for (const auto& [type, count] : unknown_) {
    unknown.count += count;
    unknown.details.push_back(std::to_string(count) + " " + type);
  }
  return {
      {"people", "assignment|assignments of persons and organisations to products", people_, {}},
      {"dates", "assignment|assignments of dates to products", dates_, {}},
      {"approvals",
       "assignment|assignments of approvals, classifications and contracts to products",
       approvals_,
       {}},
      {"annotations", "annotation|annotations of drawings", annotations_, {}},
      {"supplementalGeometry", "item|items of supplemental geometry", supplementalGeometry_, {}},
      {"pointStyles", "style|styles of points", pointStyles_, {}},
      {"unreadLayers", "layer|layers that OpenCASCADE does not read", unreadLayers_.size(), {}},
      unknown,
  };
}

}  // namespace mirel
