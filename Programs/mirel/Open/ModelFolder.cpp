#include <Programs/mirel/Open/ModelFolder.h>

#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/Stopwatch.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PackageSearch.h>
#include <Viewer/Kernel/Reader/PackageTable.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <filesystem>
#include <limits>
#include <memory>
#include <utility>

namespace fs = std::filesystem;

namespace mirel {

namespace {

bool TakeIndex(LiteModel& model, std::shared_ptr<RawBuffer> buffer, unsigned int& greps,
               unsigned int& shapes) {
  LiteModelReader reader(model);
  std::string text(buffer->GetData(), buffer->GetSize());
  buffer.reset();
  const bool good = reader.Load(std::move(text));
  greps = reader.GetPkgGRep();
  shapes = reader.GetPkgShape();
  return good;
}

std::vector<ObjectId> ListBodies(const RawBuffer& package) {
  const PackageTable table(package.GetData(), package.GetSize());
  std::vector<ObjectId> bodies(table.GetCount());
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    bodies[i] = table.GetEntry(i).id;
  }
  return bodies;
}

}  // namespace

bool ModelFolder::Load(const std::string& path, Graphics graphics) {
  const std::string index = ModelPath::FindIndex(path);
  const std::string folder = PathUtil::GetFolderPath(index);
  Stopwatch watch;
  const auto read = [&](const std::string& name, const std::string& file, auto&& take) {
    File entry;
    entry.name = name;
    std::error_code failure;
    const std::uintmax_t packed = fs::file_size(fs::u8path(file), failure);
    entry.packedBytes = failure ? 0 : packed;
    std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(file);
    entry.missing = !buffer;
    if (buffer) {
      entry.bytes = buffer->GetSize();
    } else {
      Logger::Instance().Message(3, "%s cannot be read", name.c_str());
    }
    files_.push_back(std::move(entry));
    return buffer && take(std::move(buffer));
  };
  const bool good = read("index.gz", index, [&](std::shared_ptr<RawBuffer> buffer) {
    return TakeIndex(model_, std::move(buffer), grepPackages_, shapePackages_);
  });
  times_.index = watch.Lap();
  if (!good) {
    return false;
  }
  const auto readPackages = [&](const std::string& kind, unsigned int count, auto&& load) {
    const PackageSearch search(PackageSearch::List(folder + kind), count);
    for (const std::uint32_t number : search.numbers) {
      const std::string name = kind + "/" + FolderFiles::GetPackageName(number);
      read(name, folder + name, [&](const std::shared_ptr<RawBuffer>& buffer) {
        files_.back().bodies = ListBodies(*buffer);
        const bool whole =
            buffer->GetSize() <= std::numeric_limits<unsigned int>::max() &&
            load(folder + name, buffer->GetData(), static_cast<unsigned int>(buffer->GetSize()));
        if (!whole) {
          Logger::Instance().Message(3, "%s is not a package, or its table is cut short", name.c_str());
        }
        return whole;
      });
    }
    if (search.leftOut > 0) {
      Logger::Instance().Message(3, "%u more packages of %s are missing", search.leftOut, kind.c_str());
    }
  };
  if (graphics == Graphics::kRead) {
    readPackages("grep", grepPackages_, [&](const std::string& source, const char* data, unsigned int size) {
      return PkgGRepReader(model_, source).Load(data, size);
    });
  }
  times_.graphics = watch.Lap();
  readPackages("model", shapePackages_, [&](const std::string& source, const char* data, unsigned int size) {
    return PkgShapeReader(model_, source).Load(data, size);
  });
  model_.ApplyShape();
  times_.shapes = watch.Lap();
  return true;
}

std::vector<const ModelFolder::File*> ModelFolder::GetPackages(const std::string& kind) const {
  std::vector<const File*> packages;
  for (const File& file : files_) {
    if (file.name ==
        kind + "/" + FolderFiles::GetPackageName(static_cast<std::uint32_t>(packages.size() + 1))) {
      packages.push_back(&file);
    }
  }
  return packages;
}

}  // namespace mirel
