#include <Programs/mirel/Import/Part21/StepWorkLibrary.h>

#include <Programs/mirel/Import/Part21/ExchangeStructure.h>
#include <Programs/mirel/Import/Part21/ReaderData.h>
#include <Programs/mirel/Import/SourceFile.h>
#include <Programs/mirel/Import/WatchedFile.h>
#include <Programs/mirel/StageProgress.h>

#include <Interface_Check.hxx>
#include <Interface_InterfaceModel.hxx>
#include <StepData_FileRecognizer.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepReaderData.hxx>
#include <StepData_StepReaderTool.hxx>

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

// OpenCASCADE's tool, which fills one entity after the other and tells nobody how far it is. It also tells of the entities
// whose names others have.
class WatchedReaderTool : public StepData_StepReaderTool {
 public:
  WatchedReaderTool(const Handle(StepData_StepReaderData) & data, const Handle(StepData_Protocol) & protocol,
                    const Part21NewNames& renamed, StageProgress& progress)
      : StepData_StepReaderTool(data, protocol),
        records_(data->NbRecords()),
        doubles_(renamed),
        progress_(progress) {}

  Standard_Boolean AnalyseRecord(const Standard_Integer record, const Handle(Standard_Transient) & entity,
                                 Handle(Interface_Check) & check) override {
    progress_.SetFraction(static_cast<double>(record) / records_);
    if (doubles_.erase(record) > 0) {
      check->AddFail("Another entity before it has the same number");
    }
    return StepData_StepReaderTool::AnalyseRecord(record, entity, check);
  }

 private:
  const int records_;
  Part21NewNames doubles_;  // that nobody has been told of
  StageProgress& progress_;
};

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
  WatchedReaderTool tool(data, protocol, renamed, progress);
  tool.SetErrorHandle(Standard_True);
  tool.PrepareHeader(nullptr);
  tool.Prepare(nullptr);
  tool.LoadModel(model);
  if (model->Protocol().IsNull()) {
    model->SetProtocol(protocol);
  }
  tool.Clear();
}

}  // namespace

Standard_Integer StepWorkLibrary::ReadFile(const Standard_CString name,
                                           Handle(Interface_InterfaceModel) & model,
                                           const Handle(Interface_Protocol) & protocol) const {
  const auto stepProtocol = Handle(StepData_Protocol)::DownCast(protocol);
  std::optional<ExchangeStructure> structure = ScanFile(file_);
  if (!structure || structure->CountParameters() > INT_MAX || structure->CountRecords() > INT_MAX ||
      stepProtocol.IsNull()) {
    WatchedFile content(file_.GetReadPath(), file_.GetSize(), progress_, "analysis");
    return ReadStream(name, content.GetStream(), model, protocol);
  }
  progress_.Begin("analysis");
  const Handle(StepData_StepModel) stepModel = new StepData_StepModel;
  model = stepModel;
  Load(*structure, stepModel, stepProtocol, progress_);
  return 0;
}

}  // namespace mirel
