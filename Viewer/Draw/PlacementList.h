#pragma once

#include <Viewer/Draw/DrawExport.h>

#include <glm/mat3x3.hpp>
#include <glm/mat4x3.hpp>
#include <glm/vec3.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mirel {

/// How bodies are turned, mirrored and scaled in a scene, each way once. Bodies are at many places, but turned in few ways.
///
/// Thread safety: as a standard container.
class MIREL_DRAW_API PlacementTurns {
 public:
  PlacementTurns();
  PlacementTurns(const PlacementTurns&) = delete;
  PlacementTurns& operator=(const PlacementTurns&) = delete;

  /// The number of a turn; equal ones, bit by bit, have the same.
  std::uint32_t Add(const glm::dmat3& turn);
  const glm::dmat3& Get(std::uint32_t number) const { return turns_[number]; }
  std::size_t GetCount() const { return turns_.size(); }

  /// To be called after the last `Add`: gives back what only that needs.
  void Finish();

 private:
  struct Hash {
    const std::vector<glm::dmat3>* turns;
    std::size_t operator()(std::uint32_t number) const;
  };
  struct Equal {
    const std::vector<glm::dmat3>* turns;
    bool operator()(std::uint32_t a, std::uint32_t b) const;
  };
  using Known = std::unordered_set<std::uint32_t, Hash, Equal>;

  std::vector<glm::dmat3> turns_;
  Known known_;
};

/// Where bodies are: matrices from their coordinates to those of the scene, in mm, column by column. Takes 28 bytes for each,
/// and 72 for each way to turn.
///
/// Thread safety: as a standard container.
class MIREL_DRAW_API PlacementList {
 public:
  explicit PlacementList(std::shared_ptr<PlacementTurns> turns) : turns_(std::move(turns)) {}

  void push_back(const glm::dmat4x3& placement);
  void shrink_to_fit();
  std::size_t size() const { return origins_.size(); }

  glm::dmat4x3 operator[](std::size_t i) const;
  const glm::dmat3& GetTurn(std::size_t i) const { return turns_->Get(turnOf_[i]); }
  /// Its number among those of the scene.
  std::uint32_t GetTurnNumber(std::size_t i) const { return turnOf_[i]; }
  /// Where the origin of the body's coordinates is.
  const glm::dvec3& GetOrigin(std::size_t i) const { return origins_[i]; }
  void SetOrigin(std::size_t i, const glm::dvec3& origin) { origins_[i] = origin; }

  /// Over matrices, in order.
  class Iterator {
   public:
    Iterator(const PlacementList& list, std::size_t at) : list_(&list), at_(at) {}
    glm::dmat4x3 operator*() const { return (*list_)[at_]; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return at_ != other.at_; }

   private:
    const PlacementList* list_;
    std::size_t at_;
  };
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }

 private:
  std::shared_ptr<PlacementTurns> turns_;  // those of the scene
  std::vector<glm::dvec3> origins_;
  std::vector<std::uint32_t> turnOf_;
};

}  // namespace mirel
