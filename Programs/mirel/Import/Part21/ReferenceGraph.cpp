#include <Programs/mirel/Import/Part21/ReferenceGraph.h>

#include <Programs/mirel/HandlerStack.h>

#include <Viewer/Kernel/Host/Core/ShareOut.h>

#include <Interface_EntityIterator.hxx>
#include <Interface_GTool.hxx>
#include <Interface_GeneralLib.hxx>
#include <Interface_GeneralModule.hxx>
#include <Interface_Graph.hxx>
#include <Interface_ReportEntity.hxx>
#include <Standard_Type.hxx>

#include <algorithm>
#include <array>
#include <unordered_map>
#include <vector>

namespace mirel {

namespace {

constexpr int kChunkEntities = 8192;
constexpr std::size_t kEntityBytes = 64;  // about, of the text
constexpr int kSlices = 16;

struct Reference {
  int to;
  int from;
};

// The references of some entities, in the order of these, by the slice of the model that they lead to.
using Chunk = std::array<std::vector<Reference>, kSlices>;

// OpenCASCADE knows by the type of an entity how to find the others in it.
struct Case {
  Handle(Interface_GeneralModule) module;
  int number = 0;
};

class ReferenceFinder {
 public:
  ReferenceFinder(const Interface_InterfaceModel& model, const Interface_GeneralLib& library)
      : model_(model), library_(library), sliceEntities_(model.NbEntities() / kSlices + 1) {}

  Chunk FindIn(int first, int end) const {
    Chunk chunk;
    std::unordered_map<const Standard_Type*, Case> cases;
    for (int from = first; from < end; ++from) {
      const Handle(Standard_Transient)& entity = model_.Value(from);
      Interface_EntityIterator found;
      if (model_.IsRedefinedContent(from)) {
        AddFound(model_.ReportEntity(from)->Content(), cases, found);
      } else {
        AddFound(entity, cases, found);
      }
      for (found.Start(); found.More(); found.Next()) {
        const int to = found.Value() == entity ? 0 : model_.Number(found.Value());
        if (to > 0) {
          chunk[static_cast<std::size_t>((to - 1) / sliceEntities_)].push_back({to, from});
        }
      }
    }
    return chunk;
  }

 private:
  void AddFound(const Handle(Standard_Transient) & entity,
                std::unordered_map<const Standard_Type*, Case>& cases,
                Interface_EntityIterator& found) const {
    const auto [known, isNew] = cases.try_emplace(entity->DynamicType().get());
    if (isNew) {
      library_.Select(entity, known->second.module, known->second.number);
    }
    if (!known->second.module.IsNull()) {
      known->second.module->FillSharedCase(known->second.number, entity, found);
    }
  }

  const Interface_InterfaceModel& model_;
  const Interface_GeneralLib& library_;
  const int sliceEntities_;
};

// OpenCASCADE's graph with all its entries, of which none is filled in.
Handle(Interface_HGraph) MakeEmptyGraph(const Handle(Interface_InterfaceModel) & model) {
  const Handle(Interface_GTool) tool = model->GTool();
  model->SetGTool(Handle(Interface_GTool)());
  const Handle(Interface_HGraph) graph = new Interface_HGraph(model, Standard_False);
  model->SetGTool(tool);
  return graph;
}

}  // namespace

Handle(Interface_HGraph) MakeReferenceGraph(const Handle(Interface_InterfaceModel) & model) {
  const Handle(Interface_HGraph) graph = MakeEmptyGraph(model);
  const Interface_GeneralLib library(model->Protocol());
  const ReferenceFinder finder(*model, library);
  const int entities = model->NbEntities();
  const std::size_t bytes = static_cast<std::size_t>(entities) * kEntityBytes;
  std::vector<Chunk> chunks(static_cast<std::size_t>((entities + kChunkEntities - 1) / kChunkEntities));
  ShareOut(chunks.size(), bytes, [&](std::size_t i) {
    const HandlerStack stack;  // OpenCASCADE may crash here as well
    const int first = 1 + static_cast<int>(i) * kChunkEntities;
    chunks[i] = finder.FindIn(first, std::min(first + kChunkEntities, entities + 1));
  });
  TColStd_Array1OfListOfInteger& sharings = graph->Graph().SharingTable()->ChangeArray1();
  ShareOut(kSlices, bytes, [&](std::size_t slice) {
    for (const Chunk& chunk : chunks) {
      for (const Reference& reference : chunk[slice]) {
        sharings.ChangeValue(reference.to).Append(reference.from);
      }
    }
  });
  return graph;
}

}  // namespace mirel
