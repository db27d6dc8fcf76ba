#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <memory>
#include <string>

class TopoDS_Shape;

namespace mirel {

/// An exact body: the host's wrapper of an OpenCASCADE shape.
///
/// A body comes from a `TopoDS_Shape` or from BRep text. Text is checked in one linear pass when it is read
/// and kept as text; OpenCASCADE decodes it when `GetImpl` is called for the first time. A viewer that only
/// shows a model thus never pays for decoding its bodies, in time or in memory.
///
/// Thread safety: all operations of one body may be called from several threads at once. What they return
/// must not be changed: the shape is shared. Meshing it in place, for one, is a change; mesh a copy.
class MIREL_HOST_API TopoShape {
 public:
  /// Wraps a shape; the geometry is shared with the caller, not copied. A null shape gives an empty body.
  explicit TopoShape(const TopoDS_Shape& shape);
  ~TopoShape();

  TopoShape(const TopoShape&) = delete;
  TopoShape& operator=(const TopoShape&) = delete;

  /// The OpenCASCADE shape, a null shape when the body is empty. The first call on a body that came from text
  /// decodes it (concurrent first calls wait for one decoding) and frees the text; text that passed the check
  /// and still fails to decode is reported once at level 3 and gives a null shape from then on. Throws
  /// nothing.
  const TopoDS_Shape& GetImpl() const;

  /// Makes a body from BRep text as `BRepTools::Write` writes it (format version 3, with or without
  /// triangles).
  ///
  /// The text is checked against the whole grammar, its tables, references and numeric rules in one pass that
  /// builds nothing, because OpenCASCADE's own reader may crash, hang or invent a shape on text that breaks
  /// them. Text that fails gives an empty pointer and a notice (level 1) with byte position and reason. Bytes
  /// behind the shape other than white space fail the check too.
  ///
  /// Whatever `BRepTools::Write` writes passes, but for what OpenCASCADE itself does not read back:
  /// - numbers that are not finite, or not when they are rounded to 15 digits; a face with an empty triangulation;
  ///   an offset of a curve with a corner; knots or weights of a B-spline that are no longer in order when rounded;
  ///
  /// and for what makes OpenCASCADE crash or run for ever, here or on other systems:
  /// - shapes nested in each other more than 500 deep, or that unfold to more than 50 million;
  /// - placements with more than 1,024 factors on the way from the shape to a sub-shape, with a power beyond
  ///   2,097,151, or with so many factors in all that the sum of their squares is above 50 million;
  /// - an edge that runs round a periodic B-spline more than 10,000 times, or has more than 4,096 curves and
  ///   polygons; a trim as far away from its periodic basis.
  static std::shared_ptr<TopoShape> Read(const std::string& text);
  /// The same, but good text is taken over instead of copied: bodies are most of what a model folder holds.
  static std::shared_ptr<TopoShape> Read(std::string&& text);

  /// Makes a body from the content of a BRep text file, whatever program has written it: as `Read`, but format
  /// versions 1 and 2 pass too, and what stands behind the shape is passed over with a notice.
  static std::shared_ptr<TopoShape> ReadFile(std::string&& text);

 private:
  struct State;
  explicit TopoShape(std::unique_ptr<State> state);
  static std::shared_ptr<TopoShape> FromGoodText(std::string&& text);

  std::unique_ptr<State> state_;
};

}  // namespace mirel
