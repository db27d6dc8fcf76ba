#include <Bench/Meter.h>
#include <Bench/SceneCount.h>
#include <Bench/StagedOpen.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <libdeflate.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace mirel::bench {

namespace {

struct FreeDeleter {
  void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<char, FreeDeleter>;

/// From the index's path to the root node.
Figures Open(const TaskInput& input) {
  Figures figures;
  LiteSceneReader reader;
  const std::string index = IndexFile(input.work);
  const Meter meter;
  const std::shared_ptr<SceneNode> root = reader.Load(index, nullptr);
  meter.Stop(figures);
  if (!root) throw std::runtime_error("cannot open " + index);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(ModelFolder(input.work))));
  CountScene(*root, figures);
  return figures;
}

/// From the index's path to the root node with its graphics, while the exact bodies come behind.
Figures OpenGraphics(const TaskInput& input) {
  Figures figures;
  const std::string index = IndexFile(input.work);
  const Meter meter;
  SceneOpening opening(SceneExchangeManager::Instance().FindReader(index), index);
  const std::shared_ptr<SceneNode> root = opening.TakeRoot();
  meter.Stop(figures);
  if (!root) throw std::runtime_error("cannot open " + index);
  opening.Wait();
  figures.Set("all", meter.Elapsed());
  return figures;
}

Figures OpenStages(const TaskInput& input) {
  Figures figures;
  OpenByStages(IndexFile(input.work), figures);
  return figures;
}

/// One file read and inflated into one block each, as the format's last four bytes give the size; nothing is
/// kept.
double InflateFile(libdeflate_decompressor* decompressor, const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (!file) throw std::runtime_error("cannot open " + path);
  std::fseek(file, 0, SEEK_END);
  const std::size_t size = static_cast<std::size_t>(std::ftell(file));
  std::rewind(file);
  const Block packed(static_cast<char*>(std::malloc(size)));
  const bool whole = std::fread(packed.get(), 1, size, file) == size && size > 18;
  std::fclose(file);
  std::size_t capacity = 0;
  for (std::size_t i = 0; whole && i < 4; ++i) {
    capacity |= static_cast<std::size_t>(static_cast<unsigned char>(packed.get()[size - 4 + i])) << (8 * i);
  }
  const Block content(static_cast<char*>(std::malloc(capacity + 1)));
  std::size_t written = 0;
  if (!whole || libdeflate_gzip_decompress(decompressor, packed.get(), size, content.get(), capacity,
                                           &written) != LIBDEFLATE_SUCCESS) {
    throw std::runtime_error("cannot inflate " + path);
  }
  return static_cast<double>(written);
}

/// The least that opening the folder can take: every file read and inflated, one after another.
Figures Floor(const TaskInput& input) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(ModelFolder(input.work))) {
    if (entry.is_regular_file()) files.push_back(entry.path().string());
  }
  Figures figures;
  double inflated = 0.0;
  const Meter meter;
  libdeflate_decompressor* const decompressor = libdeflate_alloc_decompressor();
  for (const std::string& file : files)
    inflated += InflateFile(decompressor, file);
  libdeflate_free_decompressor(decompressor);
  meter.Stop(figures);
  figures.Set("bytes", static_cast<double>(BytesOnDisk(ModelFolder(input.work))));
  figures.Set("inflatedBytes", inflated);
  return figures;
}

}  // namespace

std::vector<Task> FolderTasks() {
  return {{"open", "open the model folder: index path to root node", Open},
          {"graphics", "open what is drawn of the model folder, with the exact bodies behind", OpenGraphics},
          {"stages", "open the model folder stage by stage", OpenStages},
          {"floor", "inflate the files of the model folder, nothing else", Floor}};
}

}  // namespace mirel::bench
