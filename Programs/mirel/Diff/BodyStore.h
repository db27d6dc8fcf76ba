#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace mirel {

class TopoShape;

/// The exact bodies of a model folder as they lie in its packages: told apart by checksums of their text, and decoded only
/// when somebody asks for one.
class BodyStore {
 public:
  using Sum = std::array<std::uint8_t, 32>;  ///< SHA-256

  /// `folder` ends with a separator.
  explicit BodyStore(std::string folder) : folder_(std::move(folder)) {}

  /// Reads all packages once and keeps the checksums. False, after messages in the log, when anything could not be read.
  bool Load();

  /// The checksum of a body's text; null when the folder has no such body.
  const Sum* FindSum(const ObjectId& id) const;

  /// Called with the position in `ids` and the body, several at once.
  using Visit = std::function<void(std::size_t position, const TopoShape& body)>;
  /// Decodes bodies. Those that are not there, or whose text is damaged, are passed over.
  void Decode(const std::vector<ObjectId>& ids, const Visit& visit) const;

 private:
  struct Text {
    Sum sum;
    std::uint32_t package;
    std::size_t offset;  // in the inflated package
    std::size_t size;
  };
  using Table = std::unordered_map<ObjectId, Text, SecretIdHash>;

  std::string GetPath(std::uint32_t package) const;

  std::string folder_;
  Table texts_;
};

}  // namespace mirel
