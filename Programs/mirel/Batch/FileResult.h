#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// What became of one of many files.
struct FileResult {
  enum class Outcome {
    kSaved,
    kPresent,  ///< passed over: its folder was made of the same content
    kUnreadable,
    kUnwritten,
    kCrashed,
    kTimedOut,
    kOutOfMemory,
    kKilled,
    kSound,  ///< these are of --check
    kMissing,
    kOutdated,
    kDamaged,
  };

  std::string file;
  std::string folder;
  Outcome outcome = Outcome::kCrashed;
  double seconds = 0.0;
  std::uint64_t memory = 0;  ///< the most that was resident
  bool hasLosses = false;
  std::vector<std::pair<std::string, std::uint64_t>> losses;  ///< those that happened
  std::vector<std::string> messages;                          ///< lines

  /// Whether the folder is there and right.
  bool IsGood() const;
  static const char* GetName(Outcome outcome);

  /// What a process that converts tells of it to the one that waits: outcome and losses.
  std::string ToReply() const;
  void TakeReply(const std::string& reply);

  /// A line of JSON.
  std::string ToJson() const;
  /// A line for people, for one that is good.
  std::string ToText() const;
};

}  // namespace mirel
