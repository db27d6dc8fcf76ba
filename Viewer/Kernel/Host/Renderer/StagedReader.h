#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <cstdint>
#include <memory>
#include <string>

namespace mirel {

class SceneNode;

/// What a registered `SceneReader` can do beyond its base: open what can be drawn first and exact bodies afterwards, and
/// open a folder. Whoever wants it asks the reader by `std::dynamic_pointer_cast`; `SceneOpening` does. An extra of this
/// host.
class MIREL_HOST_API StagedReader {
 public:
  virtual ~StagedReader();

  /// Whoever waits for a file that is being opened.
  class MIREL_HOST_API Watcher {
   public:
    virtual ~Watcher();
    /// How many bytes there are to read in all. Called once, when that is known.
    virtual void Expect(std::uint64_t bytes) = 0;
    /// So many more bytes have been read. False when nobody waits any more: the reader returns as soon as it can.
    virtual bool Advance(std::uint64_t bytes) = 0;
  };

  /// What becomes of the exact bodies.
  enum class Bodies : std::uint8_t {
    kKeep,  ///< they go to the graphics of the nodes (`GRepShape::SetShape`), one file after another
    kCheck  ///< each is checked and let go again, for the sake of the messages
  };

  /// One file while it is opened. Each operation is called once, in this order; by any thread, but one at a time.
  class MIREL_HOST_API Stages {
   public:
    /// Of graphics that wait for their bodies none waits any longer.
    virtual ~Stages();
    /// Called first, if at all: what is inside a type may be made once, and stand below each instance of it. Then the parent
    /// of such nodes, and what follows from it, is that of one instance; the rest is the same. A reader need not be able to.
    virtual void ShareNodes() {}
    /// Everything but the bodies. The root, or an empty pointer after a message; also when it was called off.
    virtual std::shared_ptr<SceneNode> LoadGraphics() = 0;
    /// The bodies. Called only when there was a root; who has it may use the nodes meanwhile, and let them go.
    virtual void LoadBodies() = 0;
  };

  /// Begins to open a file, or a folder in which `FindFile` finds one. Reads nothing yet. The watcher must outlive what
  /// is returned, and hears from the thread that calls its operations.
  virtual std::unique_ptr<Stages> Begin(const std::string& path, Bodies bodies, Watcher& watcher) = 0;

  /// The file that stands for a folder as a whole, a narrow path (UTF-8); empty when the folder has none.
  virtual std::string FindFile(const std::string& folder) const = 0;
};

}  // namespace mirel
