#pragma once

#include <Bench/Figures.h>

#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>

#include <string>
#include <vector>

namespace mirel::bench {

// What the measurements and their preparation do with XCAF documents, the way OpenCASCADE offers it.
// Everything here throws `std::runtime_error` or `Standard_Failure` when it fails.

/// A new, empty document.
Handle(TDocStd_Document) NewDocument();

/// Reads a STEP file with names, colours and layers, and adds the seconds of "read" and "transfer".
Handle(TDocStd_Document) ReadStep(const std::string& path, Figures& figures);

/// Writes a document in OpenCASCADE's binary format. Triangles are left out unless asked for, as is its
/// default.
void SaveDocument(const Handle(TDocStd_Document) & document, const std::string& path, bool withTriangles);
Handle(TDocStd_Document) OpenDocument(const std::string& path);

/// The bodies of a document: the shape of each part, unplaced, each once.
std::vector<TopoDS_Shape> GetBodies(const Handle(TDocStd_Document) & document);

/// The linear deflection that a graphics representation chooses for a body by itself: 0.001 of its box's
/// diagonal.
double ChooseDeflection(const TopoDS_Shape& body);
constexpr double kAngularDeflection = 0.35;

/// Gives the bodies triangles in place, one body after another, the faces of each in parallel.
void TessellateBodies(const std::vector<TopoDS_Shape>& bodies);

/// Adds "triangles" (of the faces that are stored, each once), "drawnTriangles" (as often as they are
/// placed), "bodies" and "placedShapes".
void CountDocument(const Handle(TDocStd_Document) & document, Figures& figures);

}  // namespace mirel::bench
