#pragma once

#include <Programs/mirel/Import/ImportRecord.h>
#include <Programs/mirel/Save/ModelCounts.h>

namespace mirel {

struct ModelFigures;
class LiteModel;

/// Compares a folder that was read back with the record of the import that it was made from.
class RecordCheck {
 public:
  /// Counts, in the model read back, the products and instances of the record that are there: with every item
  /// that stands for them, under the recorded name, and with the recorded colour. Everything else comes from
  /// the figures.
  static ModelCounts CountSaved(const ImportRecord& record, const LiteModel& readBack,
                                const ModelFigures& figures);
};

}  // namespace mirel
