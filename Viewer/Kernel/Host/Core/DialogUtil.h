#pragma once

#include <Viewer/Kernel/Host/Core/HostExport.h>
#include <Viewer/Kernel/Host/Core/Path.h>

#include <functional>
#include <string>
#include <vector>

namespace mirel {

/// Asks the user. What "asking" means is the program's: it installs a function.
///
/// Thread safety: both operations may be called from any thread; the installed function runs on the asking thread.
class MIREL_HOST_API DialogUtil {
 public:
  /// Given the suggested file name and the filters (description, pattern, description, pattern, ...), returns the
  /// chosen path, or an empty one when the user cancels. It may be a folder that holds a file of the suggested name, which
  /// is then what was chosen.
  using OpenFileFunction =
      std::function<Path(const std::string& name, const std::vector<std::string>& filters)>;

  /// Asks for a file to open through the installed function. Without one, as if the user cancelled: an empty path.
  static Path OpenFileDialog(const std::string& name, const std::vector<std::string>& filters);

  /// Installs the function that `OpenFileDialog` asks; an empty one takes the present one away.
  static void SetOpenFileFunction(OpenFileFunction function);
};

}  // namespace mirel
