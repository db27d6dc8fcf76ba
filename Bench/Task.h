#pragma once

#include <Bench/Figures.h>

#include <cstddef>
#include <string>
#include <vector>

namespace mirel::bench {

/// What a task works on. Which fields matter is the task's.
struct TaskInput {
  std::string work;       ///< the work folder, ending with a separator; its files are named in WorkFolder.h
  std::string source;     ///< the STEP file
  std::string kind;       ///< of a generated model or a growth series
  std::size_t count = 0;  ///< the generated model's size
  std::string variant;    ///< of the mesher
};

/// One measurement. It runs in a process of its own, measures one thing with a `Meter`, and gives back
/// "seconds", "peakBytes" and "liveBytes" beside whatever else it counted. What has to be there before is not
/// part of the measurement. Throws `std::runtime_error` when the thing could not be done: there are no
/// figures of half a job.
struct Task {
  const char* name;
  const char* help;
  Figures (*run)(const TaskInput&);
};

/// All tasks.
const std::vector<Task>& GetTasks();

// By area; GetTasks puts them together.
std::vector<Task> FolderTasks();
std::vector<Task> PeerTasks();
std::vector<Task> SaveTasks();
std::vector<Task> ReadTasks();
std::vector<Task> IndexTasks();
std::vector<Task> SceneTasks();
std::vector<Task> GrowthTasks();
std::vector<Task> PictureTasks();
std::vector<Task> WindowTasks();
std::vector<Task> ViewerTasks();  ///< none where the viewer is not built
std::vector<Task> PythonTasks();  ///< none where the package is not built
std::vector<Task> ExportTasks();
std::vector<Task> DiffTasks();

}  // namespace mirel::bench
