#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>
#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <iosfwd>
#include <memory>
#include <utility>

namespace mirel {

class BodyArrival;
class EarlyTessellation;
class MaterialInstance;
class TopoShape;

/// The graphics representation of a body: what a viewer draws of it, and the body itself once it is known.
///
/// A GRep is made from a body (`Create`, then `Compute`), or read from the record that `ToStream` wrote
/// (`FromStream`) and given its body later (`SetShape`). Reading never tessellates.
///
/// Thread safety: different GReps may be used by different threads at once, `Compute` included, also when
/// they share a body. One GRep may be read by several threads while none changes it, but for its body: that may be given
/// to it, without computing anew, while others read.
class MIREL_HOST_API GRepShape {
 public:
  /// A GRep of `shape` that draws nothing yet: its box is empty until `Compute`. An empty pointer, with a
  /// notice (level 1), when `shape` is an empty pointer or holds no shape.
  ///
  /// The materials (of faces and of edges) are accepted for the viewer's sake and not used here; null is
  /// fine. `deflection` is the largest distance in mm between a triangle and its face; 0 chooses 0.001 of the
  /// diagonal of the exact body's box. `withEdges` asks for the polylines of the edges too.
  ///
  /// When several GReps wait for `Compute`, idle processor cores begin with them: whoever makes GReps of many
  /// bodies and does something else before it computes them finds part of the work done. Nothing else shows
  /// it but the time, and notices that come before `Compute` is called. The last such GRep waits, when it is
  /// destroyed, for what the threads are at.
  static std::shared_ptr<GRepShape> Create(const std::shared_ptr<TopoShape>& shape,
                                           MaterialInstance* faceMaterial, MaterialInstance* edgeMaterial,
                                           double deflection, bool withEdges);

  /// Reads one record and leaves the stream behind it; no byte beyond the record is needed, and the stream
  /// need not be seekable. An empty pointer, with a notice (level 1) that gives the reason, when the bytes
  /// are not a record that `ToStream` wrote, or are damaged in a way that could lead a viewer astray:
  /// whatever comes back has finite positions and indices inside its arrays. Memory is taken in proportion to
  /// the bytes that are there, not to the sizes that they claim. The stream's position is undefined after a
  /// failure.
  static std::shared_ptr<GRepShape> FromStream(std::istream& stream);

  virtual ~GRepShape();

  GRepShape(const GRepShape&) = delete;
  GRepShape& operator=(const GRepShape&) = delete;

  /// Tessellates the body. A private copy of it is meshed: the caller's shape is neither changed nor given
  /// triangles. The same body gives the same mesh whatever other threads do. Faces that could not be meshed
  /// have no triangles and are named in notices (level 1). Does nothing to a GRep without a body. Throws
  /// nothing.
  ///
  /// Always ends. OpenCASCADE's mesher may run for ever on a damaged or hostile body, and most of its loops
  /// cannot be told to stop. So the work is done on a thread of its own, and given up when it makes no
  /// progress for a minute (`SetPatience`; a little more for a body of many faces) or takes out of all
  /// proportion to the number of faces: a message at level 3 names the body by kind and size, and the GRep
  /// draws nothing, with an empty box. A thread that does not even end then is abandoned. It keeps its
  /// memory and runs on at the lowest priority; see `CountAbandoned`. Once 64 threads are left like that,
  /// every further body is given up at once.
  virtual void Compute();

  /// For how many seconds `Compute` may make no progress before it gives up, from the next call on, in the
  /// whole process. 0, negative or not a number: 60, as at first. Any thread may call it.
  static void SetPatience(double seconds);

  /// How many bodies `Compute` has given up in this process so far. Any thread may call it.
  static unsigned CountGivenUp();

  /// The number of threads that were abandoned and still run. While there are any, a process must not end by
  /// destroying its static objects, those of OpenCASCADE among them, under their feet: it should write out
  /// what it has to and leave by `std::_Exit`. Any thread may call it.
  static unsigned CountAbandoned();

  /// Appends the record of this GRep to the stream: the same bytes for the same mesh. False when the stream
  /// refused them or the mesh is too large for a record; then nothing may have been appended, or a part.
  bool ToStream(std::ostream& stream) const;

  /// The same with what a picture needs and no more (`MakeDrawing`), for those to whom every byte counts: a record of the first
  /// version.
  bool ToDrawingStream(std::ostream& stream) const;

  /// Gives the GRep its body. What is drawn stays as it is, unless `recompute` is set: then it is computed
  /// anew, with the parameters that the GRep was made with. False, and nothing changes, when `shape` is
  /// empty.
  bool SetShape(const std::shared_ptr<TopoShape>& shape, bool recompute);

  /// The body; an empty pointer for a GRep that was read and not given one, or not yet. Does not wait.
  std::shared_ptr<TopoShape> GetShape() const;

  /// Says that the body will be given to it later, if it can be had. To be called before other threads know the GRep.
  void ExpectShape(std::shared_ptr<const BodyArrival> arrival) { arrival_ = std::move(arrival); }
  /// Whether the body is still on its way.
  bool IsShapeExpected() const;
  /// The body. Waits for it as long as it is on its way; an empty pointer when it has not come. Any thread may call it but
  /// the one that brings the body.
  std::shared_ptr<TopoShape> WaitForShape() const;

  /// The id of the body in its model, under which packages, items and messages name it; the default id when it was not
  /// opened with a model.
  const ObjectId& GetBodyId() const { return bodyId_; }
  void SetBodyId(const ObjectId& id) { bodyId_ = id; }

  /// The box of what is drawn, in the coordinates of the body; see `GRepMesh::box`.
  const AABoxT<double>& GetBoundingBox() const { return mesh_.box; }

  /// What is drawn.
  const GRepMesh& GetMesh() const { return mesh_; }

 private:
  GRepShape(const std::shared_ptr<TopoShape>& shape, double deflection, bool withEdges);

  std::shared_ptr<TopoShape> shape_;  // loaded and stored atomically
  std::shared_ptr<const BodyArrival> arrival_;
  ObjectId bodyId_;
  double deflection_;
  bool withEdges_;
  std::unique_ptr<EarlyTessellation> early_;  // from Create to the first Compute
  GRepMesh mesh_;
  MemoryBudget::Share memory_;  // for a mesh that was read
};

}  // namespace mirel
