#include <Programs/mirel-viewer/Compare/DifferenceModel.h>

#include <Programs/mirel-viewer/Compare/Comparison.h>
#include <Programs/mirel-viewer/Tree/SceneTreeModel.h>

#include <Programs/mirel/Diff/ChangeLook.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QColor>
#include <QIcon>
#include <QPixmap>

#include <algorithm>

namespace mirel {

namespace {

constexpr int kSwatch = 12;  // pixels

QIcon MakeSwatch(const Difference& difference) {
  const glm::vec3 color = GetChangeColor(FindChangeLook(difference.kind, difference.isPart));
  QPixmap swatch(kSwatch, kSwatch);
  swatch.fill(QColor::fromRgbF(color.r, color.g, color.b));
  return swatch;
}

// Below which assemblies it is; in the older version when it is in no other.
QString FindWhere(const Difference& difference) {
  const std::vector<const SceneNode*> path = difference.places.front().Get()->GetPath();
  QStringList names;
  for (std::size_t i = 1; i + 1 < path.size(); ++i) {  // the root is the file
    names.append(SceneTreeModel::GetTitle(*path[i]));
  }
  return names.join(" / ");
}

}  // namespace

DifferenceModel::DifferenceModel(const Comparison& comparison, QObject* parent)
    : QAbstractTableModel(parent), comparison_(comparison) {}

void DifferenceModel::Renew() {
  beginResetModel();
  rows_.clear();
  const std::vector<Difference>& all = comparison_.GetReport().differences;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (comparison_.IsListed(all[i].kind)) {
      rows_.push_back(static_cast<int>(i));
    }
  }
  endResetModel();
}

int DifferenceModel::GetDifference(const QModelIndex& index) const {
  return index.isValid() ? rows_[static_cast<std::size_t>(index.row())] : Comparison::kNone;
}

QModelIndex DifferenceModel::FindIndex(int difference) const {
  const auto found = std::lower_bound(rows_.begin(), rows_.end(), difference);
  return found != rows_.end() && *found == difference ? index(static_cast<int>(found - rows_.begin()), 0)
                                                      : QModelIndex();
}

int DifferenceModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int DifferenceModel::columnCount(const QModelIndex&) const {
  return kColumns;
}

QVariant DifferenceModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) {
    return QVariant();
  }
  const Difference& difference = comparison_.GetDifference(GetDifference(index));
  if (role == Qt::DecorationRole && index.column() == kKind) {
    return MakeSwatch(difference);
  }
  if (role == Qt::ToolTipRole) {
    return difference.text;
  }
  if (role != Qt::DisplayRole) {
    return QVariant();
  }
  switch (index.column()) {
  case kKind:
    return QString::fromUtf8(kChangeKinds[static_cast<std::size_t>(difference.kind)].text);
  case kName:
    return difference.name;
  case kWhat:
    return difference.text.simplified();
  default:
    return FindWhere(difference);
  }
}

QVariant DifferenceModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
    return QVariant();
  }
  const QString titles[] = {tr("What is different"), tr("Name"), tr("How"), tr("Where")};
  return titles[section];
}

}  // namespace mirel
