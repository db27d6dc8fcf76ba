#include <Programs/mirel/Open/ModelFolder.h>

#include <Programs/mirel/Open/SceneOpener.h>
#include <Programs/mirel/Stopwatch.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/Gzip/GzBuffer.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Reader/LiteModelReader.h>
#include <Viewer/Kernel/Reader/PkgGRepReader.h>
#include <Viewer/Kernel/Reader/PkgShapeReader.h>

#include <filesystem>
#include <limits>

namespace fs = std::filesystem;

namespace mirel {

namespace {

bool TakeIndex(LiteModel& model, const RawBuffer& buffer, unsigned int& greps, unsigned int& shapes) {
  LiteModelReader reader(model);
  const bool good = reader.Load(std::string(buffer.GetData(), buffer.GetSize()));
  greps = reader.GetPkgGRep();
  shapes = reader.GetPkgShape();
  return good;
}

}  // namespace

bool ModelFolder::Load(const std::string& path) {
  const std::string index = SceneOpener::FindIndex(path);
  const std::string folder = PathUtil::GetFolderPath(index);
  Stopwatch watch;
  const auto read = [&](const std::string& name, const std::string& file, auto&& take) {
    File entry;
    entry.name = name;
    std::error_code failure;
    const std::uintmax_t packed = fs::file_size(fs::u8path(file), failure);
    entry.packedBytes = failure ? 0 : packed;
    const std::shared_ptr<RawBuffer> buffer = GzBuffer::FromFile(file);
    entry.missing = !buffer;
    if (buffer) {
      entry.bytes = buffer->GetSize();
    } else {
      Logger::Instance().Message(3, "%s cannot be read", name.c_str());
    }
    files_.push_back(std::move(entry));
    return buffer && take(*buffer);
  };
  const bool good = read("index.gz", index, [&](const RawBuffer& buffer) {
    return TakeIndex(model_, buffer, grepPackages_, shapePackages_);
  });
  times_.index = watch.Lap();
  if (!good) {
    return false;
  }
  const auto readPackages = [&](const std::string& kind, unsigned int count, auto&& load) {
    unsigned int missing = 0;
    for (unsigned int n = 1; n <= count && missing < kMaxMissingPackages; ++n) {
      const std::string name = kind + "/" + std::to_string(n) + ".gz";
      read(name, folder + name, [&](const RawBuffer& buffer) {
        const bool whole = buffer.GetSize() <= std::numeric_limits<unsigned int>::max() &&
                           load(folder + name, buffer.GetData(), static_cast<unsigned int>(buffer.GetSize()));
        if (!whole) {
          Logger::Instance().Message(3, "%s is not a package, or its table is cut short", name.c_str());
        }
        return whole;
      });
      missing += files_.back().missing ? 1 : 0;
    }
  };
  readPackages("grep", grepPackages_, [&](const std::string& source, const char* data, unsigned int size) {
    return PkgGRepReader(model_, source).Load(data, size);
  });
  times_.graphics = watch.Lap();
  readPackages("model", shapePackages_, [&](const std::string& source, const char* data, unsigned int size) {
    return PkgShapeReader(model_, source).Load(data, size);
  });
  model_.ApplyShape();
  times_.shapes = watch.Lap();
  return true;
}

}  // namespace mirel
