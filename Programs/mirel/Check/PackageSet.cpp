#include <Programs/mirel/Check/PackageSet.h>

#include <Programs/mirel/Check/FindingList.h>
#include <Programs/mirel/LogNotes.h>
#include <Programs/mirel/Text/Plural.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>
#include <Viewer/Kernel/Reader/PackageTable.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

std::string NameOf(std::size_t number, const ObjectId& id) {
  return "item " + std::to_string(number) + ", id " + id.toString();
}

}  // namespace

void PackageSet::CheckCounted(std::uint32_t count, bool mayBeEmpty, FindingList& findings) {
  const PackageSearch search(PackageSearch::List(folder_ + kind_), count);
  for (const std::uint32_t number : search.numbers) {
    // A writer that counts the packages that it begins names one more when the last item has filled the one before.
    const bool mayBeMissing =
        number == count && (number == 1 ? mayBeEmpty : lastDataSize_ > std::uint64_t{kPkgSizeLimit});
    if (!CheckPackage(number, findings) && !mayBeMissing) {
      findings.Add(CheckCode::kPackageMissing, GetFile(number),
                   "is missing: the index counts " + std::to_string(count));
    }
  }
  if (search.leftOut > 0) {
    findings.Add(CheckCode::kManyPackagesMissing, kind_,
                 std::to_string(search.leftOut) + " more packages are missing: the index counts " +
                     std::to_string(count));
  }
}

void PackageSet::CheckFound(FindingList& findings) {
  std::vector<std::uint32_t> numbers = PackageSearch::List(folder_ + kind_);
  std::sort(numbers.begin(), numbers.end());
  for (const std::uint32_t number : numbers) {
    CheckPackage(number, findings);
  }
}

bool PackageSet::CheckPackage(std::uint32_t number, FindingList& findings) {
  const std::string file = GetFile(number);
  const std::string path = folder_ + file;
  lastDataSize_ = 0;
  std::error_code failure;
  const fs::file_status status = fs::symlink_status(fs::u8path(path), failure);
  if (status.type() == fs::file_type::not_found) {
    return false;
  }
  if (fs::is_symlink(status)) {
    findings.Add(CheckCode::kPackageLink, file, "is a link");
  }
  LogNotes notes;
  const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(path);
  if (!buffer) {
    findings.Add(CheckCode::kPackageUnreadable, file, "cannot be read: " + notes.TakeReason(path));
    return true;
  }
  packages_.push_back(number);
  CheckTable(number, buffer->GetData(), buffer->GetSize(), findings);
  return true;
}

void PackageSet::CheckTable(std::uint32_t number, const char* data, std::size_t size, FindingList& findings) {
  const std::string file = GetFile(number);
  const PackageTable table(data, size);
  if (table.GetCount() == 0) {
    findings.Add(CheckCode::kNoPackage, file,
                 size == 0 ? "is empty" : "is no package: its count is 0 or more than it has room for");
    return;
  }
  lastDataSize_ = table.GetDataSize();
  std::uint64_t begin = 0;
  for (std::size_t i = 0; i < table.GetCount(); ++i) {
    const PackageTable::Entry entry = table.GetEntry(i);
    const std::string name = NameOf(i + 1, entry.id);
    if (entry.id == ObjectId()) {
      findings.Add(CheckCode::kIdZero, file, name + ": no item can refer to it");
    }
    if (entry.offset != static_cast<std::uint32_t>(begin)) {
      findings.Add(CheckCode::kBadOffset, file,
                   name + ": its offset is " + std::to_string(entry.offset) + ", but it begins at " +
                       std::to_string(begin));
    }
    const std::uint64_t left = table.GetDataSize() - begin;
    if (entry.size > left) {
      findings.Add(CheckCode::kItemCutShort, file,
                   name + ": has " + Plural::Count(entry.size, "byte|bytes") + ", of which " +
                       Plural::Count(left, "is|are") + " there");
      if (left == 0) {
        continue;
      }
    }
    begin += std::min<std::uint64_t>(entry.size, left);
    const auto [place, isNew] = places_.try_emplace(entry.id, Place{number, i + 1});
    if (!isNew) {
      findings.Add(CheckCode::kPackagedTwice, file,
                   name + ": replaces item " + std::to_string(place->second.item) + " of " +
                       GetFile(place->second.package));
      place->second = {number, i + 1};
    }
  }
  if (begin < table.GetDataSize()) {
    findings.Add(
        CheckCode::kPackageBehindEnd, file,
        Plural::Count(table.GetDataSize() - begin, "byte|bytes behind the last item is|are ignored"));
  }
}

void PackageSet::Visit(
    const std::function<void(const std::string& file, const std::vector<Item>& items)>& visit) const {
  for (const std::uint32_t number : packages_) {
    std::vector<Item> items;
    std::shared_ptr<RawBuffer> buffer;
    {
      const LogNotes quiet;
      buffer = GzBuffer::FromFile(folder_ + GetFile(number));
    }
    if (!buffer) {
      continue;
    }
    const PackageTable table(buffer->GetData(), buffer->GetSize());
    std::size_t begin = 0;
    for (std::size_t i = 0; i < table.GetCount(); ++i) {
      const PackageTable::Entry entry = table.GetEntry(i);
      const std::size_t left = table.GetDataSize() - begin;
      if (entry.size > left && left == 0) {
        break;  // and so is every later one that has a byte
      }
      const auto place = places_.find(entry.id);
      const bool counts =
          place != places_.end() && place->second.package == number && place->second.item == i + 1;
      const std::size_t present = std::min<std::size_t>(entry.size, left);
      items.push_back({entry.id, NameOf(i + 1, entry.id), table.GetData() + begin, present, counts});
      begin += present;
    }
    visit(GetFile(number), items);
  }
}

}  // namespace mirel
