#include <Programs/mirel/Program.h>

#include <Programs/mirel/CaughtFailure.h>
#include <Programs/mirel/Check/CheckVerb.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/Diff/DiffVerb.h>
#include <Programs/mirel/Export/ExportVerb.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/OcctSurroundings.h>
#include <Programs/mirel/Open/BoxVerb.h>
#include <Programs/mirel/Open/InfoVerb.h>
#include <Programs/mirel/Open/TreeVerb.h>
#include <Programs/mirel/Picture/PictureVerb.h>
#include <Programs/mirel/Save/InterruptCleanup.h>
#include <Programs/mirel/Save/SaveVerb.h>
#include <Programs/mirel/Seal/SealVerb.h>
#include <Programs/mirel/Text/Nearest.h>
#include <Programs/mirel/View/CommandsVerb.h>
#include <Programs/mirel/View/RunVerb.h>
#include <Programs/mirel/View/StreamVerb.h>
#include <Programs/mirel/Web/PageVerb.h>
#include <Programs/mirel/Web/SiteVerb.h>

#include <Viewer/Kernel/App/ViewerKernelModule.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace mirel {

namespace {

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0  done\n"
    "  1  the command line is wrong; the models are different (mirel diff, for which a wrong line is 2)\n"
    "  2  the input could not be read, or not all of it\n"
    "  3  the output could not be written; what was there before is still there\n"
    "  4  done, but something of the source is not in the output (only under --strict)\n"
    "  5  nothing was done: the command was called off (only mirel run)\n"
    "  6  the folder is damaged, but can be opened (only mirel check)\n"
    "  7  the folder is sound, but there are warnings (only mirel check --strict)\n";

std::vector<std::unique_ptr<Verb>> MakeVerbs() {
  std::vector<std::unique_ptr<Verb>> verbs;
  verbs.push_back(std::make_unique<SaveVerb>());
  verbs.push_back(std::make_unique<TreeVerb>());
  verbs.push_back(std::make_unique<InfoVerb>());
  verbs.push_back(std::make_unique<BoxVerb>());
  verbs.push_back(std::make_unique<CheckVerb>());
  verbs.push_back(std::make_unique<SealVerb>());
  verbs.push_back(std::make_unique<PictureVerb>());
  verbs.push_back(std::make_unique<PageVerb>());
  verbs.push_back(std::make_unique<SiteVerb>());
  verbs.push_back(std::make_unique<ExportVerb>());
  verbs.push_back(std::make_unique<DiffVerb>());
  verbs.push_back(std::make_unique<RunVerb>());
  verbs.push_back(std::make_unique<CommandsVerb>());
  verbs.push_back(std::make_unique<StreamVerb>());
  return verbs;
}

// The first word of the command line that nobody takes: an option, or one that is none. Empty when there is none.
std::string FindUnknown(const CLI::App& app, bool isOption) {
  for (const std::string& word : app.remaining(true)) {
    if ((word.size() > 1 && word[0] == '-') == isOption) {
      return word;
    }
  }
  return "";
}

std::vector<std::string> ListVerbs(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* verb : app.get_subcommands(nullptr)) {
    names.push_back(verb->get_name());
  }
  return names;
}

// Without the dashes before them.
std::vector<std::string> ListOptions(const CLI::App& app) {
  std::vector<const CLI::App*> parts = {&app};
  for (const CLI::App* verb : app.get_subcommands()) {
    parts.push_back(verb);
  }
  std::vector<std::string> names;
  for (const CLI::App* part : parts) {
    for (const CLI::Option* option : part->get_options()) {
      names.insert(names.end(), option->get_lnames().begin(), option->get_lnames().end());
    }
  }
  return names;
}

std::string AdviseVerb(const std::string& word, const std::vector<std::string>& verbs) {
  const std::string near = Nearest::Find(word, verbs);
  if (!near.empty()) {
    return "did you mean \"" + near + "\"?";
  }
  std::string list = "there are";
  for (const std::string& verb : verbs) {
    list += (verb == verbs.front() ? " " : ", ") + verb;
  }
  return list;
}

// The command line is not what was expected: says what of it, and what may have been meant.
void Refuse(Console& console, const CLI::App& app, const CLI::ParseError& refusal) {
  const bool hasVerb = !app.get_subcommands().empty();
  const std::string word = FindUnknown(app, false);
  const std::string option = FindUnknown(app, true);
  if (!hasVerb && !word.empty()) {
    console.Error(word, "no such verb; " + AdviseVerb(word, ListVerbs(app)));
  } else if (!option.empty()) {
    const std::string name = option.substr(std::min(option.find_first_not_of('-'), option.size()));
    const std::string near = Nearest::Find(name, ListOptions(app));
    console.Error(option, "no such option" + (near.empty() ? "" : "; did you mean \"--" + near + "\"?"));
  } else {
    console.Error("", hasVerb ? refusal.what() : "a verb is missing, which says what to do");
  }
  const std::string verb = hasVerb ? app.get_subcommands().front()->get_name() + " " : "";
  console.ErrorDetail("`mirel " + verb + "--help` tells what there is");
}

}  // namespace

int Program::Run(int argc, char** argv) {
  OcctSurroundings::Close();
#if defined(SIGXFSZ)
  // A file beyond the user's limit is then an error like a full disk, with its message, and not the end.
  std::signal(SIGXFSZ, SIG_IGN);
#endif
  RegisterViewerKernelModule();
  Console::Options options;
  CLI::App app("Light-weight product structures that open as fast as they unzip", "mirel");
  app.set_version_flag("--version", "mirel " MIREL_VERSION, "Print the version and end");
  app.add_flag("-q,--quiet", options.quiet, "No progress, notes or reports; errors are still printed");
  app.add_flag("-v,--verbose", options.verbose, "Details of what happens, for finding a cause");
  app.add_flag("--progress", options.progressLines,
               "Progress as lines on standard error, for a program that runs this one");
  std::uint64_t memoryLimit = 0;
  app.add_option("--memory-limit", memoryLimit,
                 "What opening a folder may take, such as 2G; beyond it files are refused and nodes left out")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::PositiveNumber)
      ->type_name("BYTES");
  app.footer(kExitCodes);
  app.require_subcommand(1);
  app.fallthrough();  // --quiet and --verbose may also stand behind the verb

  std::vector<std::pair<CLI::App*, std::unique_ptr<Verb>>> verbs;
  for (std::unique_ptr<Verb>& verb : MakeVerbs()) {
    CLI::App* const declared = verb->Declare(app);
    declared->footer(kExitCodes);
    verbs.emplace_back(declared, std::move(verb));
  }
  const auto findChosen = [&verbs] {
    return std::find_if(verbs.begin(), verbs.end(), [](const auto& verb) { return verb.first->parsed(); });
  };
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {
    std::ostringstream text;
    app.exit(asked, text, text);
    return static_cast<int>(Console(options).Data(text.str()) ? ExitCode::kDone : ExitCode::kOutputUnwritten);
  } catch (const CLI::ParseError& refusal) {
    Console console(options);
    Refuse(console, app, refusal);
    const auto chosen = findChosen();
    return static_cast<int>(chosen != verbs.end() ? chosen->second->GetUsageCode() : ExitCode::kUsage);
  }
  MemoryBudget::SetLimit(memoryLimit);
  Console console(options);
  const LogRecorder log(console, "");  // what nobody else listens to
  const auto chosen = findChosen();
  if (!chosen->second->HandlesInterrupts()) {
    InterruptCleanup::Install();
  }
  return static_cast<int>(CaughtFailure::Guard(console, "", [&] { return chosen->second->Run(console); }));
}

}  // namespace mirel
