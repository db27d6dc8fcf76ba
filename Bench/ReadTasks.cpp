#include <Bench/Meter.h>
#include <Bench/Task.h>
#include <Bench/WorkFolder.h>

#include <Programs/mirel/Import/Part21/StepSession.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/StageProgress.h>

#include <STEPControl_Reader.hxx>

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

void MustBeRead(IFSelect_ReturnStatus status, const std::string& file) {
  if (status != IFSelect_RetDone) throw std::runtime_error("cannot read " + file);
}

/// Text into entities by OpenCASCADE alone.
Figures TheirEntities(const TaskInput& input) {
  Figures figures;
  STEPControl_Reader reader;
  const Meter meter;
  MustBeRead(reader.ReadFile(input.source.c_str()), input.source);
  meter.Stop(figures);
  return figures;
}

/// The same as `mirel save` does it.
Figures OurEntities(const TaskInput& input) {
  Figures figures;
  const SourceFile file(input.source);
  NoProgress progress;
  const Handle(StepSession) session = StepSession::Make();
  const Meter meter;
  MustBeRead(session->Read(file, progress), input.source);
  meter.Stop(figures);
  return figures;
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
