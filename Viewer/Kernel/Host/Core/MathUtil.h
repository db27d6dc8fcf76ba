#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <glm/mat4x4.hpp>

namespace mirel {

/// Small mathematics. Thread safe: no state.
class MIREL_HOST_API MathUtil {
 public:
  /// True when every element equals that of the identity exactly. There is no tolerance: a placement that is off by
  /// the last digit is kept, so nothing is lost when a transform that "is" the identity is left out of a file.
  static bool IsIdentity(const glm::dmat4& matrix);
};

}  // namespace mirel
