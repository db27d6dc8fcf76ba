#include <Viewer/Kernel/Host/Core/MathUtil.h>

namespace mirel {

bool MathUtil::IsIdentity(const glm::dmat4& matrix) {
  return matrix == glm::dmat4(1.0);
}

}  // namespace mirel
