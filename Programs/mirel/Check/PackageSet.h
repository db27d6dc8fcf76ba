#pragma once

#include <Viewer/Kernel/Host/Core/ObjectId.h>
#include <Viewer/Kernel/Model/ObjectIdHash.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace mirel {

class FindingList;

/// The packages of one kind in a model folder: exact bodies ("model") or graphics ("grep").
class PackageSet {
 public:
  /// Where an item lies: the number of its package and its place in the table, both from 1.
  struct Place {
    std::uint32_t package;
    std::size_t item;
  };

  /// One item; of one that is cut short what is there, which may be all of it.
  struct Item {
    ObjectId id;
    std::string name;  ///< for messages: place in the table and id
    const char* bytes;
    std::size_t size;
    bool counts;  ///< false for one that a later one of the same id replaces
  };

  /// `folder` ends with a separator.
  PackageSet(std::string folder, std::string kind) : folder_(std::move(folder)), kind_(std::move(kind)) {}

  /// Checks the files and tables of the packages 1 to `count`. `mayBeEmpty` says that no item refers to anything in them.
  void CheckCounted(std::uint32_t count, bool mayBeEmpty, FindingList& findings);

  /// The same for all packages that are in the folder, for want of a count.
  void CheckFound(FindingList& findings);

  /// All ids that the tables hold, each with the item that counts.
  const std::unordered_map<ObjectId, Place, SecretIdHash>& GetPlaces() const { return places_; }

  /// How many packages could be read.
  std::size_t GetPackageCount() const { return packages_.size(); }

  /// Inflates the packages that could be read once more, one at a time, and hands out their items. `file` is relative
  /// to the folder.
  void Visit(const std::function<void(const std::string& file, const std::vector<Item>& items)>& visit) const;

  /// "model/1.gz".
  std::string GetFile(std::uint32_t number) const { return kind_ + "/" + std::to_string(number) + ".gz"; }

 private:
  // False when there is no such file.
  bool CheckPackage(std::uint32_t number, FindingList& findings);
  void CheckTable(std::uint32_t number, const char* data, std::size_t size, FindingList& findings);

  std::string folder_;
  std::string kind_;
  std::vector<std::uint32_t> packages_;
  std::unordered_map<ObjectId, Place, SecretIdHash> places_;
  std::uint64_t lastDataSize_ = 0;  // of the package looked at last
};

}  // namespace mirel
