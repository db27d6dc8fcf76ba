#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

namespace mirel {

/// A material that a viewer gives to what it draws. This host layer draws nothing, so the class only gives the
/// operations that accept one a type to name; the module always passes null.
class MIREL_HOST_API MaterialInstance {
 public:
  MaterialInstance() = default;
  virtual ~MaterialInstance();
};

}  // namespace mirel
