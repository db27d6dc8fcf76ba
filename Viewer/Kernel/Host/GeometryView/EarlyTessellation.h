#pragma once

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <memory>

namespace mirel {

class TopoShape;

/// A tessellation that somebody is going to ask for. It is done ahead where that helps.
///
/// Whoever saves a model announces one body after another and writes its text in between, all on one thread, and only
/// then asks for the meshes. Other processor cores need not be idle until then: from the second body that waits on,
/// threads of the process's own take them in order, one for each further core. A body that is announced alone waits
/// until it is asked for. The mesh is the same in any case.
///
/// The threads end with the last of these objects, which waits for a body that they are at.
class EarlyTessellation {
 public:
  EarlyTessellation(const std::shared_ptr<TopoShape>& shape, double deflection, bool withEdges);
  ~EarlyTessellation();

  EarlyTessellation(const EarlyTessellation&) = delete;
  EarlyTessellation& operator=(const EarlyTessellation&) = delete;

  /// What `Tessellate` returns: at once, or after waiting, or after doing it here if nobody has begun. To be called
  /// once.
  GRepMesh Take();

 private:
  struct Job;
  class Helpers;

  std::shared_ptr<Job> job_;
  std::shared_ptr<Helpers> helpers_;
};

}  // namespace mirel
