#include <Programs/mirel/Import/BodyText.h>

#include <BRepTools.hxx>
#include <Message_ProgressRange.hxx>
#include <TopTools_FormatVersion.hxx>
#include <TopoDS_Shape.hxx>

#include <locale>
#include <new>
#include <sstream>

namespace mirel {

std::string BodyText::Of(const TopoDS_Shape& shape) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  BRepTools::Write(shape, stream, true, false, TopTools_FormatVersion_VERSION_3, Message_ProgressRange());
  if (!stream) {
    throw std::bad_alloc();  // of which the stream has made a state
  }
  return stream.str();
}

}  // namespace mirel
