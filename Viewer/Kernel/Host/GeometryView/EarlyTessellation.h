#pragma once

#include <Viewer/Kernel/Host/GeometryView/GRepMesh.h>

#include <memory>

namespace mirel {

class TopoShape;

/// A tessellation that somebody is going to ask for. It is done ahead where that helps.
///
/// Whoever saves a model announces one body after another and writes its text in between, all on one thread, and only
/// then asks for the meshes. Other processor cores need not be idle until then: from the second body that waits on,
/// threads of the process's own take them, the one with the most work first, one thread for each further core. A body
/// that is announced alone waits until it is asked for. However many ask at once, no more bodies are tessellated at a
/// time than there are cores, so that a large one that was begun early is not held up by the others; unless some take
/// long, for nobody waits more than ten seconds for a core. The mesh is the same in any case.
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
  class Crew;

  std::shared_ptr<Job> job_;
  std::shared_ptr<Crew> crew_;
};

}  // namespace mirel
