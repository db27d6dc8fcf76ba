#include <Programs/mirel/View/PieceDelivery.h>

#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Host/Application/StreamModelLoader.h>
#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Gzip/RawBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/PackageCounts.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>

#include <memory>
#include <random>
#include <set>
#include <utility>

namespace mirel {

namespace {

constexpr const char* kScene = "Scene";

bool HandOver(StreamModelLoader& loader, const char* kind, const RawBuffer& content) {
  return kind == kScene
             ? loader.LoadString(kind, std::string(content.GetData(), content.GetSize()))
             : loader.LoadData(kind, content.GetData(), static_cast<unsigned int>(content.GetSize()));
}

}  // namespace

void PieceDelivery::Shuffle(std::vector<Piece>& pieces) const {
  std::mt19937_64 random(*seed_);
  for (std::size_t left = pieces.size(); left > 1; --left) {
    std::swap(pieces[left - 1], pieces[static_cast<std::size_t>(random() % left)]);
  }
}

std::vector<PieceDelivery::Piece> PieceDelivery::ListPieces(const char* index) const {
  std::vector<Piece> pieces = {{"index.gz", kScene}};
  const auto addPackages = [&](const std::string& folder, const char* kind, std::uint32_t count) {
    const std::vector<std::uint32_t> present = source_.ListPackages(folder);
    const std::set<std::uint32_t> isPresent(present.begin(), present.end());
    const PackageSearch search(present, count);
    for (const std::uint32_t number : search.numbers) {
      const std::string file = folder + "/" + FolderFiles::GetPackageName(number);
      if (isPresent.count(number) > 0) {
        pieces.push_back({file, kind});
      } else {
        Logger::Instance().Message(3, "%s is missing", file.c_str());
      }
    }
    if (search.leftOut > 0) {
      Logger::Instance().Message(3, "%u more packages of %s are missing", search.leftOut, folder.c_str());
    }
  };
  const PackageCounts counts(index);
  addPackages(FolderFiles::kGReps, "GRep", counts.greps);
  addPackages(FolderFiles::kShapes, "Shape", counts.shapes);
  if (seed_) {
    Shuffle(pieces);
  }
  return pieces;
}

bool PieceDelivery::HandOver(StreamModelLoader& loader) const {
  const std::shared_ptr<RawBuffer> index = source_.Read("index.gz");
  if (!index) {
    Logger::Instance().Message(3, "index.gz cannot be read");
    return false;
  }
  loader.Begin();
  for (const Piece& piece : ListPieces(index->GetData())) {
    const bool isIndex = piece.kind == kScene;
    const std::shared_ptr<RawBuffer> content = isIndex ? index : source_.Read(piece.file);
    if (content && mirel::HandOver(loader, piece.kind, *content)) {
      continue;
    }
    Logger::Instance().Message(3, content ? "%s is refused by the loader" : "%s cannot be read",
                               piece.file.c_str());
    if (isIndex) {
      return false;
    }
  }
  return true;
}

}  // namespace mirel
