#include <Programs/mirel/Save/SaveVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>

#include <Viewer/Kernel/Host/Core/Limits.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>

#include <CLI/CLI.hpp>

namespace mirel {

CLI::App* SaveVerb::Declare(CLI::App& program) {
  CLI::App* const verb = program.add_subcommand(
      "save", "Convert a STEP, IGES or BRep file into a model folder, or many into many");
  verb->add_option(
          "PATHS", paths_,
          "INPUT FOLDER: the file to read (.step .stp .p21 .iges .igs .brep .brp, also with .gz) and the "
          "folder to make; or FILE... with --into DIR")
      ->option_text("...");
  verb->add_flag("--force", options_.conversion.force,
                 "Replace FOLDER if it is a model folder already; with --into, convert again what is done");
  verb->add_flag("--strict", options_.strict,
                 "End with exit code 4 when anything of the source is not saved");
  verb->add_flag("--verify", options_.conversion.verify,
                 "Check the folder, and compare it with the model, before it is put in place");
  verb->add_option("--patience", options_.conversion.patience,
                   "Give up drawing a body after so many seconds without progress (60)")
      ->check(&ArgumentCheck::IsSeconds);
  verb->add_flag("--json", options_.json, "Print the report as JSON");
  DeclareBatch(*verb);
  verb->callback([this] { CheckPaths(); });
  return verb;
}

void SaveVerb::DeclareBatch(CLI::App& verb) {
  CLI::Option* const into = verb.add_option(
      "--into", options_.into, "Convert many files, each into a folder below DIR that is named as the file");
  into->type_name("DIR")->group("Many files");
  const auto add = [&](CLI::Option* option, const char* type) {
    option->needs(into)->group("Many files");
    if (*type != '\0') {
      option->type_name(type);
    }
    return option;
  };
  add(verb.add_option("--files-from", options_.list,
                      "Also those that LIST names, one a line; - is standard input"),
      "LIST");
  add(verb.add_flag("--recursive", options_.recursive, "For a folder, take the files in it and below it"),
      "");
  add(verb.add_option("--jobs", options_.jobs, "How many to convert at once (as many as there are cores)"),
      "N")
      ->check(&ArgumentCheck::IsPositiveCount);
  add(verb.add_option(
          "--memory", options_.memory,
          "What all that run may take together (four fifths of what is free); --memory-limit is for each"),
      "BYTES")
      ->transform(CLI::AsSizeValue(false))
      ->check(CLI::PositiveNumber);
  add(verb.add_option("--time-limit", options_.seconds, "Stop a file after so many seconds (3600)"),
      "SECONDS")
      ->check(&ArgumentCheck::IsSeconds);
  add(verb.add_option("--log", options_.log, "Append a line of JSON to FILE for each file as it ends"),
      "FILE");
  add(verb.add_flag("--check", options_.check,
                    "Convert nothing; tell whether all folders are there, up to date and sound"),
      "");
}

void SaveVerb::CheckPaths() const {
  if (!IsBatch() && paths_.size() != 2) {
    throw CLI::ValidationError(paths_.size() < 2
                                   ? "INPUT and FOLDER are required, or --into DIR for many files"
                                   : "more than INPUT and FOLDER: --into DIR converts many files");
  }
  if (IsBatch() && paths_.empty() && options_.list.empty()) {
    throw CLI::ValidationError("--into requires files, or --files-from");
  }
}

ExitCode SaveVerb::Run(Console& console) {
  if (!IsBatch()) {
    return RunOne(console);
  }
  options_.files = paths_;
  // --memory-limit, which is known to all verbs, is here for what each file may take.
  const std::uint64_t limit = MemoryBudget::GetLimit();
  options_.memoryEach = limit == kMemoryLimit ? 0 : limit;
  return Batch(options_).Run(console);
}

ExitCode SaveVerb::RunOne(Console& console) {
  Conversion conversion(options_.conversion);
  const ExitCode result = conversion.Run(console, paths_[0], paths_[1]);
  if (result != ExitCode::kDone) {
    return result;
  }
  const LossReport& report = conversion.GetReport();
  if ((options_.json || !console.IsQuiet()) &&
      !console.Data(options_.json ? report.ToJson() : report.ToText())) {
    console.Error("", "the report could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return options_.strict && report.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace mirel
