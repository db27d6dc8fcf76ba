#pragma once

#include <QString>

namespace mirel {

class Document;
class ModelView;

/// How each model was seen last: camera, what was hidden, sections. Kept in the user's folder of program data, by the path of
/// the model, for the last `kMaxModels` models.
class SavedState {
 public:
  static constexpr int kMaxModels = 200;

  /// Of each model that is open.
  static void Save(const Document& document, const ModelView& view);
  /// Of a model that has just been opened; the camera only when it is alone. Nothing when there is no state, or it does not
  /// fit the model any more.
  static void Restore(const QString& path, Document& document, ModelView& view);
};

}  // namespace mirel
