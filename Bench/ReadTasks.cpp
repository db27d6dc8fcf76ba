#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Programs/mirel/Import/Part21/StepWorkLibrary.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/StageProgress.h>

#include <STEPControl_Reader.hxx>
#include <XSControl_WorkSession.hxx>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace mirel::bench {

namespace {

class NoProgress final : public StageProgress {
 public:
  void Begin(const std::string&) override {}
  void SetFraction(double) override {}
};

Figures ReadEntities(const TaskInput& input, STEPControl_Reader& reader) {
  Figures figures;
  const Meter meter;
  if (reader.ReadFile(input.source.c_str()) != IFSelect_RetDone)
    throw std::runtime_error("cannot read " + input.source);
  meter.Stop(figures);
  return figures;
}

/// Text into entities by OpenCASCADE alone.
Figures TheirEntities(const TaskInput& input) {
  STEPControl_Reader reader;
  return ReadEntities(input, reader);
}

/// The same with our scanner, as `mirel save` does it.
Figures OurEntities(const TaskInput& input) {
  const SourceFile file(input.source);
  NoProgress progress;
  STEPControl_Reader reader;
  reader.WS()->SetLibrary(new StepWorkLibrary(file, progress));
  return ReadEntities(input, reader);
}

/// `mirel save` as a process: its time from beginning to end, and its peak memory as the kernel counts it.
Figures Program(const TaskInput& input) {
  const std::string folder = ScratchFolder(input.work);
  std::filesystem::remove_all(folder);
  Figures figures;
  const Meter meter;
  const pid_t child = fork();
  if (child == 0) {
    execl(MIREL_PROGRAM, MIREL_PROGRAM, "save", "-q", input.source.c_str(), folder.c_str(), nullptr);
    _exit(127);
  }
  int status = -1;
  rusage usage{};
  if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0)
    throw std::runtime_error("mirel save failed");
  meter.Stop(figures);
  figures.Set("userSeconds", static_cast<double>(usage.ru_utime.tv_sec) +
                                 1e-6 * static_cast<double>(usage.ru_utime.tv_usec));
  figures.Set("peakBytes", 1024.0 * static_cast<double>(usage.ru_maxrss));
  return figures;
}

}  // namespace

std::vector<Task> ReadTasks() {
  return {{"entities", "read the entities of --source with our scanner", OurEntities},
          {"step-entities", "the same by OpenCASCADE alone", TheirEntities},
          {"program", "mirel save of --source, as a process", Program}};
}

}  // namespace mirel::bench
