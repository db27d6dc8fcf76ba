#include <Viewer/Kernel/Writer/PkgGRepBuilder.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/PathUtil.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Writer/PkgGRepWriter.h>
#include <Viewer/Kernel/Writer/PkgSeries.h>

#include <omp.h>

namespace mirel {

namespace {

constexpr int kThreads = 8;

}  // namespace

PkgGRepBuilder::PkgGRepBuilder() = default;

PkgGRepBuilder::~PkgGRepBuilder() = default;

PkgGRepBuilder::PkgGRepBuilder(const PkgGRepBuilder& other) = default;

PkgGRepBuilder& PkgGRepBuilder::operator=(const PkgGRepBuilder& other) = default;

PkgGRepBuilder::PkgGRepBuilder(PkgGRepBuilder&& other) noexcept = default;

PkgGRepBuilder& PkgGRepBuilder::operator=(PkgGRepBuilder&& other) noexcept = default;

void PkgGRepBuilder::AddItem(const ObjectId& id, const std::shared_ptr<TopoShape>& shape) {
  if (std::shared_ptr<GRepShape> grep = GRepShape::Create(shape, nullptr, nullptr, 0.0, true)) {
    entries_.emplace_back(id, std::move(grep));
  } else {
    MIREL_FAILURE("Shape %s gets no graphics: it is empty", id.toString().c_str());
  }
}

void PkgGRepBuilder::Build() {
  omp_set_num_threads(kThreads);
  const int count = static_cast<int>(entries_.size());
#pragma omp parallel for schedule(static)
  for (int i = 0; i < count; ++i)
    entries_[static_cast<std::size_t>(i)].second->Compute();
  // A GRep does not know whose it is, so its own messages cannot say.
  for (const Entry& entry : entries_) {
    if (entry.second->GetBoundingBox().IsEmpty())
      Logger::Instance().Message(1, "Nothing is drawn of shape %s", entry.first.toString().c_str());
  }
}

void PkgGRepBuilder::Write(const std::string& folder) {
  PathUtil::CreateFolders(folder);
  PkgSeries<PkgGRepWriter> packages(folder);
  for (const Entry& entry : entries_)
    packages.AddItem(entry.first, entry.second);
  packages.Finish();
  pkgCount_ = packages.GetCount();
}

unsigned int PkgGRepBuilder::GetPkgCount() const {
  return pkgCount_;
}

void PkgGRepBuilder::SetPkgCount(unsigned int count) {
  pkgCount_ = count;
}

}  // namespace mirel
