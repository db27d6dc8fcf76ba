#include <Viewer/Kernel/IO/FolderLoad.h>

#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace mirel {

namespace {

std::string GetPackageFolder(const std::string& index, const char* kind) {
  return PathUtil::GetFolderPath(index) + kind + "/";
}

/// 0 for one that is not there.
std::uint64_t CountFileBytes(const std::string& file) {
  std::error_code failure;
  const std::uintmax_t bytes = std::filesystem::file_size(std::filesystem::u8path(file), failure);
  return failure ? 0 : bytes;
}

std::uint64_t CountAllBytes(const std::string& folder, unsigned int count) {
  std::uint64_t bytes = 0;
  for (const std::uint32_t number : PackageSearch::List(folder)) {
    if (number <= count) bytes += CountFileBytes(folder + FolderFiles::GetPackageName(number));
  }
  return bytes;
}

/// Loads the packages of one kind, in the order of their numbers, one at a time.
template <class PackageReader>
void LoadPackages(LiteModel& model, const std::string& folder, unsigned int count,
                  const FolderLoad::OnFile& onFile) {
  const PackageSearch search(PackageSearch::List(folder), count);
  for (const std::uint32_t number : search.numbers) {
    const std::string name = folder + FolderFiles::GetPackageName(number);
    std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(name);
    if (!buffer) {
      MIREL_FAILURE("Buffer is null!");
    } else if (!PackageReader(model, name)
                    .Load(buffer->GetData(), static_cast<unsigned int>(buffer->GetSize()))) {
      MIREL_FAILURE("%s: not a package, or its table is cut short", name.c_str());
    }
    buffer.reset();
    if (onFile && !onFile(CountFileBytes(name))) return;
  }
  if (search.leftOut > 0) {
    MIREL_FAILURE("%u more packages of %s are missing: the index counts %u", search.leftOut, folder.c_str(),
                  count);
  }
}

}  // namespace

bool FolderLoad::LoadIndex() {
  std::shared_ptr<RawBuffer> index = GzBuffer::FromFile(index_);
  if (!index) {
    MIREL_FAILURE("Buffer is null!");
    return false;
  }
  std::string text(index->GetData());
  index.reset();
  return reader_.Load(std::move(text));
}

void FolderLoad::LoadGReps(const OnFile& onFile) {
  Logger::Instance().Message(2, "Loading GRep...");
  LoadPackages<PkgGRepReader>(model_, GetPackageFolder(index_, FolderFiles::kGReps), reader_.GetPkgGRep(),
                              onFile);
}

void FolderLoad::LoadShapes(const OnFile& onFile) {
  Logger::Instance().Message(2, "Loading Shape...");
  LoadPackages<PkgShapeReader>(model_, GetPackageFolder(index_, FolderFiles::kShapes), reader_.GetPkgShape(),
                               onFile);
}

std::uint64_t FolderLoad::CountIndexBytes() const {
  return CountFileBytes(index_);
}

std::uint64_t FolderLoad::CountPackageBytes() const {
  return CountAllBytes(GetPackageFolder(index_, FolderFiles::kGReps), reader_.GetPkgGRep()) +
         CountAllBytes(GetPackageFolder(index_, FolderFiles::kShapes), reader_.GetPkgShape());
}

}  // namespace mirel
