#pragma once

#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/FuzzFolder.h>
#include <Fuzz/Support/PackageBytes.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LiteModel.h>

#include <map>

namespace mirel::fuzz {

/// The properties of a package, the same for both kinds. Each item is in the model under its id, the same as when it comes
/// alone, or reported; what is in the model can be written, twice with the same bytes, and what was written is read
/// without a failure as the same items. `Policy` has
///
///     Reader, Writer, Item        the classes
///     GetTable(model)             the model's table
///     CheckItem(item)             what holds for one item that was read; false if it cannot be written
///     GetBytes(item)              what the writer should make of it
///     IsSame(bytes, bytes)        whether an item that was written, read and written is the same as before
template <class Policy>
void CheckPackage(const char* data, std::size_t size) {
  using Items = std::map<unsigned long long, std::shared_ptr<typename Policy::Item>>;
  const auto read = [](const char* bytes, std::size_t count, Items& items) {
    LiteModel model;
    const bool loaded = typename Policy::Reader(model).Load(bytes, static_cast<unsigned int>(count));
    for (const auto& [id, item] : Policy::GetTable(model))
      items.emplace(id.GetInteger(), item);
    return loaded;
  };

  Items items;
  Items alone;
  {
    const QuietLog log;
    const std::vector<PackageItem> parsed = ParsePackage(std::string(data, size));
    const bool loaded = read(data, size, items);
    MIREL_FUZZ_CHECK(loaded == !parsed.empty(),
                     "A package that is whole is refused, or one that is not is read");
    int lost = log.CountFailures();
    for (const PackageItem& item : parsed) {
      Items one;
      const std::string package = FormatPackage({item});
      const bool isThere =
          (item.isWhole || !item.bytes.empty()) && read(package.data(), package.size(), one) && !one.empty();
      MIREL_FUZZ_CHECK(!isThere || one.begin()->first == item.id, "An item is under another id");
      if (isThere)
        alone[item.id] = one.begin()->second;
      else
        --lost;
    }
    MIREL_FUZZ_CHECK(lost == 0 && items.size() == alone.size(), "An item is neither there nor reported");
  }

  Items written;
  {
    const QuietLog log;
    for (const auto& [id, item] : items) {
      if (!Policy::CheckItem(*item)) continue;
      written.emplace(id, item);
      if (written.size() > 1) continue;  // it takes its time, and one will do
      MIREL_FUZZ_CHECK(alone.count(id) == 1 && Policy::CheckItem(*alone[id]) &&
                           Policy::GetBytes(*alone[id]) == Policy::GetBytes(*item),
                       "An item depends on those before it");
    }
  }
  if (written.empty()) return;

  const QuietLog log;
  std::vector<PackageItem> expected;
  {
    typename Policy::Writer writer(1);
    for (const auto& [number, item] : written) {
      ObjectId id;
      id.SetInteger(number);
      writer.AddItem(id, item);
      expected.push_back({number, Policy::GetBytes(*item)});
    }
    writer.Write(FuzzFolder());
  }
  const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(FuzzFolder() + "1.gz");
  MIREL_FUZZ_CHECK(buffer && log.CountFailures() == 0, "The package cannot be written");
  MIREL_FUZZ_CHECK(std::string(buffer->GetData(), buffer->GetSize()) == FormatPackage(expected),
                   "Written twice, the bytes differ");
  Items again;
  MIREL_FUZZ_CHECK(read(buffer->GetData(), buffer->GetSize(), again) && log.CountFailures() == 0,
                   "What was written does not load");
  for (const PackageItem& item : expected) {
    MIREL_FUZZ_CHECK(again.count(item.id) == 1, "An item that was written does not load");
    MIREL_FUZZ_CHECK(Policy::IsSame(item.bytes, Policy::GetBytes(*again[item.id])),
                     "An item that was written reads as something else");
  }
}

}  // namespace mirel::fuzz
