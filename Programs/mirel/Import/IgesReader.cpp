#include <Programs/mirel/Import/IgesReader.h>

#include <IGESCAFControl_Reader.hxx>
#include <IGESData_GlobalSection.hxx>
#include <IGESData_IGESEntity.hxx>
#include <IGESData_IGESModel.hxx>
#include <Interface_InterfaceModel.hxx>

namespace mirel {

namespace {

// Dimensions, notes and labels, the lines that belong to them, and drawings with their views.
bool IsAnnotation(const IGESData_IGESEntity& entity) {
  const int type = entity.TypeNumber();
  const int form = entity.FormNumber();
  return (type >= 202 && type <= 230) || (type == 106 && form >= 20 && form <= 40) || type == 404 ||
         type == 410;
}

}  // namespace

void IgesReader::ReadHeader(const IGESData_GlobalSection& header) {
  AddHeader("Format", new TCollection_HAsciiString("IGES"));
  AddHeader("Name", header.FileName());
  AddHeader("Product", header.SendName());
  AddHeader("Receiver", header.ReceiveName());
  AddHeader("Date", header.Date());
  AddHeader("Authors", header.AuthorName());
  AddHeader("Organizations", header.CompanyName());
  AddHeader("Preprocessor", header.InterfaceVersion());
  AddHeader("System", header.SystemId());
  if (header.HasLastChangeDate()) {
    AddHeader("Changed", header.LastChangeDate());
  }
}

bool IgesReader::ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) {
  IGESCAFControl_Reader reader;
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
  Handle(TDocStd_Document) target = document;
  const bool good =
      Run(file, reader, [&](const Message_ProgressRange& range) { return reader.Transfer(target, range); });
  ReadHeader(Handle(IGESData_IGESModel)::DownCast(reader.Model())->GlobalSection());
  std::uint64_t annotations = 0;
  for (int i = 1; i <= reader.Model()->NbEntities(); ++i) {
    const auto entity = Handle(IGESData_IGESEntity)::DownCast(reader.Model()->Value(i));
    annotations += !entity.IsNull() && IsAnnotation(*entity);
  }
  AddLosses({{"annotations", "annotation|annotations of drawings", annotations, {}}});
  return good;
}

}  // namespace mirel
