#include <Viewer/Kernel/Reader/PkgContainerReader.h>

#include <Viewer/Kernel/Host/Core/HeldMessages.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Reader/PackageTable.h>

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace mirel {

namespace {

// How many items are decoded before they are added: a table may name millions, of no byte each.
constexpr std::size_t kBatch = 1024;

struct Item {
  std::size_t number = 0;  // in the table, from 1
  ObjectId id;
  const char* bytes = nullptr;
  unsigned int size = 0;
  unsigned int present = 0;  // of the bytes
  std::shared_ptr<void> decoded;
  HeldMessages messages;
};

// The next items of the table, whose bytes begin at `bytes`, which is moved behind them.
std::vector<Item> NextBatch(const PackageTable& table, std::size_t first, const char*& bytes,
                            const char* end) {
  std::vector<Item> items(std::min(kBatch, table.GetCount() - first));
  for (std::size_t i = 0; i < items.size(); ++i) {
    Item& item = items[i];
    const PackageTable::Entry entry = table.GetEntry(first + i);
    const std::size_t present = std::min<std::size_t>(entry.size, static_cast<std::size_t>(end - bytes));
    item.number = first + i + 1;
    item.id = entry.id;
    item.bytes = bytes;
    item.size = entry.size;
    item.present = static_cast<unsigned int>(present);
    bytes += present;
  }
  return items;
}

void DecodeAll(std::vector<Item>& items, const DecodeItem& decode) {
  // The largest first, so that no thread is left alone with it at the end.
  std::vector<Item*> order;
  std::size_t bytes = 0;
  for (Item& item : items) {
    if (item.present == 0 && item.size > 0) continue;
    order.push_back(&item);
    bytes += item.present;
  }
  std::stable_sort(order.begin(), order.end(),
                   [](const Item* a, const Item* b) { return a->present > b->present; });
  ShareOut(order.size(), bytes, [&](std::size_t i) {
    Item& item = *order[i];
    item.messages.Collect([&] { item.decoded = decode(item.bytes, item.present); });
  });
}

}  // namespace

bool ReadPackage(const char* data, unsigned int size, const std::string& source, const char* file, int line,
                 const DecodeItem& decode, const AddItem& add) {
  const PackageTable table(data, size);
  const std::size_t count = table.GetCount();
  if (count == 0) return false;

  const char* bytes = table.GetData();
  for (std::size_t first = 0; first < count; first += kBatch) {
    std::vector<Item> items = NextBatch(table, first, bytes, data + size);
    DecodeAll(items, decode);
    for (Item& item : items) {
      item.messages.Log();
      if (item.decoded) {
        add(item.id, std::move(item.decoded));
        continue;
      }
      Logger& logger = Logger::Instance();
      logger.Message(1, "%s: item %llu of %llu, id %s, %u bytes%s", source.c_str(),
                     static_cast<unsigned long long>(item.number), static_cast<unsigned long long>(count),
                     item.id.toString().c_str(), item.size,
                     item.present == item.size ? "" : ", is cut short");
      logger.Message(3, "Shape is null!");
      logger.Message(1, "\t#%d, %s", line, Logger::GetFileName(file));
    }
  }
  return true;
}

}  // namespace mirel
