#include <Programs/mirel/Import/DocumentReader.h>

#include <Programs/mirel/CrashGuard.h>
#include <Programs/mirel/Import/OcctMessages.h>
#include <Programs/mirel/Import/OcctProgress.h>
#include <Programs/mirel/Stopwatch.h>

#include <IGESCAFControl_Reader.hxx>
#include <Interface_CheckIterator.hxx>
#include <Interface_InterfaceModel.hxx>
#include <Interface_Static.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <Standard_Failure.hxx>
#include <StepBasic_Product.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDF_LabelSequence.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFApp_Application.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <string_view>

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

void SwitchEverythingOn(STEPCAFControl_Reader& reader) {
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
  reader.SetPropsMode(Standard_True);
  reader.SetSHUOMode(Standard_True);
  reader.SetGDTMode(Standard_True);
  reader.SetMatMode(Standard_True);
  reader.SetViewMode(Standard_True);
}

void SwitchEverythingOn(IGESCAFControl_Reader& reader) {
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
}

Handle(XSControl_WorkSession) GetSession(const STEPCAFControl_Reader& reader) {
  return reader.Reader().WS();
}
Handle(XSControl_WorkSession) GetSession(const IGESCAFControl_Reader& reader) {
  return reader.WS();
}

bool IsSkipped(const Handle(TCollection_HAsciiString) & text) {
  if (text.IsNull() || text->UsefullLength() > 0) {
    return false;
  }
  const std::string_view bytes(text->ToCString(), static_cast<std::size_t>(text->Length()));
  return std::any_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) != 0; });
}

// OpenCASCADE names a component by its description, name or id, a product by its name or id, whichever is not
// blank first, but takes a text without any visible ASCII character for blank. Only the id is taken as it is,
// whatever it holds, and nothing else needs it: so a name that would be skipped is moved there.
void KeepName(const Handle(Standard_Transient) & entity) {
  if (const auto product = Handle(StepBasic_Product)::DownCast(entity)) {
    if (IsSkipped(product->Name())) {
      product->SetId(product->Name());
    }
  } else if (const auto component = Handle(StepRepr_NextAssemblyUsageOccurrence)::DownCast(entity)) {
    if (IsSkipped(component->Description())) {
      component->SetName(component->Description());
    }
    if (IsSkipped(component->Name())) {
      component->SetId(component->Name());
    }
  }
}

}  // namespace

template <typename Reader>
bool DocumentReader::Run(Reader& reader, const SourceFile& file, const Handle(TDocStd_Document) & document) {
  Interface_Static::SetCVal("xstep.cascade.unit", "MM");
  SwitchEverythingOn(reader);
  Stopwatch watch;
  progress_.Begin("reading");
  const IFSelect_ReturnStatus status = reader.ReadFile(file.GetReadPath().c_str());
  readSeconds_ = watch.Lap();
  if (status != IFSelect_RetDone) {
    error_ = WhyUnread(status);
    return false;
  }
  const Handle(Interface_InterfaceModel) entities = GetSession(reader)->Model();
  for (int i = 1; i <= entities->NbEntities(); ++i) {
    badEntities_ += entities->IsErrorEntity(i) ? 1 : 0;
    KeepName(entities->Value(i));
  }
  progress_.Begin("transfer");
  const Handle(OcctProgress) indicator = new OcctProgress(progress_);
  Handle(TDocStd_Document) target = document;
  const bool transferred = reader.Transfer(target, indicator->Start());
  transferSeconds_ = watch.Lap();
  const Handle(Transfer_TransientProcess) process = GetSession(reader)->TransferReader()->TransientProcess();
  if (!process.IsNull()) {
    for (Interface_CheckIterator checks = process->CheckList(Standard_True); checks.More(); checks.Next()) {
      if (checks.Value()->HasFailed()) {
        ++failedEntities_;
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
  const CrashGuard guard(file.GetPath(), "the file made OpenCASCADE crash; it is probably damaged",
                         ExitCode::kInputUnread);
  // Without this, labels that have no name in the file would get one made up.
  XCAFDoc_ShapeTool::SetAutoNaming(Standard_False);
  XCAFDoc_ColorTool::SetAutoNaming(Standard_False);

  Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
  bool good = false;
  try {
    XCAFApp_Application::GetApplication()->InitDocument(document);
    if (file.GetFormat() == SourceFile::Format::kIges) {
      IGESCAFControl_Reader reader;
      good = Run(reader, file, document);
    } else {
      STEPCAFControl_Reader reader;
      good = Run(reader, file, document);
    }
    if (good) {
      TDF_LabelSequence roots;
      XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
      if (roots.IsEmpty()) {
        error_ = "the file holds no shapes";
        good = false;
      }
    }
  } catch (const Standard_Failure& failure) {
    error_ = std::string("OpenCASCADE gave up: ") + failure.DynamicType()->Name() + " " +
             failure.GetMessageString();
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
