#pragma once

#include <Programs/mirel-viewer/Compare/DiffProcess.h>
#include <Programs/mirel-viewer/Compare/Difference.h>

#include <Viewer/Kernel/Host/GeometryView/AABoxT.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThreadPool>

#include <array>
#include <cstddef>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <vector>

namespace mirel {

class Document;
class ModelOpener;

/// Two versions of a model in one document: what is different between them, and how that is shown.
///
/// What is gone is red, what is new green, what was changed yellow, and all the rest as the user wants it, as in the pictures of
/// `mirel diff`, which compares them. Of the older version only what is gone is shown, and, as if of red glass, where the
/// current difference was. Used by the window's thread, which goes on meanwhile.
class Comparison : public QObject {
  Q_OBJECT

 public:
  enum class Stage {
    kOff,
    kOpening,    ///< both versions
    kComparing,  ///< them
    kShown,
  };
  enum class Rest { kGlass, kHidden, kSolid };

  Comparison(Document& document, ModelOpener& opener);
  ~Comparison() override;

  /// Opens both beside nothing else, whatever the viewer opens, and compares them. Calls off what was being opened.
  void Start(const QString& older, const QString& newer);
  /// Ends it; what is open stays.
  void End();

  Stage GetStage() const { return stage_; }
  const QString& GetOlder() const { return paths_[0]; }
  const QString& GetNewer() const { return paths_[1]; }
  /// In place of the program `mirel`.
  void SetProgram(const QString& program) { process_.SetProgram(program); }

  /// While it is shown; positions in this list are what everything below is about.
  const DifferenceReport& GetReport() const { return report_; }
  const Difference& GetDifference(int difference) const {
    return report_.differences[static_cast<std::size_t>(difference)];
  }

  static constexpr int kNone = -1;
  int GetCurrent() const { return current_; }
  /// Selects it, and shows where it was.
  void SetCurrent(int difference);
  /// The next one that is listed (`by` 1) or the one before (-1); behind the last one comes the first.
  void Step(int by);

  bool IsListed(ChangeKind kind) const { return isListed_[static_cast<std::size_t>(kind)]; }
  void SetListed(ChangeKind kind, bool isListed);

  Rest GetRest() const { return rest_; }
  void SetRest(Rest rest);

  /// Around all places of a difference, in both versions.
  AABoxT<double> GetBox(int difference) const;

 signals:
  /// The stage, the report, or what is listed of it.
  void Changed();
  void CurrentChanged();
  /// All of it is to be seen now.
  void Shown();
  void Told(const QStringList& messages);

 private:
  void TakeOpened(const QString& path, const SceneNode* root);
  void Compare();
  void TakeReport(const QByteArray& json, const QStringList& messages);
  void Show(DifferenceReport report);
  void Fail(const QStringList& reasons);
  void ApplyLook();
  void TakeSelection();
  void SetStage(Stage stage);
  static bool ShowsOldPlace(const Difference& difference);

  Document& document_;
  ModelOpener& opener_;
  DiffProcess process_;
  QThreadPool reader_;
  Stage stage_ = Stage::kOff;
  std::array<QString, 2> paths_;
  std::vector<std::shared_ptr<SceneNode>>
      roots_;            // of the older and of the newer version, as far as they are open
  unsigned number_ = 0;  // of the comparison, so that answers that come late are known
  DifferenceReport report_;
  std::unordered_map<const SceneNode*, int> byNode_;  // the first difference that is told of it
  int current_ = kNone;
  bool isSelecting_ = false;
  std::array<bool, std::size(kChangeKinds)> isListed_;
  Rest rest_ = Rest::kGlass;
};

}  // namespace mirel
