#include <Programs/mirel/Import/StepReader.h>

#include <Programs/mirel/Import/Healing/HealingActor.h>
#include <Programs/mirel/Import/OtherFiles.h>
#include <Programs/mirel/Import/Part21/StepSession.h>
#include <Programs/mirel/Import/StepCensus.h>
#include <Programs/mirel/Import/StepGaps.h>
#include <Programs/mirel/Import/StepNumbers.h>

#include <APIHeaderSection_MakeHeader.hxx>
#include <HeaderSection_FileDescription.hxx>
#include <HeaderSection_FileName.hxx>
#include <HeaderSection_FileSchema.hxx>
#include <Interface_InterfaceModel.hxx>
#include <Interface_ReportEntity.hxx>
#include <Interface_UndefinedContent.hxx>
#include <STEPCAFControl_ExternFile.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <StepBasic_DocumentFile.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_UndefinedEntity.hxx>
#include <TCollection_HAsciiString.hxx>
#include <XSControl_WorkSession.hxx>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

using ExternFiles = NCollection_DataMap<TCollection_AsciiString, Handle(STEPCAFControl_ExternFile)>;

bool IsSkipped(const Handle(TCollection_HAsciiString) & text) {
  if (text.IsNull() || text->UsefullLength() > 0) {
    return false;
  }
  const std::string_view bytes(text->ToCString(), static_cast<std::size_t>(text->Length()));
  return std::any_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) != 0; });
}

// Why a file that another one refers to was not read.
std::string WhyMissing(const fs::path& file) {
  std::error_code failure;
  const fs::file_status status = fs::status(file, failure);
  return !fs::exists(status)            ? "no such file"
         : !fs::is_regular_file(status) ? "not a file"
                                        : "not a STEP file that can be read";
}

}  // namespace

bool StepReader::ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) {
  STEPCAFControl_Reader reader(StepSession::Make(), Standard_True);
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
  reader.SetPropsMode(Standard_True);
  reader.SetSHUOMode(Standard_True);
  reader.SetGDTMode(Standard_True);
  reader.SetMatMode(Standard_True);
  reader.SetViewMode(Standard_True);
  Handle(TDocStd_Document) target = document;
  const bool good = Run(file, reader.ChangeReader(), [&](const Message_ProgressRange& range) {
    SetUnreadableBodies(StepNumbers::TakeOutBodies(reader.ChangeReader()));
    const StepGaps::Found gaps = StepGaps::TakeOut(reader.ChangeReader());
    AddLosses({{"bodiesWithGaps", "body|bodies that refers|refer to what the file does not have",
                gaps.products.size(), gaps.products},
               {"facesWithGaps", "face|faces that refers|refer to what the file does not have",
                gaps.faces.size(), gaps.faces}});
    OtherFiles::TurnAway(*reader.ChangeReader().Model(), fs::u8path(file.GetPath()).parent_path());
    HealingActor::HealTogether(reader.ChangeReader());
    return reader.Transfer(target, range);
  });
  if (good) {
    LookAround(reader, file, document);
  }
  return good;
}

void StepReader::LookAround(STEPCAFControl_Reader& reader, const SourceFile& file,
                            const Handle(TDocStd_Document) & document) {
  ReadHeader(Handle(StepData_StepModel)::DownCast(reader.ChangeReader().WS()->Model()));
  StepCensus census;
  census.Add(*reader.ChangeReader().WS()->Model(), document);
  const fs::path folder = fs::u8path(file.GetPath()).parent_path();
  std::set<std::string> names;  // in the same order each time
  std::set<std::string> missing;
  for (ExternFiles::Iterator other(reader.ExternFiles()); other.More(); other.Next()) {
    names.insert(other.Key().ToCString());
    if (other.Value()->GetLoadStatus() == IFSelect_RetDone && other.Value()->GetTransferStatus()) {
      census.Add(*other.Value()->GetWS()->Model(), document);
    } else {
      const std::string name = other.Key().ToCString();
      missing.insert(name + ": " + WhyMissing(folder / fs::u8path(name)));
    }
  }
  for (const std::string& name : names) {
    AddOtherFile(name);
  }
  for (const std::string& line : missing) {
    AddMissingFile(line);
  }
  AddLosses(census.GetLosses());
}

void StepReader::ReadHeader(const Handle(StepData_StepModel) & entities) {
  const APIHeaderSection_MakeHeader header(entities);
  AddHeader("Format", new TCollection_HAsciiString("STEP"));
  if (header.HasFn()) {
    AddHeader("Name", header.Name());
    AddHeader("Date", header.TimeStamp());
    AddHeader("Authors", header.FnValue()->Author());
    AddHeader("Organizations", header.FnValue()->Organization());
    AddHeader("Preprocessor", header.PreprocessorVersion());
    AddHeader("System", header.OriginatingSystem());
    AddHeader("Authorization", header.Authorisation());
  }
  if (header.HasFd()) {
    AddHeader("Descriptions", header.FdValue()->Description());
    AddHeader("Level", header.ImplementationLevel());
  }
  if (header.HasFs()) {
    AddHeader("Schemas", header.FsValue()->SchemaIdentifiers());
  }
}

void StepReader::AddHeader(const char* key, const Handle(Interface_HArray1OfHAsciiString) & texts) {
  for (int i = texts.IsNull() ? 1 : texts->Lower(); !texts.IsNull() && i <= texts->Upper(); ++i) {
    AddHeader(key, texts->Value(i));
  }
}

bool StepReader::IsOtherFile(const Handle(Standard_Transient) & entity) const {
  return !entity.IsNull() && entity->IsKind(STANDARD_TYPE(StepBasic_DocumentFile));
}

// A value that is left out stands as $ in the file.
bool StepReader::IsOmission(const Handle(Interface_ReportEntity) & report, const std::string& error) const {
  const auto entity = Handle(StepData_UndefinedEntity)::DownCast(report->Content());
  const std::size_t number = error.find("n0.");
  if (entity.IsNull() || entity->IsComplex() || number == std::string::npos) {
    return false;
  }
  const int parameter = std::atoi(error.c_str() + number + 3);
  const Handle(Interface_UndefinedContent) content = entity->UndefinedContent();
  return parameter >= 1 && parameter <= content->NbParams() && !content->IsParamEntity(parameter) &&
         content->ParamType(parameter) == Interface_ParamVoid;
}

IFSelect_ReturnStatus StepReader::ReadEntities(const SourceFile& file, XSControl_Reader& reader,
                                               StageProgress& progress) {
  return Handle(StepSession)::DownCast(reader.WS())->Read(file, progress);
}

// OpenCASCADE names a component by its description, name or id, a product by its name or id, whichever is not
// blank first, but takes a text without any visible ASCII character for blank. Only the id is taken as it is,
// whatever it holds, and nothing else needs it: so a name that would be skipped is moved there.
void StepReader::Mend(const Handle(Standard_Transient) & entity) {
  if (!named_.Takes(entity)) {
    return;
  }
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

}  // namespace mirel
