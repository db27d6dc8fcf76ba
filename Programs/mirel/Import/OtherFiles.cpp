#include <Programs/mirel/Import/OtherFiles.h>

#include <Programs/mirel/Import/EntityFilter.h>

#include <StepAP214_AppliedExternalIdentificationAssignment.hxx>
#include <StepBasic_Document.hxx>
#include <TCollection_HAsciiString.hxx>

#include <system_error>

namespace fs = std::filesystem;

namespace mirel {

namespace {

using Text = Handle(TCollection_HAsciiString);

bool IsTrap(const fs::path& file) {
  std::error_code ignored;
  const fs::file_status status = fs::status(file, ignored);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

// The name, or one that no file has.
Text Mend(const Text& name, const fs::path& folder) {
  return name.IsNull() || name->IsEmpty() || !IsTrap(folder / fs::u8path(name->ToCString()))
             ? name
             : name->Cat(" (not a regular file)");
}

}  // namespace

void OtherFiles::TurnAway(const Interface_InterfaceModel& entities, const fs::path& folder) {
  EntityFilter<StepAP214_AppliedExternalIdentificationAssignment, StepBasic_Document> filter;
  for (int i = 1; i <= entities.NbEntities(); ++i) {
    const Handle(Standard_Transient)& entity = entities.Value(i);
    if (!filter.Takes(entity)) {
      continue;
    }
    if (const auto assignment = Handle(StepAP214_AppliedExternalIdentificationAssignment)::DownCast(entity)) {
      assignment->SetAssignedId(Mend(assignment->AssignedId(), folder));
    } else if (const auto document = Handle(StepBasic_Document)::DownCast(entity)) {
      document->SetId(Mend(document->Id(), folder));
      document->SetName(Mend(document->Name(), folder));
    }
  }
}

}  // namespace mirel
