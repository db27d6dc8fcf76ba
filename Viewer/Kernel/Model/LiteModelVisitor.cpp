#include <Viewer/Kernel/Model/LiteModelVisitor.h>

namespace mirel {

LiteModelVisitor::LiteModelVisitor() = default;

LiteModelVisitor::~LiteModelVisitor() = default;

}  // namespace mirel
