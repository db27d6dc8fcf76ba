#include <Programs/mirel/Export/ExactExport.h>

#include <Programs/mirel/Console.h>
#include <Programs/mirel/CrashGuard.h>
#include <Programs/mirel/Export/Exact/ExactShapes.h>
#include <Programs/mirel/Export/Exact/ExactStructure.h>
#include <Programs/mirel/Export/Step/WriteStep.h>
#include <Programs/mirel/Import/BodyText.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ExtrasOpener.h>
#include <Programs/mirel/Open/IdSearch.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/ProgramLibrary.h>
#include <Programs/mirel/Seal/FileBytes.h>
#include <Programs/mirel/Text/Plural.h>

#include <Viewer/Kernel/Model/GroupItem.h>
#include <Viewer/Kernel/Model/LiteModel.h>

#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <filesystem>

namespace mirel {

namespace {

// OpenCASCADE makes something of every place, also of one inside an assembly that stands in many.
constexpr std::uint64_t kMostPlaced = 10'000'000;

std::vector<IdSearch::Called> ListItems(const LiteModel& model) {
  std::vector<const LiteModelItem*> open;
  for (const auto& item : model.GetItems()) {
    open.push_back(item.get());
  }
  for (const auto& type : model.GetTypes()) {
    open.push_back(type.second.get());
  }
  std::vector<IdSearch::Called> all;
  while (!open.empty()) {
    const LiteModelItem* const item = open.back();
    open.pop_back();
    if (item == nullptr) {
      continue;
    }
    all.push_back({item->GetId().GetInteger(), &item->GetName()});
    if (const auto* const group = dynamic_cast<const GroupItem*>(item)) {
      for (const auto& child : group->GetChildren()) {
        open.push_back(child.get());
      }
    }
  }
  return all;
}

}  // namespace

ExitCode ExactExport::Run(const std::string& input, const std::string& folder, const std::string& output) {
  LogRecorder log(console_, input);
  Console::Progress progress(console_);
  progress.GetBar().Begin("opening");
  ModelFolder model;
  std::optional<Extras> extras;
  std::set<unsigned long long> only;
  if (!model.Load(folder, ModelFolder::Graphics::kPassOver)) {
    if (log.GetFailureCount() == 0) {
      console_.Error(input, "not a model folder");
    }
    return ExitCode::kInputUnread;
  }
  const bool hasExtras = ExtrasOpener::Open(console_, folder, extras);
  if (!FindOnly(model.GetModel(), input, only)) {
    return ExitCode::kInputUnread;
  }
  const ExactStructure structure =
      ExactStructureMaker::Make(model.GetModel(), extras ? &*extras : nullptr, only);
  if (structure.roots.empty()) {
    console_.Error(input, "there is nothing to be written");
    return ExitCode::kInputUnread;
  }
  if (ExactStructureMaker::CountPlaced(structure) > kMostPlaced) {
    console_.Error(output,
                   "the model has more than " + std::to_string(kMostPlaced) + " placed parts and assemblies");
    return ExitCode::kOutputUnwritten;
  }
  const CrashGuard guard(output, "OpenCASCADE crashed while writing it", ExitCode::kOutputUnwritten);
  const ExactShapes shapes(structure, model.GetModel(), progress.GetBar());
  AddLosses(structure, shapes);
  const std::string error = Write(progress.GetBar(), structure, shapes, extras, output);
  if (!error.empty()) {
    console_.Error(output, error);
    return ExitCode::kOutputUnwritten;
  }
  TellLosses();
  return log.GetFailureCount() == 0 && hasExtras ? ExitCode::kDone : ExitCode::kInputUnread;
}

bool ExactExport::HasLosses() const {
  return std::any_of(losses_.begin(), losses_.end(),
                     [](const LossReport::Loss& loss) { return loss.count > 0; });
}

bool ExactExport::FindOnly(const LiteModel& model, const std::string& input,
                           std::set<unsigned long long>& ids) const {
  const std::vector<IdSearch::Called> all =
      options_.only.empty() ? std::vector<IdSearch::Called>() : ListItems(model);
  for (const std::string& name : options_.only) {
    std::string error;
    const std::optional<unsigned long long> id = IdSearch::Find(name, all, error);
    if (!id) {
      console_.Error(input, error);
      return false;
    }
    ids.insert(*id);
  }
  return true;
}

std::string ExactExport::Write(ProgressBar& progress, const ExactStructure& structure,
                               const ExactShapes& shapes, const std::optional<Extras>& extras,
                               const std::string& output) {
  std::string reason;
  if (options_.isBRep) {
    progress.Begin("writing");
    return FileBytes::Replace(output, BodyText::Of(shapes.GetWhole()), reason) ? "" : reason;
  }
  const ProgramLibrary library("MirelWriteSTEP", "MirelWriteStep");
  if (!library.GetError().empty()) {
    return library.GetPath().empty()
               ? "the library that writes STEP files is not found: " + library.GetError()
               : "STEP files are written by " + library.GetPath() +
                     ", which cannot be loaded: " + library.GetError();
  }
  const StepRequest request = {structure,
                               shapes.GetAll(),
                               extras ? &*extras : nullptr,
                               std::filesystem::u8path(output).filename().u8string(),
                               "mirel " MIREL_VERSION,
                               options_.isAp214};
  StepResult result;
  reinterpret_cast<decltype(&MirelWriteStep)>(library.GetFunction())(request, progress, result);
  losses_.insert(losses_.end(), result.losses.begin(), result.losses.end());
  inexact_ = result.inexact;
  if (!result.error.empty()) {
    return result.error;
  }
  return FileBytes::Replace(output, result.text, reason) ? "" : reason;
}

void ExactExport::AddLosses(const ExactStructure& structure, const ExactShapes& shapes) {
  losses_.push_back({"bodies", "body|bodies that is|are not in the folder or cannot be decoded",
                     shapes.GetMissing().size(), shapes.GetMissing()});
  losses_.push_back({"placements", "place|places that is|are not finite, or flat", structure.leftOut, {}});
  losses_.push_back({"brokenInstances",
                     "instance|instances without a type, inside itself|themselves or nested too deep",
                     structure.broken,
                     {}});
  losses_.push_back(
      {"instanceColors", "colour|colours of instances, which nothing shows", structure.hiddenColors, {}});
}

void ExactExport::TellLosses() const {
  for (const LossReport::Loss& loss : losses_) {
    Tell("not written", loss);
  }
  Tell("may come back with other areas", inexact_);
}

void ExactExport::Tell(const std::string& what, const LossReport::Loss& loss) const {
  if (loss.count > 0) {
    console_.Note(what + ": " + Plural::Count(loss.count, loss.text));
    for (const std::string& line : loss.details) {
      console_.Note("    " + line);
    }
  }
}

}  // namespace mirel
