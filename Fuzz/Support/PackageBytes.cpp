#include <Fuzz/Support/PackageBytes.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace mirel::fuzz {

namespace {

constexpr std::size_t kCountSize = 4;
constexpr std::size_t kEntrySize = 16;

// The header of a GRep record.
constexpr std::size_t kHeaderSize = 132;
constexpr std::size_t kPayloadSizeAt = 8;
constexpr std::size_t kCountsAt = 8;  // and up to where the reals begin
constexpr std::size_t kRealsAt = 36;
constexpr std::size_t kRealCount = (kHeaderSize - kRealsAt) / 8;

std::uint64_t ReadInteger(const std::string& bytes, std::size_t at, std::size_t count) {
  std::uint64_t value = 0;
  for (std::size_t i = count; i-- > 0;)
    value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
  return value;
}

void WriteInteger(std::string& bytes, std::size_t at, std::uint64_t value, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    bytes[at + i] = static_cast<char>(value >> (8 * i));
}

std::string FormatNumber(std::uint32_t value) {
  std::string bytes;
  for (; value > 127; value >>= 7)
    bytes += static_cast<char>(value | 128);
  return bytes + static_cast<char>(value);
}

double PickReal(Random& random) {
  static const double kReals[] = {0.0,  -0.0, 1.0,   -1.0,   0.002, 1e-300,   1e-320,
                                  40.0, 1e12, -1e12, 1.1e12, 1e308, HUGE_VAL, std::nan("")};
  return kReals[Pick(random, std::size(kReals))];
}

/// One number of the payload becomes another, goes or comes. Which bytes begin one is a guess: normals are plain bytes.
void MutateNumber(std::string& record, Random& random) {
  std::size_t begin = kHeaderSize + Pick(random, record.size() - kHeaderSize);
  while (begin > kHeaderSize && static_cast<unsigned char>(record[begin - 1]) > 127)
    --begin;
  std::size_t end = begin;
  while (end + 1 < record.size() && static_cast<unsigned char>(record[end]) > 127)
    ++end;
  ++end;
  const std::size_t kind = Pick(random, 4);
  const std::uint64_t number = kind == 1 ? PickInteger(random) : Pick(random, 16);
  record.replace(begin, kind == 2 ? 0 : end - begin,
                 kind == 3 ? "" : FormatNumber(static_cast<std::uint32_t>(number)));
}

}  // namespace

std::vector<PackageItem> ParsePackage(const std::string& package) {
  if (package.size() < kCountSize) return {};
  const std::uint64_t count = ReadInteger(package, 0, 4);
  if (count > (package.size() - kCountSize) / kEntrySize) return {};
  std::vector<PackageItem> items;
  std::size_t data = kCountSize + kEntrySize * count;
  for (std::size_t entry = kCountSize; items.size() < count; entry += kEntrySize) {
    const std::uint64_t size = ReadInteger(package, entry + 12, 4);
    const std::string bytes = package.substr(data, size);
    items.push_back({ReadInteger(package, entry, 8), bytes, bytes.size() == size});
    data += bytes.size();
  }
  return items;
}

std::string FormatPackage(const std::vector<PackageItem>& items) {
  std::string package(kCountSize + kEntrySize * items.size(), '\0');
  WriteInteger(package, 0, items.size(), 4);
  std::size_t entry = kCountSize;
  std::size_t offset = 0;
  for (const PackageItem& item : items) {
    WriteInteger(package, entry, item.id, 8);
    WriteInteger(package, entry + 8, offset, 4);
    WriteInteger(package, entry + 12, item.bytes.size(), 4);
    entry += kEntrySize;
    offset += item.bytes.size();
    package += item.bytes;
  }
  return package;
}

std::string MutatePackage(const std::string& package, Random& random, std::size_t maxSize,
                          const ItemMutator& mutateItem) {
  std::vector<PackageItem> items = ParsePackage(package);
  const std::size_t kind = Pick(random, 12);
  if (kind == 0) return MutateBytes(package, maxSize);
  if (items.empty()) items.push_back({7, {}});
  PackageItem& item = items[Pick(random, items.size())];
  switch (kind) {
  case 1: {  // one number of the table
    std::string out = FormatPackage(items);
    static constexpr std::size_t kFields[][2] = {{0, 8}, {8, 4}, {12, 4}};
    const auto& [at, size] = kFields[Pick(random, 3)];
    WriteInteger(out, kCountSize + kEntrySize * Pick(random, items.size()) + at, PickInteger(random), size);
    return out;
  }
  case 2: {
    std::string out = FormatPackage(items);
    WriteInteger(out, 0, random() % 2 == 0 ? PickInteger(random) : items.size() + Pick(random, 3) - 1, 4);
    return out;
  }
  case 3:
    item.id = random() % 2 == 0 ? items[Pick(random, items.size())].id : PickInteger(random);
    break;
  case 4:
    items.insert(items.end(), PackageItem(item));
    break;
  case 5:
    std::swap(item, items[Pick(random, items.size())]);
    break;
  case 6:
    items.erase(items.begin() + (&item - items.data()));
    break;
  default:
    item.bytes =
        mutateItem(item.bytes, random, maxSize - std::min(maxSize, package.size()) + item.bytes.size());
    break;
  }
  return FormatPackage(items);
}

std::string MutateGRepRecord(const std::string& record, Random& random, std::size_t maxSize) {
  const std::size_t kind = Pick(random, 10);
  if (record.size() <= kHeaderSize || kind == 0) return MutateBytes(record, maxSize);
  std::string out = record;
  switch (kind) {
  case 1: {
    const std::size_t at = kCountsAt + 4 * Pick(random, (kRealsAt - kCountsAt) / 4);
    const std::uint64_t old = ReadInteger(out, at, 4);
    WriteInteger(out, at, random() % 2 == 0 ? PickInteger(random) : old + Pick(random, 3) - 1, 4);
    return out;
  }
  case 2: {
    std::uint64_t bits = 0;
    const double real = PickReal(random);
    std::memcpy(&bits, &real, sizeof bits);
    WriteInteger(out, kRealsAt + 8 * Pick(random, kRealCount), bits, 8);
    break;
  }
  case 3:  // version, flags, state of the box
    out[4 + Pick(random, 4)] = static_cast<char>(Pick(random, 4));
    break;
  case 4:
    out = out.substr(0, kHeaderSize) + MutateBytes(out.substr(kHeaderSize), maxSize);
    break;
  default:
    MutateNumber(out, random);
    break;
  }
  WriteInteger(out, kPayloadSizeAt, out.size() - kHeaderSize, 4);
  return out;
}

}  // namespace mirel::fuzz
