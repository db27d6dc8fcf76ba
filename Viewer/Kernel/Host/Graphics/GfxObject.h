#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

namespace mirel {

/// Base of everything that the graphics kernel knows by number. Not copyable: a number names one object.
class MIREL_HOST_API GfxObject {
 public:
  /// Draws the next number of the process; objects may be made on any thread.
  GfxObject();
  virtual ~GfxObject();

  GfxObject(const GfxObject&) = delete;
  GfxObject& operator=(const GfxObject&) = delete;

  /// The object's number: never 0, and unique among the first 2^32 - 1 objects of the process.
  unsigned int GetUuid() const { return uuid_; }

 private:
  unsigned int uuid_;
};

}  // namespace mirel
