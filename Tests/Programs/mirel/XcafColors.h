#pragma once

#include <Tests/Programs/mirel/BodyRays.h>

#include <TDocStd_Document.hxx>

#include <glm/vec3.hpp>

#include <memory>
#include <string>
#include <vector>

class gp_Lin;

namespace mirel {

/// The colours that OpenCASCADE's own presentation of a document gives to the faces that a ray meets.
class XcafColors {
 public:
  /// Of a STEP file; fails the test when it cannot be read.
  explicit XcafColors(const std::string& stepFile);

  /// The colours, sRGB, of all faces that a line meets at a distance, give or take `tolerance`; `none` for one without.
  std::vector<glm::vec3> FindColors(const gp_Lin& line, double distance, double tolerance,
                                    const glm::vec3& none) const;

 private:
  struct Body {
    std::vector<glm::vec3> colors;  // by face; negative for none
    std::unique_ptr<BodyRays> rays;
  };

  void Add(const TopoDS_Shape& shape, const TopLoc_Location& location, const TDF_Label& product,
           const glm::vec3& own);

  Handle(TDocStd_Document) document_;
  std::vector<std::unique_ptr<Body>> bodies_;
};

}  // namespace mirel
