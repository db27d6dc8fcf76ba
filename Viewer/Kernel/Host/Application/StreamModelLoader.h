#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>

#include <string>

namespace mirel {

/// Takes a model piece by piece from memory and shows it. The host makes a loader for each model, calls `Begin`,
/// hands over the pieces and calls `End` once. Used by one thread at a time.
class MIREL_HOST_API StreamModelLoader {
 public:
  StreamModelLoader();
  virtual ~StreamModelLoader();

  StreamModelLoader(const StreamModelLoader&) = delete;
  StreamModelLoader& operator=(const StreamModelLoader&) = delete;

  virtual void Begin() = 0;
  /// Shows what was loaded; false when it could not be shown.
  virtual bool End() = 0;
  /// Takes a piece of `size` bytes, which the loader must not refer to after it has returned; false when the piece
  /// was refused.
  virtual bool LoadData(const std::string& name, const char* data, unsigned int size) = 0;
  /// Takes a piece of text; false when it was refused.
  virtual bool LoadString(const std::string& name, const std::string& text) = 0;
};

}  // namespace mirel
