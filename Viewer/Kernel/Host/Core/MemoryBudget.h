#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <cstdint>

namespace mirel {

/// How much memory may be taken for what is opened, all in one: inflated files, the texts of bodies, graphics and scene
/// nodes. What does not fit is refused with a message, as if it were damaged; what was there before stays.
///
/// One budget for the process: whoever opens files of strangers sets a limit before. It counts what this host layer holds,
/// and leaves room for what readers make of a file (`kMemoryPerContentByte`); bodies that OpenCASCADE has decoded, on
/// request, are not counted. Thread safe. An extra of this host.
class MIREL_HOST_API MemoryBudget {
 public:
  /// In bytes; 0 sets the limit that holds at first (`kMemoryLimit`). What is held already stays, also beyond it.
  static void SetLimit(std::uint64_t bytes);
  static std::uint64_t GetLimit();

  /// Bytes that are counted at present.
  static std::uint64_t GetUsed();
  static bool IsExceeded() { return GetUsed() > GetLimit(); }

  /// A part of the budget, which is given back when the share is destroyed.
  class MIREL_HOST_API Share {
   public:
    Share() = default;
    /// Takes so many bytes, or nothing when they do not fit.
    explicit Share(std::uint64_t bytes);
    Share(Share&& other) noexcept : bytes_(other.bytes_) { other.bytes_ = 0; }
    Share& operator=(Share&& other) noexcept;
    ~Share();

    bool HasTaken(std::uint64_t bytes) const { return bytes_ == bytes; }

   private:
    std::uint64_t bytes_ = 0;
  };

 private:
  friend class SceneNode;

  static void Add(std::uint64_t bytes);
  static void GiveBack(std::uint64_t bytes);
};

}  // namespace mirel
