#pragma once

#include <cstdint>

namespace mirel {

/// What can be different between two versions.
enum class ChangeKind : std::uint8_t {
  kAdded,
  kRemoved,
  kReshaped,
  kMoved,
  kReparented,
  kRenamed,
  kRecolored
};

/// What a kind is called: in JSON, and for people.
struct ChangeKindName {
  ChangeKind kind;
  const char* key;
  const char* text;
};

/// In the order of the kinds.
constexpr ChangeKindName kChangeKinds[] = {
    {ChangeKind::kAdded, "added", "added"},
    {ChangeKind::kRemoved, "removed", "removed"},
    {ChangeKind::kReshaped, "reshaped", "shape changed"},
    {ChangeKind::kMoved, "moved", "moved"},
    {ChangeKind::kReparented, "reparented", "moved in tree"},
    {ChangeKind::kRenamed, "renamed", "renamed"},
    {ChangeKind::kRecolored, "recolored", "recoloured"},
};

}  // namespace mirel
