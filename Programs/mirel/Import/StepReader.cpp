#include <Programs/mirel/Import/StepReader.h>

#include <STEPCAFControl_Reader.hxx>
#include <StepBasic_Product.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <TCollection_HAsciiString.hxx>

#include <algorithm>
#include <string_view>

namespace mirel {

namespace {

bool IsSkipped(const Handle(TCollection_HAsciiString) & text) {
  if (text.IsNull() || text->UsefullLength() > 0) {
    return false;
  }
  const std::string_view bytes(text->ToCString(), static_cast<std::size_t>(text->Length()));
  return std::any_of(bytes.begin(), bytes.end(), [](char c) { return (c & 0x80) != 0; });
}

}  // namespace

bool StepReader::ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) {
  STEPCAFControl_Reader reader;
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
  reader.SetPropsMode(Standard_True);
  reader.SetSHUOMode(Standard_True);
  reader.SetGDTMode(Standard_True);
  reader.SetMatMode(Standard_True);
  reader.SetViewMode(Standard_True);
  Handle(TDocStd_Document) target = document;
  return Run(file, reader.ChangeReader(),
             [&](const Message_ProgressRange& range) { return reader.Transfer(target, range); });
}

// OpenCASCADE names a component by its description, name or id, a product by its name or id, whichever is not
// blank first, but takes a text without any visible ASCII character for blank. Only the id is taken as it is,
// whatever it holds, and nothing else needs it: so a name that would be skipped is moved there.
void StepReader::Mend(const Handle(Standard_Transient) & entity) {
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
