#include <Programs/mirel/Import/DocumentReader.h>

#include <Programs/mirel/FailureText.h>
#include <Programs/mirel/Import/OcctMessages.h>
#include <Programs/mirel/Import/OcctProgress.h>
#include <Programs/mirel/Stopwatch.h>
#include <Programs/mirel/Text/Utf8.h>

#include <Interface_Check.hxx>
#include <Interface_CheckIterator.hxx>
#include <Interface_InterfaceModel.hxx>
#include <Interface_ReportEntity.hxx>
#include <Interface_Static.hxx>
#include <Standard_Failure.hxx>
#include <TDF_LabelSequence.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_Reader.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace mirel {

namespace {

const char* WhyUnread(IFSelect_ReturnStatus status) {
  switch (status) {
  case IFSelect_RetError:
    return "the file could not be opened or does not follow its format";
  case IFSelect_RetFail:
    return "the file does not follow its format";
  case IFSelect_RetVoid:
    return "the file holds no data";
  default:
    return "the file could not be read";
  }
}

}  // namespace

IFSelect_ReturnStatus DocumentReader::ReadEntities(const SourceFile& file, XSControl_Reader& reader,
                                                   StageProgress&) {
  return reader.ReadFile(file.GetReadPath().c_str());
}

void DocumentReader::AddHeader(const char* key, const Handle(TCollection_HAsciiString) & text) {
  if (!text.IsNull() && text->Length() > 0) {
    header_[key].push_back(Utf8::MakeValid(text->ToCString()));
  }
}

void DocumentReader::AddErrors(const Handle(Interface_InterfaceModel) & entities,
                               const Handle(Standard_Transient) & entity, const Interface_Check& check) {
  const bool isKnown = !entity.IsNull() && entities->Contains(entity);
  const std::string label =
      isKnown ? entities->StringLabel(entity)->ToCString() : "an entity of another file";
  const std::string type = isKnown ? entities->TypeName(entity, Standard_False) : "";
  for (int i = 1; i <= check.NbFails(); ++i) {
    entityErrors_.Add((type.empty() ? type : type + ": ") + check.CFail(i), label);
  }
}

void DocumentReader::LookAtErrors(const Handle(Interface_InterfaceModel) & entities, int number) {
  const Handle(Interface_ReportEntity) report = entities->ReportEntity(number);
  const Interface_Check& check = *report->Check();
  bool omits = check.HasFailed();
  for (int i = 1; i <= check.NbFails(); ++i) {
    omits &= IsOmission(report, check.CFail(i));
  }
  ++(omits ? incompleteEntities_ : badEntities_);
  AddErrors(entities, entities->Value(number), check);
}

bool DocumentReader::Run(const SourceFile& file, XSControl_Reader& reader, const TransferFunction& transfer) {
  Interface_Static::SetCVal("xstep.cascade.unit", "MM");
  Stopwatch watch;
  progress_.Begin("reading");
  const IFSelect_ReturnStatus status = ReadEntities(file, reader, progress_);
  readSeconds_ = watch.Lap();
  if (status != IFSelect_RetDone) {
    error_ = WhyUnread(status);
    return false;
  }
  const Handle(Interface_InterfaceModel) entities = reader.Model();
  for (int i = 1; i <= entities->NbEntities(); ++i) {
    if (entities->IsErrorEntity(i)) {
      LookAtErrors(entities, i);
    }
    Mend(entities->Value(i));
  }
  // Other files that this one refers to lie beside it, not where it was inflated; relative paths are not resolved.
  std::error_code ignored;
  const std::filesystem::path path =
      std::filesystem::absolute(std::filesystem::u8path(file.GetPath()), ignored);
  reader.WS()->SetLoadedFile(path.u8string().c_str());
  progress_.Begin("transfer");
  const Handle(OcctProgress) indicator = new OcctProgress(progress_);
  const bool transferred = transfer(indicator->Start());
  transferSeconds_ = watch.Lap();
  const Handle(Transfer_TransientProcess) process = reader.WS()->TransferReader()->TransientProcess();
  if (!process.IsNull()) {
    for (Interface_CheckIterator checks = process->CheckList(Standard_True); checks.More(); checks.Next()) {
      if (checks.Value()->HasFailed() && !IsOtherFile(checks.Value()->Entity())) {
        ++failedEntities_;
        AddErrors(entities, checks.Value()->Entity(), *checks.Value());
      }
    }
  }
  if (!transferred) {
    error_ = "the file was read, but its content could not be translated";
    return false;
  }
  return true;
}

Handle(TDocStd_Document) DocumentReader::Read(const SourceFile& file) {
  const OcctMessages quiet;
  // Without this, labels that have no name in the file would get one made up.
  XCAFDoc_ShapeTool::SetAutoNaming(Standard_False);
  XCAFDoc_ColorTool::SetAutoNaming(Standard_False);

  Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
  bool good = false;
  try {
    XCAFApp_Application::GetApplication()->InitDocument(document);
    good = ReadInto(document, file);
    if (good) {
      TDF_LabelSequence roots;
      XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
      if (roots.IsEmpty()) {
        error_ = "the file holds no shapes";
        good = false;
      }
    }
  } catch (const Standard_Failure&) {
    error_ = FailureText::OfCaught();
    good = false;
  } catch (const std::exception& failure) {
    error_ = std::string("OpenCASCADE gave up: ") + failure.what();
    good = false;
  }
  messages_ = quiet.GetFailures();
  // The same complaint about many entities is one for the reader.
  messages_.erase(std::unique(messages_.begin(), messages_.end()), messages_.end());
  if (!good) {
    document.Nullify();
  }
  return document;
}

}  // namespace mirel
