#pragma once

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <atomic>
#include <memory>
#include <vector>

namespace mirel {

class Document;
class SceneNode;

/// Finds nodes by a part of their names, in upper or lower case, or by their whole ids, on threads of its own.
class SceneSearch : public QObject {
  Q_OBJECT

 public:
  /// So many are listed; more are counted only.
  static constexpr std::size_t kMaxListed = 10000;

  struct Result {
    std::vector<const SceneNode*> nodes;  ///< in the order of the tree, the first `kMaxListed`
    std::size_t count = 0;
  };

  explicit SceneSearch(Document& document);
  ~SceneSearch() override;

  /// Calls off the search before.
  void Start(const QString& text);
  void Stop();

  /// The search itself; ends early when `stopped` becomes true.
  static Result Find(const std::vector<std::shared_ptr<SceneNode>>& roots, const QString& text,
                     const std::atomic<bool>& stopped);

 signals:
  void Found(const mirel::SceneSearch::Result& result);

 private:
  Document& document_;
  std::shared_ptr<std::atomic<bool>> stopped_;
  QThreadPool thread_;
};

}  // namespace mirel
