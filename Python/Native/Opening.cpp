#include <Python/Native/Opening.h>

#include <Programs/mirel/Open/ModelPath.h>
#include <Programs/mirel/View/TarPieces.h>
#include <Python/Native/Interruptible.h>
#include <Python/Native/MessageQueue.h>

#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>
#include <Viewer/Kernel/Host/Renderer/SceneReader.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <system_error>

namespace py = pybind11;

namespace mirel::python {

namespace {

constexpr std::chrono::milliseconds kTurnPatience(50);

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

void Tell(const py::object& progress, const SceneOpening::Progress& at) {
  if (progress.is_none() || at.bytesInAll == 0) return;
  progress(at.stage == SceneOpening::Stage::kGraphics ? "graphics" : "bodies",
           static_cast<double>(at.bytes) / static_cast<double>(at.bytesInAll));
}

}  // namespace

Opened OpenModel(const std::string& path, const std::string& source, const py::object& progress) {
  Opened opened;
  std::string refusal = ModelPath::Check(path);
  const std::string index = ModelPath::FindIndex(path);
  const std::shared_ptr<SceneReader> reader =
      refusal.empty() ? SceneExchangeManager::Instance().FindReader(index) : nullptr;
  if (refusal.empty() && !reader) refusal = "no reader is registered for files of this kind";
  if (!refusal.empty()) {
    opened.failures.push_back({source, "", refusal, ""});
    return opened;
  }
  static auto* const oneAtATime = new std::timed_mutex;
  std::atomic<bool> isCancelled{false};
  std::shared_ptr<SceneNode> root;
  std::mutex mutex;  // for `opening`
  std::unique_ptr<SceneOpening> opening;
  const auto work = [&] {
    std::unique_lock<std::timed_mutex> turn(*oneAtATime, std::defer_lock);
    while (!turn.try_lock_for(kTurnPatience))
      if (isCancelled) return;
    const FailureLog log(
        path, [](int level, const std::string& text) { MessageQueue::Instance().Add(level, text); });
    {
      const std::lock_guard<std::mutex> lock(mutex);
      opening = std::make_unique<SceneOpening>(reader, index);
      if (isCancelled) opening->Cancel();
    }
    opening->Wait();
    root = opening->TakeRoot();
    opened.failures = log.GetFailures();
  };
  const auto cancel = [&] {
    isCancelled = true;
    const std::lock_guard<std::mutex> lock(mutex);
    if (opening) opening->Cancel();
  };
  const auto tick = [&] {
    SceneOpening::Progress at;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (opening) at = opening->GetProgress();
    }
    Tell(progress, at);
  };
  RunInterruptibly(work, cancel, tick);
  if (root) {
    opened.model = std::make_shared<Model>(std::move(root), source);
  } else if (opened.failures.empty()) {
    opened.failures.push_back({source, "", "is not a model folder: its index has no types and items", ""});
  }
  return opened;
}

std::string UnpackArchive(const std::string& path, const std::string& folder) {
  std::string reason;
  std::atomic<bool> isCancelled{false};
  const auto work = [&] {
    std::error_code ignored;
    const std::unique_ptr<std::FILE, FileCloser> file(
        std::filesystem::is_regular_file(std::filesystem::u8path(path), ignored)
            ? std::fopen(path.c_str(), "rb")
            : nullptr);
    TarPieces pieces;
    if (!file) {
      reason = "not a file that can be read";
    } else if (!pieces.Load(file.get(), [&] { return !isCancelled; }) || !pieces.Unpack(folder)) {
      reason = pieces.GetError();
    }
  };
  RunInterruptibly(work, [&] { isCancelled = true; });
  return reason;
}

}  // namespace mirel::python
