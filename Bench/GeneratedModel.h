#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>

#include <TopoDS_Shape.hxx>

#include <cstddef>
#include <memory>
#include <string>

namespace mirel {
class LiteModel;
class TopoShape;
}  // namespace mirel

namespace mirel::bench {

/// Models of any size, always the same for the same arguments. Items have names, placements and, one in four,
/// colours, as those of real assemblies do. Shape items show bodies by these ids: `BodyId(0)`, `BodyId(1)`,
/// ...; putting the bodies (or their graphics) into the model is the caller's.
class GeneratedModel {
 public:
  static ObjectId BodyId(std::size_t body);

  /// `count` shape items at the top level that take turns at `bodies` bodies.
  static void AddFlat(LiteModel& model, std::size_t count, std::size_t bodies);

  /// `count` items (within one chain) in chains of `depth` levels: a group and a shape item on each level, a
  /// shape item on the last.
  static void AddDeep(LiteModel& model, std::size_t count, int depth);

  /// `count` items in groups of `width` children, each of which shows the first body.
  static void AddWide(LiteModel& model, std::size_t count, std::size_t width);

  /// `count` instances at the top level of `types` types, each type a shape item. Tags are set for saving.
  static void AddShared(LiteModel& model, std::size_t count, std::size_t types);

  /// A body of `faces` separate square faces in a grid, 10 mm each: what grows with it is text and nothing
  /// else.
  static TopoDS_Shape MakeBody(std::size_t faces);
};

}  // namespace mirel::bench
