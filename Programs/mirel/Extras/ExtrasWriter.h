#pragma once

#include <Programs/mirel/Extras/Extras.h>

#include <cstddef>
#include <string>

namespace mirel {

class JsonText;

/// Writes extras. No state.
class ExtrasWriter {
 public:
  /// What a reader takes at most, in bytes of JSON.
  static constexpr std::size_t kMaxBytes = std::size_t{32} << 20;

  /// Adds the object that extras.gz holds.
  static void AddTo(JsonText& json, const Extras& extras);

  /// The content of extras.gz, inflated.
  static std::string ToJson(const Extras& extras);

  /// Puts the file into a folder, given with a separator at its end. Failures are in the log.
  static void Save(const std::string& content, const std::string& folder);
};

}  // namespace mirel
