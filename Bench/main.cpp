#include <Bench/Prepare.h>
#include <Bench/Run.h>
#include <Bench/Task.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <CLI/CLI.hpp>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Standard_Failure.hxx>
#include <Standard_Version.hxx>

#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <string>
#include <thread>

namespace {

using namespace mirel::bench;

std::string CpuModel() {
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  }
  return "unknown";
}

std::string Today() {
  const std::time_t now = std::time(nullptr);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
  return text;
}

void AddFacts(Report& report, const RunOptions& options, const std::string& command) {
  report.AddFact("processor", CpuModel());
  report.AddFact("cores", std::to_string(std::thread::hardware_concurrency()));
  report.AddFact("date", Today());
  report.AddFact("OpenCASCADE", OCC_VERSION_COMPLETE);
  report.AddFact("rounds", std::to_string(options.rounds));
  report.AddFact("command", command);
}

bool WriteFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text << '\n';
  return static_cast<bool>(file.flush());
}

int RunAll(RunOptions& options, const std::string& jsonFile, int argc, char** argv) {
  std::string command = "mirel-bench";
  for (int i = 1; i < argc; ++i)
    command += std::string(" ") + argv[i];
  Report report = Run(options);
  AddFacts(report, options, command);
  std::puts(report.ToMarkdown().c_str());
  if (!jsonFile.empty() && !WriteFile(jsonFile, report.ToJson())) {
    std::fprintf(stderr, "mirel-bench: cannot write %s\n", jsonFile.c_str());
    return 3;
  }
  return 0;
}

int RunTask(const std::string& name, const TaskInput& input) {
  for (const Task& task : GetTasks()) {
    if (name != task.name) continue;
    std::puts(task.run(input).ToJson().c_str());
    return 0;
  }
  std::fprintf(stderr, "mirel-bench: no task %s; there are:\n", name.c_str());
  for (const Task& task : GetTasks())
    std::fprintf(stderr, "  %-12s %s\n", task.name, task.help);
  return 1;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("Measures model folders against other ways of opening the same assembly, each in a process of "
               "its own.");
  app.require_subcommand(1);

  RunOptions options;
  std::string jsonFile;
  CLI::App* const run = app.add_subcommand("run", "measure STEP files and generated models, print tables");
  run->add_option("files", options.sources, "STEP files")->check(CLI::ExistingFile);
  run->add_option("--work", options.work, "folder for what is prepared; some hundred MB")->required();
  run->add_option("--rounds", options.rounds, "how often everything is measured, in turn")
      ->check(CLI::Range(1, 1000));
  run->add_option("--json", jsonFile, "write the figures to this file too");
  run->add_option("--max-items", options.maxItems, "size of the largest generated model")
      ->check(CLI::Range(1000, 100000000));
  run->add_flag("!--no-generated", options.generated, "measure the files only");
  run->add_flag("--tiny", options.tiny, "generated models just large enough to test the benchmark itself");

  std::string source;
  TaskInput input;
  CLI::App* const prepare = app.add_subcommand("prepare", "make from a STEP file what the tasks work on");
  prepare->add_option("file", source, "STEP file")->required();
  prepare->add_option("--work", input.work, "folder for it")->required();

  std::string taskName;
  CLI::App* const task =
      app.add_subcommand("task", "measure one thing in this process, print one line of JSON");
  task->add_option("name", taskName, "what to measure; any other word lists all")->required();
  task->add_option("--work", input.work, "a prepared folder");
  task->add_option("--source", input.source, "STEP file");
  task->add_option("--kind", input.kind, "of a generated model or growth series");
  task->add_option("--count", input.count, "size of a generated model");
  task->add_option("--variant", input.variant, "of the mesher");
  CLI11_PARSE(app, argc, argv);

  for (std::string* const folder : {&options.work, &input.work}) {
    if (!folder->empty() && folder->back() != '/') *folder += '/';
  }
  Message::DefaultMessenger()->ChangePrinters().Clear();  // stdout is for figures
  // Generated models without graphics say so once for each item.
  mirel::Logger::Instance().SetSink([count = 0](int level, const std::string& text) mutable {
    constexpr int kMost = 10;
    if (level != 3 || ++count > kMost) return;
    std::fprintf(stderr, "%s%s\n", text.c_str(), count == kMost ? " (no more failures are shown)" : "");
  });
  if (*run) return RunAll(options, jsonFile, argc, argv);
  if (*task) return RunTask(taskName, input);
  Prepare(source, input.work);
  std::puts("{}");
  return 0;
} catch (const Standard_Failure& failure) {
  std::fprintf(stderr, "mirel-bench: OpenCASCADE failed: %s\n", failure.GetMessageString());
  return 2;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "mirel-bench: %s\n", failure.what());
  return 2;
}
