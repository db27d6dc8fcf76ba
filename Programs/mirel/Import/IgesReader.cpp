#include <Programs/mirel/Import/IgesReader.h>

#include <IGESCAFControl_Reader.hxx>

namespace mirel {

bool IgesReader::ReadInto(const Handle(TDocStd_Document) & document, const SourceFile& file) {
  IGESCAFControl_Reader reader;
  reader.SetColorMode(Standard_True);
  reader.SetNameMode(Standard_True);
  reader.SetLayerMode(Standard_True);
  Handle(TDocStd_Document) target = document;
  return Run(file, reader,
             [&](const Message_ProgressRange& range) { return reader.Transfer(target, range); });
}

}  // namespace mirel
