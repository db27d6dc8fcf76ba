#include <Programs/mirel/Import/Part21/StepWorkLibrary.h>

#include <Programs/mirel/Import/Part21/ExchangeStructure.h>
#include <Programs/mirel/Import/Part21/ReaderData.h>
#include <Programs/mirel/Import/Part21/ReaderTool.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Import/WatchedFile.h>
#include <Programs/mirel/StageProgress.h>

#include <Interface_InterfaceModel.hxx>
#include <StepData_FileRecognizer.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepReaderData.hxx>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

namespace fs = std::filesystem;

namespace mirel {

namespace {

std::optional<ExchangeStructure> ScanFile(const SourceFile& file) {
  std::ifstream stream(fs::u8path(file.GetReadPath()), std::ios::binary);
  const std::size_t size = static_cast<std::size_t>(file.GetSize());
  MallocBytes text(static_cast<char*>(std::malloc(size + 1)));
  // A file that has changed since is for a reader that asks for no size.
  if (!text || !stream.read(text.get(), static_cast<std::streamsize>(size)) || stream.peek() != EOF) {
    return std::nullopt;
  }
  text.get()[size] = '\0';
  return ExchangeStructure::Scan(std::move(text), size);
}

// What StepFile_Read does when the text is scanned.
void Load(ExchangeStructure& structure, const Handle(StepData_StepModel) & model,
          const Handle(StepData_Protocol) & protocol, StageProgress& progress) {
  const Handle(StepData_StepReaderData) data =
      new StepData_StepReaderData(static_cast<int>(structure.GetSections().front().records.size()),
                                  static_cast<int>(structure.CountRecords()),
                                  static_cast<int>(structure.CountParameters()), model->SourceCodePage());
  const Part21NewNames renamed = RenameDoubles(structure);
  FillReaderData(structure, *data, renamed);
  structure.ForgetRecords();
  ReaderTool tool(data, protocol, renamed, progress);
  tool.SetErrorHandle(Standard_True);
  tool.PrepareHeader(nullptr);
  tool.Prepare(nullptr);
  tool.FillAhead();
  tool.LoadModel(model);
  progress.SetFraction(1.0);
  if (model->Protocol().IsNull()) {
    model->SetProtocol(protocol);
  }
  tool.Clear();
}

}  // namespace

bool StepWorkLibrary::ReadText(const Handle(StepData_StepModel) & model,
                               const Handle(StepData_Protocol) & protocol) const {
  std::optional<ExchangeStructure> structure = ScanFile(file_);
  if (!structure || structure->CountParameters() > INT_MAX || structure->CountRecords() > INT_MAX ||
      protocol.IsNull()) {
    return false;
  }
  progress_.Begin("analysis");
  Load(*structure, model, protocol, progress_);
  return true;
}

Standard_Integer StepWorkLibrary::ReadFile(const Standard_CString name,
                                           Handle(Interface_InterfaceModel) & model,
                                           const Handle(Interface_Protocol) & protocol) const {
  const Handle(StepData_StepModel) stepModel = new StepData_StepModel;
  if (ReadText(stepModel, Handle(StepData_Protocol)::DownCast(protocol))) {
    model = stepModel;
    return 0;
  }
  WatchedFile content(file_.GetReadPath(), file_.GetSize(), progress_, "analysis");
  return ReadStream(name, content.GetStream(), model, protocol);
}

}  // namespace mirel
