#include <Viewer/Kernel/Host/Core/DialogUtil.h>

#include <filesystem>
#include <mutex>
#include <system_error>
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
  const Path chosen = ask ? ask(name, filters) : Path();
  std::error_code ignored;
  const std::filesystem::path inside = std::filesystem::u8path(chosen.GetText()) / name;
  return chosen && std::filesystem::is_regular_file(inside, ignored) ? Path(inside.u8string()) : chosen;
}

void DialogUtil::SetOpenFileFunction(OpenFileFunction function) {
  const std::lock_guard<std::mutex> lock(g_mutex);
  g_openFile = std::move(function);
}

}  // namespace mirel
