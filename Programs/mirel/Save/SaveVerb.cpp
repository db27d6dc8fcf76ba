#include <Programs/mirel/Save/SaveVerb.h>

#include <Programs/mirel/ArgumentCheck.h>
#include <Programs/mirel/Console.h>

#include <CLI/CLI.hpp>

namespace mirel {

CLI::App* SaveVerb::Declare(CLI::App& program) {
  CLI::App* const verb =
      program.add_subcommand("save", "Convert a STEP, IGES or BRep file into a model folder");
  verb->add_option("INPUT", input_, "File to read: .step .stp .p21 .iges .igs .brep .brp, also with .gz")
      ->required();
  verb->add_option("FOLDER", folder_, "Folder to make")->required();
  verb->add_flag("--force", options_.force, "Replace FOLDER if it is a model folder already");
  verb->add_flag("--strict", strict_, "End with exit code 4 when anything of the source is not saved");
  verb->add_flag("--verify", options_.verify,
                 "Check the folder, and compare it with the model, before it is put in place");
  verb->add_option("--patience", options_.patience,
                   "Give up drawing a body after so many seconds without progress (60)")
      ->check(&ArgumentCheck::IsSeconds);
  verb->add_flag("--json", json_, "Print the report as JSON");
  return verb;
}

ExitCode SaveVerb::Run(Console& console) {
  Conversion conversion(options_);
  const ExitCode result = conversion.Run(console, input_, folder_);
  if (result != ExitCode::kDone) {
    return result;
  }
  const LossReport& report = conversion.GetReport();
  if ((json_ || !console.IsQuiet()) && !console.Data(json_ ? report.ToJson() : report.ToText())) {
    console.Error("", "the report could not be printed");
    return ExitCode::kOutputUnwritten;
  }
  return strict_ && report.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace mirel
