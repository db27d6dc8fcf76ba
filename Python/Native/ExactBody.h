#pragma once

#include <Python/Native/Model.h>

#include <Viewer/Measure/PartMeasures.h>

#include <glm/mat4x4.hpp>

#include <memory>
#include <string>

namespace mirel {
class GRepShape;
}

namespace mirel::python {

/// Why something of a body cannot be told; for the user.
struct ExactFailure {
  std::string reason;
};

/// The exact body of a part. Decoded when it is asked for something for the first time, and then for all parts that place it. What OpenCASCADE computes from it, it computes in a process of its own, as nobody vouches for the body: where that
/// fails, `ExactFailure` is thrown. All can be interrupted.
class ExactBody {
 public:
  /// `part` is a shape.
  explicit ExactBody(const Part& part);

  /// Where the part stands: as large as its placement makes it. Of bodies that are only turned and moved it is computed once.
  BodyMeasure Measure() const;
  /// BRep text of format version 3, in the coordinates of the body.
  std::string MakeText() const;

 private:
  const std::shared_ptr<const Model> model_;  // keeps the graphics
  const std::shared_ptr<GRepShape> grep_;
  const glm::dmat4 placement_;
};

}  // namespace mirel::python
