#pragma once

#include <Programs/mirel/Save/ModelCounts.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

/// What a save did: the numbers of the source against those of the folder, everything that the folder does
/// not hold, and how long it took.
struct LossReport {
  struct Loss {
    std::string key;   ///< in JSON
    std::string text;  ///< for people; a word that the count changes as "layer|layers" (`Plural`)
    std::uint64_t count = 0;
    std::vector<std::string> details;  ///< lines for people, as they came
  };

  std::string input;
  std::string format;
  std::uint64_t inputBytes = 0;
  std::string folder;
  std::uint64_t folderBytes = 0;

  ModelCounts source;
  ModelCounts saved;
  std::uint64_t colorVariants = 0;  ///< types made only to show a product in another colour
  std::vector<Loss> losses;         ///< every kind, also those that did not happen
  std::vector<Loss> kept;           ///< likewise, what is not in the model but in extras.gz
  std::vector<Loss> remarks;        ///< likewise, what is wrong with the source but loses nothing
  std::vector<std::pair<std::string, double>> seconds;  ///< stage -> seconds, in order

  /// True when a number of the folder differs from that of the source, or any loss happened.
  bool HasLosses() const;

  /// For people: losses that did not happen are left out.
  std::string ToText() const;

  /// One JSON object with everything.
  std::string ToJson() const;
};

}  // namespace mirel
