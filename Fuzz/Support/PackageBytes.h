#pragma once

#include <Fuzz/Support/Mutate.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace mirel::fuzz {

/// An item of a package.
struct PackageItem {
  std::uint64_t id;
  std::string bytes;
  bool isWhole = true;
};

/// The items of a package that are there, whole or in part; none when the table is cut short.
std::vector<PackageItem> ParsePackage(const std::string& package);

std::string FormatPackage(const std::vector<PackageItem>& items);

/// What changes the bytes of one item.
using ItemMutator = std::function<std::string(const std::string& bytes, Random& random, std::size_t maxSize)>;

/// Changes a package: the bytes of an item, which items there are and under which ids, a number of the table, or plain
/// bytes. Table and data fit each other again, but when the table was what changed.
std::string MutatePackage(const std::string& package, Random& random, std::size_t maxSize,
                          const ItemMutator& mutateItem);

/// Changes a GRep record: a field of the header, a number of the payload, or plain bytes of it. The header's size of the
/// payload fits again, but when that was what changed.
std::string MutateGRepRecord(const std::string& record, Random& random, std::size_t maxSize);

}  // namespace mirel::fuzz
