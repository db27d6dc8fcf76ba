#pragma once

#include <Programs/mirel/Diff/ChangeKind.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>

#include <glm/vec3.hpp>

#include <cstdint>

namespace mirel {

/// How differences look in pictures and windows. Where several things are to be told of a part, the last of them shows.
enum class ChangeLook : std::uint8_t { kRest, kChanged, kAdded, kGone };

/// The look of a node of which a change is told, and of all below it. A group that has only another name shows it nowhere.
inline ChangeLook FindChangeLook(ChangeKind kind, bool isPart) {
  switch (kind) {
  case ChangeKind::kAdded:
    return ChangeLook::kAdded;
  case ChangeKind::kRemoved:
    return ChangeLook::kGone;
  case ChangeKind::kRenamed:
    return isPart ? ChangeLook::kChanged : ChangeLook::kRest;
  case ChangeKind::kReshaped:
  case ChangeKind::kMoved:
  case ChangeKind::kReparented:
  case ChangeKind::kRecolored:
    break;
  }
  return ChangeLook::kChanged;
}

/// Red, green and yellow that those who confuse red and green tell apart by their brightness.
inline glm::vec3 GetChangeColor(ChangeLook look) {
  switch (look) {
  case ChangeLook::kGone:
    return {0.80f, 0.10f, 0.10f};
  case ChangeLook::kAdded:
    return {0.15f, 0.70f, 0.25f};
  case ChangeLook::kChanged:
    return {1.00f, 0.82f, 0.10f};
  case ChangeLook::kRest:
    break;
  }
  return BrepSceneNode::kDefaultColor;
}

}  // namespace mirel
