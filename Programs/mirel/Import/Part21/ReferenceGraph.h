#pragma once

#include <Interface_HGraph.hxx>
#include <Interface_InterfaceModel.hxx>

namespace mirel {

/// Who refers to whom, of all entities of a model that has a protocol: the graph that OpenCASCADE makes of it, entry by entry, but
/// made on all cores. Nobody may change the model or its entities meanwhile.
Handle(Interface_HGraph) MakeReferenceGraph(const Handle(Interface_InterfaceModel) & model);

}  // namespace mirel
