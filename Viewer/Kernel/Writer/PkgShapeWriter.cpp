#include <Viewer/Kernel/Writer/PkgShapeWriter.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <BRepTools.hxx>
#include <Message_ProgressRange.hxx>
#include <Standard_Failure.hxx>
#include <TopTools_FormatVersion.hxx>
#include <TopoDS_Shape.hxx>

#include <exception>
#include <locale>
#include <sstream>

namespace mirel {

namespace {

/// Empty on failure, with the reason.
std::string WriteText(const TopoDS_Shape& shape, std::string& reason) {
  try {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());  // a program may have set a locale that groups digits
    BRepTools::Write(shape, stream, true, false, TopTools_FormatVersion_VERSION_3, Message_ProgressRange());
    if (stream) return stream.str();
    reason = "out of memory";
  } catch (const Standard_Failure& failure) {
    reason = failure.GetMessageString();
  } catch (const std::exception& e) {
    reason = e.what();
  }
  return {};
}

}  // namespace

PkgShapeWriter::PkgShapeWriter(int number) : container_(number) {}

PkgShapeWriter::~PkgShapeWriter() = default;

PkgShapeWriter::PkgShapeWriter(PkgShapeWriter&& other) noexcept = default;

PkgShapeWriter& PkgShapeWriter::operator=(PkgShapeWriter&& other) noexcept = default;

int PkgShapeWriter::AddItem(const ObjectId& id, const std::shared_ptr<TopoShape>& shape) {
  std::string reason = "it is empty";
  const std::string text =
      shape && !shape->GetImpl().IsNull() ? WriteText(shape->GetImpl(), reason) : std::string();
  // What a reader would refuse is lost: better to hear of it now. The log has the reason.
  const bool isReadable = !text.empty() && TopoShape::Read(text) != nullptr;
  if (!text.empty() && !isReadable) reason = "readers would refuse its text";
  if (!isReadable) {
    MIREL_FAILURE("Shape %s is not written: %s", id.toString().c_str(), reason.c_str());
    return container_.GetDataSize();
  }
  return container_.AddItem(id, text);
}

void PkgShapeWriter::Write(const std::string& folder) const {
  container_.Write(folder);
}

}  // namespace mirel
