#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Renderer/StagedReader.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace mirel {

class SceneNode;
class SceneReader;

/// Opens a file, or a folder, on a thread of its own: first what can be drawn, then the exact bodies, with the checks and
/// messages of `SceneReader::Load`, in this order. A reader that is no `StagedReader` has everything there at once.
///
/// Messages go to the log from that thread. Thread safety: any thread may call any operation, but the destructor.
class MIREL_HOST_API SceneOpening {
 public:
  enum class Stage : std::uint8_t {
    kGraphics,  ///< nodes and graphics are being read
    kBodies,    ///< they can be taken; exact bodies are being read
    kEnd        ///< all is read, or it has failed or was called off
  };
  /// Where it is, in bytes of the files; `bytesInAll` is 0 until it is known.
  struct Progress {
    Stage stage = Stage::kGraphics;
    std::uint64_t bytes = 0;
    std::uint64_t bytesInAll = 0;
  };
  /// Hears of each stage that is reached, and of each file that is read, from the opening's thread. It may call
  /// `TakeRoot` when the stage is beyond `kGraphics`, and `Cancel`; not `Wait`.
  using Listener = std::function<void(const Progress&)>;

  /// Whether each node has one place in the tree, or stands wherever it would be the same; see
  /// `StagedReader::Stages::ShareNodes`.
  enum class Nodes : std::uint8_t { kOwn, kShared };

  /// Begins. The reader is what `SceneExchangeManager::FindReader` gives for the path, a narrow one (UTF-8); it is shared.
  SceneOpening(std::shared_ptr<SceneReader> reader, const std::string& path,
               StagedReader::Bodies bodies = StagedReader::Bodies::kKeep, Listener listener = nullptr,
               Nodes nodes = Nodes::kOwn);
  /// Calls off what is not done yet, and waits for it to end: for the file that is being read, at most. Nothing is left
  /// behind; nodes that were taken stay as they are.
  ~SceneOpening();

  SceneOpening(const SceneOpening&) = delete;
  SceneOpening& operator=(const SceneOpening&) = delete;

  Progress GetProgress() const;

  /// Waits for the nodes and gives them away, to whoever calls first. An empty pointer afterwards, and when the file
  /// cannot be opened or it was called off before. What the reader threw is thrown.
  ///
  /// Bodies come to the nodes' graphics afterwards: `GRepShape::GetShape` has them when they are there, and
  /// `GRepShape::WaitForShape` waits.
  std::shared_ptr<SceneNode> TakeRoot();

  /// Waits for the end, and until the listener has heard of it: it hears nothing afterwards. What the reader threw
  /// meanwhile is thrown, once.
  void Wait();

  /// Calls it off and returns at once. Nodes that are there can still be taken; of bodies those stay that have come.
  void Cancel();

 private:
  class Work;
  std::unique_ptr<Work> work_;
};

}  // namespace mirel
