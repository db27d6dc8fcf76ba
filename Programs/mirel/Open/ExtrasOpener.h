#pragma once

#include <Programs/mirel/Extras/Extras.h>

#include <optional>
#include <string>

namespace mirel {

class Console;
class PieceSource;

/// Opens what lies beside the index of a model folder and a viewer may do without.
class ExtrasOpener {
 public:
  /// The extras of a folder, given it or its index file; nothing when it has none. False, after a message, when they
  /// cannot be read.
  static bool Open(Console& console, const std::string& path, std::optional<Extras>& extras);

  /// The same out of pieces; `subject` stands for them in messages.
  static bool Open(Console& console, const std::string& subject, const PieceSource& source,
                   std::optional<Extras>& extras);
};

}  // namespace mirel
