#include <Viewer/Kernel/Host/Core/DialogUtil.h>

#include <mutex>
#include <utility>

namespace mirel {

namespace {

std::mutex g_mutex;
DialogUtil::OpenFileFunction g_openFile;

}  // namespace

Path DialogUtil::OpenFileDialog(const std::string& name, const std::vector<std::string>& filters) {
  OpenFileFunction ask;
  {
    const std::lock_guard<std::mutex> lock(g_mutex);
    ask = g_openFile;  // called without the lock: a dialog may stay open for minutes
  }
  return ask ? ask(name, filters) : Path();
}

void DialogUtil::SetOpenFileFunction(OpenFileFunction function) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_openFile = std::move(function);
}

}  // namespace mirel
