#include <Programs/mirel/View/PieceSource.h>

#include <Programs/mirel/Extras/ExtrasReader.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>

#include <filesystem>

namespace mirel {

std::vector<std::uint32_t> FolderPieces::ListPackages(const std::string& kind) const {
  return PackageSearch::List(folder_ + kind);
}

std::shared_ptr<RawBuffer> FolderPieces::Read(const std::string& name) const {
  return GzBuffer::FromFile(folder_ + name);
}

bool FolderPieces::HasExtras() const {
  std::error_code ignored;
  return std::filesystem::exists(std::filesystem::u8path(folder_ + FolderFiles::kExtras), ignored);
}

bool FolderPieces::ReadExtras(ExtrasReader& reader) const {
  return reader.ReadFile(folder_ + FolderFiles::kExtras);
}

}  // namespace mirel
