#include <Programs/mirel/Save/Conversion.h>

#include <Programs/mirel/Check/FolderCheck.h>
#include <Programs/mirel/Console.h>
#include <Programs/mirel/CrashGuard.h>
#include <Programs/mirel/Extras/ExtrasReader.h>
#include <Programs/mirel/Extras/ExtrasWriter.h>
#include <Programs/mirel/Import/BRepFile.h>
#include <Programs/mirel/Import/IdSequence.h>
#include <Programs/mirel/Import/ImportLibrary.h>
#include <Programs/mirel/Import/PlacementMatrix.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/LogRecorder.h>
#include <Programs/mirel/Open/ModelFigures.h>
#include <Programs/mirel/Open/ModelFolder.h>
#include <Programs/mirel/Save/FolderReplacement.h>
#include <Programs/mirel/Save/RecordCheck.h>
#include <Programs/mirel/Save/SaveWatcher.h>
#include <Programs/mirel/Save/SavedFolderCheck.h>
#include <Programs/mirel/Save/TypeUseCounter.h>
#include <Programs/mirel/Seal/FolderSeal.h>
#include <Programs/mirel/Stopwatch.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/FolderFiles.h>
#include <Viewer/Kernel/Model/ShapeItem.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <utility>

namespace mirel {

namespace {

// How long the comparison of one body with its graphics may take.
constexpr unsigned int kBodySeconds = 60;

}  // namespace

ExitCode Conversion::Run(Console& console, const std::string& input, const std::string& folder) {
  input_ = input;
  folder_ = folder;
  Stopwatch watch;
  report_ = LossReport();
  record_ = ImportRecord();
  extras_ = Extras();
  otherFiles_.clear();
  LiteModel model;
  ExitCode result = ExitCode::kDone;
  {
    Console::Progress progress(console);
    const SourceFile file(input_);
    if (!file.GetError().empty()) {
      console.Error(input_, file.GetError());
      return ExitCode::kInputUnread;
    }
    // Before the long work, not after it.
    const std::string refusal = FolderReplacement(folder_, options_.force).Check();
    if (!refusal.empty()) {
      console.Error(folder_, refusal);
      return ExitCode::kOutputUnwritten;
    }
    report_.input = input_;
    report_.format = SourceFile::GetFormatName(file.GetFormat());
    report_.inputBytes = file.GetSize();
    report_.folder = folder_;
    result = file.GetFormat() == SourceFile::Format::kBrep
                 ? ReadBody(console, progress.GetBar(), file, model)
                 : ReadAssembly(console, progress.GetBar(), file, model);
    if (result == ExitCode::kDone) {
      result = Write(console, progress.GetBar(), model);
    }
  }
  report_.seconds.emplace_back("total", watch.Lap());
  return result;
}

ExitCode Conversion::ReadAssembly(Console& console, ProgressBar& progress, const SourceFile& file,
                                  LiteModel& model) {
  const ImportLibrary library(file.GetFormat());
  if (!library.GetError().empty()) {
    console.Error(input_, library.GetError());
    return ExitCode::kInputUnread;
  }
  ImportResult result;
  {
    const CrashGuard guard(input_, "the file made OpenCASCADE crash; it is probably damaged",
                           ExitCode::kInputUnread);
    library.Read(file, progress, model, result);
  }
  const bool good = result.error.empty();
  if (!good) {
    console.Error(input_, result.error);
  }
  for (const std::string& message : result.messages) {
    good ? console.Detail(message) : console.ErrorDetail(message);
  }
  if (!good) {
    return ExitCode::kInputUnread;
  }
  record_ = std::move(result.record);
  report_.source = result.source;
  report_.losses = std::move(result.losses);
  report_.remarks = std::move(result.remarks);
  report_.kept = std::move(result.kept);
  extras_ = std::move(result.extras);
  otherFiles_ = std::move(result.otherFiles);
  report_.seconds.emplace_back("reading", result.readSeconds);
  report_.seconds.emplace_back("transfer", result.transferSeconds);
  return ExitCode::kDone;
}

ExitCode Conversion::ReadBody(Console& console, ProgressBar& progress, const SourceFile& file,
                              LiteModel& model) {
  progress.Begin("reading");
  Stopwatch watch;
  std::string text;
  if (!file.ReadAll(text)) {
    console.Error(input_, "cannot be read to its end");
    return ExitCode::kInputUnread;
  }
  std::shared_ptr<TopoShape> body;
  TopoDS_Shape shape;
  {
    const LogRecorder log(console, input_);
    body = BRepFile::Read(std::move(text));
    if (body) {
      shape = body->GetImpl();
    }
  }
  if (shape.IsNull()) {
    return ExitCode::kInputUnread;
  }
  if (!shape.Location().IsIdentity()) {
    body = std::make_shared<TopoShape>(shape.Located(TopLoc_Location()));
  }
  IdSequence ids(file.GetFingerprint());
  auto item = std::make_unique<ShapeItem>();
  item->SetId(ids.Next());
  item->SetShapeId(ids.Next());
  item->SetName(Utf8::MakeValid(file.GetStem()));  // a BRep file holds no names
  item->SetTransform(PlacementMatrix::Of(shape.Location()));
  model.AddShape(item->GetShapeId(), body);
  record_.products.push_back({{item->GetId()}, std::string(), std::nullopt, {}});
  model.AddItem(std::move(item));

  TopTools_IndexedMapOfShape faces;
  TopExp::MapShapes(shape, TopAbs_FACE, faces);
  report_.source.products = 1;
  report_.source.placedShapes = 1;
  report_.source.shapes = 1;
  report_.source.faces = static_cast<std::uint64_t>(faces.Extent());
  report_.seconds.emplace_back("reading", watch.Lap());
  return ExitCode::kDone;
}

ExitCode Conversion::Write(Console& console, ProgressBar& progress, LiteModel& model) {
  const LogRecorder log(console, folder_);
  FolderReplacement replacement(folder_, options_.force);
  std::string reason = replacement.Check();
  if (!reason.empty() || !replacement.Begin(reason)) {
    console.Error(folder_, reason);
    return ExitCode::kOutputUnwritten;
  }
  TypeUseCounter::Count(model);
  GRepShape::SetPatience(options_.patience);
  BodyCheck bodies(model);
  SavedOnce saved = WriteOnce(console, progress, model, replacement.GetFolder());
  const std::vector<BodyCheck::Fault> lost =
      saved.hasAllFiles ? bodies.FindMissing(saved.readBack->GetModel()) : std::vector<BodyCheck::Fault>();
  if (!lost.empty() && lost.size() == model.GetShape().size()) {
    console.Error(input_, "none of its bodies can be saved:");
    for (const BodyCheck::Fault& fault : lost) {
      console.ErrorDetail(Utf8::Printable(fault.text));
    }
    return ExitCode::kInputUnread;
  }
  if (!lost.empty()) {
    bodies.Empty(lost);
    for (const BodyCheck::Fault& fault : lost) {
      extras_.ForgetParts(bodies.GetItems(fault.id));
    }
    saved = WriteOnce(console, progress, model, replacement.GetFolder());
  }
  report_.seconds.emplace_back("tessellation", saved.times.tessellation);
  report_.seconds.emplace_back("writing", saved.times.writing);
  if (!saved.isWhole) {
    console.Error(folder_, "not written; nothing has been changed");
    return ExitCode::kOutputUnwritten;
  }
  const ModelFolder& readBack = *saved.readBack;
  Stopwatch watch;
  const std::vector<BodyCheck::Fault> wrong = bodies.FindDrawnWrongly(readBack.GetModel(), kBodySeconds);
  const ModelFigures figures(readBack.GetModel());
  report_.saved = RecordCheck::CountSaved(record_, readBack.GetModel(), figures);
  report_.colorVariants = record_.colorVariants;
  AddLoss("bodiesGivenUp", "body|bodies whose tessellation did not come to an end", saved.givenUp);
  AddLoss("facesWithoutTriangles", "face|faces that could not be tessellated", figures.facesWithoutTriangles);
  AddFaults("bodiesLost", "body|bodies that could not be saved", lost);
  AddFaults("bodiesDrawnWrongly", "body|bodies that is|are drawn wrongly", wrong);
  for (const ModelFolder::File& file : readBack.GetFiles()) {
    report_.folderBytes += file.packedBytes;
  }
  if (!SaveExtras(console, replacement.GetFolder()) || !SaveRecord(console, replacement.GetFolder()) ||
      !Seal(console, replacement.GetFolder())) {
    return ExitCode::kOutputUnwritten;
  }
  report_.seconds.emplace_back("checking", watch.Lap());
  if (options_.verify) {
    if (!Verify(console, progress, model, *saved.writer, readBack.GetModel(), replacement.GetFolder())) {
      console.Error(folder_, "not written; nothing has been changed");
      return ExitCode::kOutputUnwritten;
    }
    report_.seconds.emplace_back("verifying", watch.Lap());
  }
  if (!replacement.Commit(reason)) {
    console.Error(folder_, reason);
    return ExitCode::kOutputUnwritten;
  }
  const std::string left = replacement.RemoveAside();
  if (!left.empty()) {
    console.Note("the folder that was there before is replaced but cannot be removed: " + left);
  }
  return ExitCode::kDone;
}

bool Conversion::SaveRecord(Console& console, const std::string& folder) {
  if (!options_.record) {
    return true;
  }
  SourceRecord record = *options_.record;
  for (const std::string& name : otherFiles_) {
    record.AddOther(input_, name);
  }
  std::string reason;
  if (!record.Write(folder, reason)) {
    console.Error(folder_, std::string(FolderFiles::kSource) + " cannot be written: " + reason);
    return false;
  }
  return true;
}

bool Conversion::Seal(Console& console, const std::string& folder) {
  FolderSeal::Sums sums;
  std::string reason;
  if (!FolderSeal::Make(folder, sums, reason) || !FolderSeal::Write(folder, sums, reason)) {
    console.Error(folder_, "cannot be sealed: " + reason);
    return false;
  }
  std::error_code ignored;
  report_.folderBytes +=
      std::filesystem::file_size(std::filesystem::u8path(folder + FolderFiles::kSeal), ignored);
  return true;
}

Conversion::SavedOnce Conversion::WriteOnce(Console& console, ProgressBar& progress, LiteModel& model,
                                            const std::string& folder) {
  const LogRecorder log(console, folder_);
  const unsigned givenUpBefore = GRepShape::CountGivenUp();
  SavedOnce saved;
  saved.writer = std::make_unique<LiteModelWriter>(model);
  {
    const CrashGuard guard(input_, "its shapes made OpenCASCADE crash; it is probably damaged",
                           ExitCode::kOutputUnwritten);
    SaveWatcher watcher(std::filesystem::u8path(folder), progress);
    saved.writer->Save(folder);
    saved.times = watcher.Stop();
  }
  if (!options_.verify) {
    saved.writer.reset();  // and with it the graphics
  }
  progress.Begin("checking");
  saved.readBack = std::make_unique<ModelFolder>();
  const bool isRead = saved.readBack->Load(folder);
  const std::vector<ModelFolder::File>& files = saved.readBack->GetFiles();
  saved.hasAllFiles =
      isRead && std::none_of(files.begin(), files.end(), [](const auto& file) { return file.missing; });
  // A body that is given up is a failure of the log, but one that leaves a sound folder: a loss.
  saved.givenUp = GRepShape::CountGivenUp() - givenUpBefore;
  saved.isWhole = isRead && log.GetFailureCount() <= saved.givenUp;
  return saved;
}

bool Conversion::SaveExtras(Console& console, const std::string& folder) {
  if (extras_.IsEmpty()) {
    return true;
  }
  const std::string content = ExtrasWriter::ToJson(extras_);
  if (content.size() > ExtrasWriter::kMaxBytes) {  // no reader would take it
    for (const LossReport::Loss& kept : std::exchange(report_.kept, {})) {
      const auto loss = std::find_if(report_.losses.begin(), report_.losses.end(),
                                     [&](const LossReport::Loss& entry) { return entry.key == kept.key; });
      if (loss == report_.losses.end()) {
        report_.losses.push_back(kept);
      } else {
        loss->count += kept.count;
      }
    }
    return true;
  }
  ExtrasWriter::Save(content, folder);
  const std::string path = folder + FolderFiles::kExtras;
  ExtrasReader readBack;
  if (!readBack.ReadFile(path) || ExtrasWriter::ToJson(readBack.GetExtras()) != content) {
    console.Error(folder_, std::string(FolderFiles::kExtras) + " cannot be read back as it was written: " +
                               (readBack.GetError().empty() ? "it differs" : readBack.GetError()));
    return false;
  }
  std::error_code ignored;
  report_.folderBytes += std::filesystem::file_size(std::filesystem::u8path(path), ignored);
  return true;
}

bool Conversion::Verify(Console& console, ProgressBar& progress, const LiteModel& model,
                        const LiteModelWriter& writer, const LiteModel& readBack,
                        const std::string& folder) const {
  FolderCheck check(folder);
  check.SetProgress(&progress);
  check.Run(FolderCheck::Level::kAgreement);
  FindingList differences;
  progress.Begin("verifying");
  SavedFolderCheck::Compare(model, writer.GetGRepBuilder(), folder, readBack, differences);
  const bool good = check.GetFindings().GetErrorCount() + differences.GetErrorCount() == 0;
  if (!good) {
    console.Error(folder_, "what was written does not pass the verification:");
  }
  std::istringstream lines(check.GetFindings().ToText() + differences.ToText());
  for (std::string line; std::getline(lines, line);) {
    good ? console.Note(line) : console.ErrorDetail(line);
  }
  return good;
}

}  // namespace mirel
