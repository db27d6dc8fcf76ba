#include <Viewer/Kernel/Writer/PkgGRepWriter.h>

#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/LogFailure.h>

#include <locale>
#include <sstream>

namespace mirel {

PkgGRepWriter::PkgGRepWriter(int number) : container_(number) {}

PkgGRepWriter::~PkgGRepWriter() = default;

PkgGRepWriter::PkgGRepWriter(PkgGRepWriter&& other) noexcept = default;

PkgGRepWriter& PkgGRepWriter::operator=(PkgGRepWriter&& other) noexcept = default;

int PkgGRepWriter::AddItem(const ObjectId& id, const std::shared_ptr<GRepShape>& grep) {
  if (!grep) {
    MIREL_FAILURE("GRep %s is not written: it is empty", id.toString().c_str());
    return container_.GetDataSize();
  }
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  if (!grep->ToStream(stream)) {
    MIREL_FAILURE("GRep %s is not written: it is too large for a record", id.toString().c_str());
    return container_.GetDataSize();
  }
  return container_.AddItem(id, stream.str());
}

void PkgGRepWriter::Write(const std::string& folder) const {
  container_.Write(folder);
}

}  // namespace mirel
