#include <Bench/Task.h>

namespace mirel::bench {

const std::vector<Task>& GetTasks() {
  static const std::vector<Task> tasks = [] {
    std::vector<Task> all;
    for (const auto& area :
         {FolderTasks, PeerTasks, SaveTasks, ReadTasks, IndexTasks, SceneTasks, GrowthTasks, PictureTasks,
          WindowTasks, ViewerTasks, PythonTasks, ExportTasks, DiffTasks}) {
      const std::vector<Task> some = area();
      all.insert(all.end(), some.begin(), some.end());
    }
    return all;
  }();
  return tasks;
}

}  // namespace mirel::bench
