#include <Programs/mirel/Diff/BodyStore.h>

#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/ShareOut.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/PackageCounts.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>
#include <Viewer/Kernel/Reader/PackageTable.h>

#include <nettle/sha2.h>

#include <algorithm>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace mirel {

namespace {

// Enough for work to be shared out, whatever its size.
constexpr std::size_t kManyBytes = std::numeric_limits<std::size_t>::max();

BodyStore::Sum Summarize(const char* bytes, std::size_t size) {
  sha256_ctx context = {};
  sha256_init(&context);
  sha256_update(&context, size, reinterpret_cast<const std::uint8_t*>(bytes));
  BodyStore::Sum sum;
  sha256_digest(&context, sum.size(), sum.data());
  return sum;
}

}  // namespace

std::string BodyStore::GetPath(std::uint32_t package) const {
  return std::string(FolderFiles::kShapes) + "/" + FolderFiles::GetPackageName(package);
}

bool BodyStore::Load() {
  const FolderPieces pieces(folder_);
  const std::shared_ptr<RawBuffer> index = pieces.Read(FolderFiles::kIndex);
  if (!index) {
    Logger::Instance().Message(3, "%s cannot be read", FolderFiles::kIndex);
    return false;
  }
  const PackageSearch search(pieces.ListPackages(FolderFiles::kShapes),
                             PackageCounts(index->GetData()).shapes);
  std::mutex mutex;
  bool isComplete = search.leftOut == 0;
  ShareOut(search.numbers.size(), kManyBytes, [&](std::size_t i) {
    const std::uint32_t number = search.numbers[i];
    const std::shared_ptr<RawBuffer> package = pieces.Read(GetPath(number));
    std::vector<std::pair<ObjectId, Text>> found;
    if (package) {
      const PackageTable table(package->GetData(), package->GetSize());
      std::size_t offset = package->GetSize() - table.GetDataSize();
      for (std::size_t entry = 0; entry < table.GetCount(); ++entry) {
        const std::size_t size =
            std::min<std::size_t>(table.GetEntry(entry).size, package->GetSize() - offset);
        found.push_back(
            {table.GetEntry(entry).id, {Summarize(package->GetData() + offset, size), number, offset, size}});
        offset += size;
      }
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (found.empty()) {
      Logger::Instance().Message(3, "%s cannot be read, or holds no body", GetPath(number).c_str());
      isComplete = false;
    }
    texts_.insert(found.begin(), found.end());
  });
  return isComplete;
}

const BodyStore::Sum* BodyStore::FindSum(const ObjectId& id) const {
  const auto found = texts_.find(id);
  return found == texts_.end() ? nullptr : &found->second.sum;
}

void BodyStore::Decode(const std::vector<ObjectId>& ids, const Visit& visit) const {
  std::map<std::uint32_t, std::vector<std::pair<std::size_t, const Text*>>> wanted;
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const auto found = texts_.find(ids[i]);
    if (found != texts_.end()) {
      wanted[found->second.package].push_back({i, &found->second});
    }
  }
  const FolderPieces pieces(folder_);
  for (const auto& entry : wanted) {
    const auto& bodies = entry.second;
    const std::shared_ptr<RawBuffer> package = pieces.Read(GetPath(entry.first));
    if (!package) {
      continue;
    }
    ShareOut(bodies.size(), kManyBytes, [&](std::size_t i) {
      const auto& [position, text] = bodies[i];
      if (text->offset + text->size > package->GetSize()) {
        return;  // changed meanwhile
      }
      if (const auto body = TopoShape::Read(std::string(package->GetData() + text->offset, text->size))) {
        visit(position, *body);
      }
    });
  }
}

}  // namespace mirel
