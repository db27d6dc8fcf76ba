#pragma once

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>
#include <Viewer/Measure/PartMeasures.h>

#include <glm/vec3.hpp>

#include <cstdint>
#include <vector>

namespace mirel {

class TopoShape;

/// What stays the same of an exact body when it is written anew, its faces in another order, and read by another program.
/// Lengths are millimetres, places those of the body.
struct BodyFigures {
  /// Decodes and measures. What OpenCASCADE cannot measure stays 0. The box is left out where faces say enough, unless it
  /// is asked for: that of curved bodies takes long.
  static BodyFigures Measure(const TopoShape& body, bool withBox);

  /// Lengths that differ by less are equal; areas and volumes, when a surface that much farther out would make up for it.
  static constexpr double kTolerance = 1e-4;
  /// What integrals lose when curves are computed anew, as a part of their value.
  static constexpr double kRelative = 1e-6;

  /// Readers put curves anew into the surfaces of faces whose edges are less exact than they like, anywhere within that.
  struct Face : FaceMeasure {
    double slack = 0.0;  ///< by how much edges are less exact than `kTolerance`
  };

  /// Whether both are one body: the same faces at the same places, around the same volume.
  bool IsEqual(const BodyFigures& other) const;

  /// A length, and how far apart those of equal bodies may be; those of different bodies are equal by accident only.
  double GetSignature() const;
  double GetSignatureReach() const;

  /// In place of a face that there is none of.
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;
  /// For each face of this body the same one of another body, or `kNone`; each of them once.
  std::vector<std::uint32_t> MatchFaces(const BodyFigures& other) const;

  bool isKnown = false;  ///< it could be decoded
  std::uint32_t edgeCount = 0;
  double area = 0.0;
  double volume = 0.0;     ///< 0 for one that encloses nothing
  glm::dvec3 centre{0.0};  ///< of the volume, else of the area
  glm::dvec3 moments{
      0.0};  ///< principal moments of inertia of the volume, else of the area; the smallest first
  AABoxT<double> box;
  double slack = 0.0;       ///< what the slack of the faces leaves open of the area
  std::vector<Face> faces;  ///< in the order of `GRepMesh::faces`
};

}  // namespace mirel
