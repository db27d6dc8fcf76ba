#pragma once

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/GL/GLViewOptions.h>
#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <glm/vec2.hpp>
#include <glm/vec4.hpp>

namespace mirel {

/// Most section planes that are drawn; further ones do not cut.
constexpr int kMaxSections = 3;

/// What the shaders know of the view, as the block `View` in them. Points are counted from the eye, so that floats are
/// enough for them.
struct ViewBlock {
  glm::vec4 right, up, forward;
  glm::vec4 eyeHigh, eyeLow;  // from the anchor
  glm::vec4
      lens;  // x, y: clip space of a mm (at a depth of 1 mm in perspective); z, w: shift by the sample's place
  glm::vec4
      depthMap;  // x: nearest depth, in parallel projection the farthest; y: span; z: 1 if reversed; w: 1 in perspective
  glm::vec4
      pixel;  // x: mm (at a depth of 1 mm in perspective); y: offset factor; z: line strength; w: hatch pitch in mm
  glm::vec4 target;
  glm::vec4 key, fill, sky;
  glm::vec4 backdrop;  // linear; w: PictureOptions::Background
  glm::ivec4 size;     // width, height, sections, number of the sample
  glm::ivec4 modes;    // PictureOptions::Edges, has ghosts, has colours, has offsets
  glm::ivec4 counts;   // placements, groups of them, batches, batches of fine bodies
  glm::ivec4
      extras;  // x, y: where the neighbour is that a line may lie before; z, w: selected and hovered faces
  glm::vec4 planes[kMaxSections];
  glm::vec4 hatchAside[kMaxSections], hatchAlong[kMaxSections];
};

/// Fills in what follows from the camera and the options; all that is drawn lies in `box`. `sample` is the place in the pixel, 0 to 1 from its left
/// upper corner.
void FillView(const Camera& camera, const GLViewOptions& options, const AABoxT<double>& box,
              const glm::dvec3& anchor, bool isReversed, ViewBlock& block);
void FillSample(const glm::vec2& sample, int number, const GLViewOptions& options, ViewBlock& block);

}  // namespace mirel
