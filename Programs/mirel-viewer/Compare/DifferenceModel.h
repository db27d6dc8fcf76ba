#pragma once

#include <QAbstractTableModel>

#include <vector>

namespace mirel {

class Comparison;

/// The differences that are listed, a row for each.
class DifferenceModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kKind, kName, kWhat, kWhere, kColumns };

  explicit DifferenceModel(const Comparison& comparison, QObject* parent = nullptr);

  /// To be called when something else is listed.
  void Renew();

  /// The position in the report, or `Comparison::kNone`.
  int GetDifference(const QModelIndex& index) const;
  /// Invalid for one that is not listed.
  QModelIndex FindIndex(int difference) const;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  const Comparison& comparison_;
  std::vector<int> rows_;
};

}  // namespace mirel
