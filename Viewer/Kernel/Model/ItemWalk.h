#pragma once

#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace mirel {

class LiteModelItem;
class ObjectId;

/// Bounds a walk through a model's items: how deep it goes, how many items it visits, and that it enters no type that
/// it is in already. Whoever walks enters each group and each type through a `Level` and goes down only when that says
/// so; what is left out has then been logged.
class ItemWalk {
 public:
  /// Stands for being inside a group, or inside a type on behalf of an instance. A false one must not be gone into.
  class Level {
   public:
    /// Into a group's children; without any, a false level and no message.
    Level(ItemWalk& walk, const LiteModelItem& group, std::size_t childCount);
    /// Into a type, on behalf of an instance of it.
    Level(ItemWalk& walk, const LiteModelItem& instance, const LiteModelItem& type);
    ~Level();

    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

    explicit operator bool() const { return entered_; }

   private:
    ItemWalk& walk_;
    bool isType_;
    bool entered_ = false;
  };

  /// The walk through a whole model, item after item, as long as this lives; without one, each top-level item that a
  /// visitor is applied to is a walk of its own.
  class Model {
   public:
    Model();
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

   private:
    std::uint64_t outer_;
  };

  /// Counts an item more (`CountAsWalkItems`). False when the walk has visited as many as it may; that is logged once.
  bool CountItem(const LiteModelItem& item, std::size_t faceColors = 0);

  bool IsAtTop() const { return depth_ == 0; }

  /// Says that something is left out that the walk has come to.
  void NoteLeftOut() { ++leftOut_; }

  /// What the walk goes through between two moments at one level.
  struct Content {
    std::uint64_t items = 0;
    int levels = 0;  ///< that were entered in each other
  };
  struct Mark {
    std::uint64_t items;
    std::uint64_t leftOut;
    int deepest;
  };
  Mark SetMark();
  /// The content since the mark; nothing when something of it was left out.
  std::optional<Content> GetContent(const Mark& mark);
  /// Counts the same once more where the walk is now, as if it had gone through it. False, and nothing is counted, when
  /// not all of it would be allowed here.
  bool Repeat(const Content& content);

 private:
  bool Enter(const LiteModelItem& item);

  int depth_ = 0;
  std::uint64_t walk_ = 0;  // which one it counts for
  std::uint64_t items_ = 0;
  std::uint64_t leftOut_ = 0;
  int deepest_ = 0;                          // since the mark
  std::vector<const LiteModelItem*> types_;  // the types that the walk is in, outermost first
};

/// Notes (level 1) which item lacks what, before the failure is logged in words that do not say it.
void NoteMissing(const LiteModelItem& item, const char* what, const ObjectId& id);

}  // namespace mirel
