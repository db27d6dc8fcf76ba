#include <Programs/mirel/View/PieceSource.h>

#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace mirel {

bool FolderPieces::Has(const std::string& name) const {
  std::error_code ignored;
  return fs::exists(fs::u8path(folder_ + name), ignored);
}

std::shared_ptr<RawBuffer> FolderPieces::Read(const std::string& name) const {
  return GzBuffer::FromFile(folder_ + name);
}

}  // namespace mirel
