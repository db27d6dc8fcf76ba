// Packages of exact bodies.

#include <Fuzz/Support/PackageCheck.h>
#include <Fuzz/Support/SameBody.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>
#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

#include <TopoDS_Shape.hxx>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

struct ShapePolicy {
  using Reader = PkgShapeReader;
  using Writer = PkgShapeWriter;
  using Item = TopoShape;
  static const LiteModel::ShapeTable& GetTable(const LiteModel& model) { return model.GetShape(); }
  static bool CheckItem(const TopoShape& body) { return !body.GetImpl().IsNull(); }
  static std::string GetBytes(const TopoShape& body) { return WriteBody(body); }
  static bool IsSame(const std::string& a, const std::string& b) { return IsSameBody(a, b); }
};

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string package(reinterpret_cast<const char*>(data), size);
  return ReturnInput(MutatePackage(package, random, maxSize, MutateBodyText), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CheckPackage<ShapePolicy>(reinterpret_cast<const char*>(data), size);
  return 0;
}
