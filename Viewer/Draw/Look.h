#pragma once

#include <glm/vec3.hpp>

namespace mirel::look {

// What pictures and windows look like: the same numbers, whether rays draw or a graphics card.

/// Linear light.
const glm::vec3 kLineColor(0.012f, 0.014f, 0.018f);
/// sRGB, and how much of it a selected surface takes.
const glm::vec3 kSelectionColor(1.0f, 0.55f, 0.08f);
constexpr float kSelectionStrength = 0.75f;
/// The same of what the mouse is over, in a window.
const glm::vec3 kHoverColor(1.0f, 0.86f, 0.55f);
constexpr float kHoverStrength = 0.45f;

/// Of the light that falls on a surface, for one that is seen from within the material.
constexpr float kBackLight = 0.6f;

/// Ghosts: how opaque they are where they are seen straight on, and at their rims.
constexpr float kGhostBody = 0.10f, kGhostRim = 0.40f, kGhostLine = 0.35f;

/// Between the lines of a hatch, in pixels, and their width; each body has one of a few pitches.
constexpr float kHatchPitch = 11.0f, kHatchWidth = 1.1f, kHatchStrength = 0.45f;
constexpr float kHatchPitchStep = 0.12f;

/// Edges: 18 degrees between the faces; and pixels by which a surface that is farther off has nothing to do with its
/// neighbour.
constexpr float kSharpCosine = 0.95f;
constexpr float kStepPixels = 2.5f;

/// The lamps, as seen from the camera (to the right, upwards, towards the viewer), and the room.
const glm::vec3 kKeyDirection(-0.45f, 0.80f, 0.75f), kFillDirection(0.85f, 0.05f, 0.55f);
constexpr float kKeyStrength = 0.62f, kFillStrength = 0.20f;
constexpr float kSkyLight = 0.62f, kGroundLight = 0.34f;
constexpr float kGloss = 0.10f, kGlossPower = 28.0f, kRimLight = 0.06f;
/// What closed-in places keep of the lamps' light.
constexpr float kLampInCorners = 0.35f;

/// The cut through a body.
constexpr float kCutLight = 0.92f, kCutGlow = 0.06f;

/// The backdrop, sRGB.
const glm::vec3 kBackdropTop(0.80f, 0.85f, 0.91f), kBackdropBottom(0.985f, 0.985f, 0.98f);

/// The number that a body's hatch depends on: neighbours should differ.
constexpr unsigned Scatter(unsigned number) {
  return (number * 2654435761u) >> 28;
}

/// Half the width of lines in pixels, and how dark they are (0 to 1), in a picture whose smaller side has so many
/// pixels.
constexpr float GetLineRadius(float side) {
  return side < 1100.0f ? 1.0f : side > 1540.0f ? 1.4f : side / 1100.0f;
}
constexpr float GetLineStrength(float side) {
  return side < 540.0f ? 0.6f : side > 792.0f ? 0.88f : side / 900.0f;
}

}  // namespace mirel::look
