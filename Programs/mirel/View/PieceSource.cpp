#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>

namespace mirel {

std::vector<std::uint32_t> FolderPieces::ListPackages(const std::string& kind) const {
  return PackageSearch::List(folder_ + kind);
}

std::shared_ptr<RawBuffer> FolderPieces::Read(const std::string& name) const {
  return GzBuffer::FromFile(folder_ + name);
}

}  // namespace mirel
