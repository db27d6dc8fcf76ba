#include <Programs/mirel-viewer/Compare/Comparison.h>

#include <Programs/mirel-viewer/Document/Document.h>
#include <Programs/mirel-viewer/Document/OtherNodes.h>
#include <Programs/mirel-viewer/Opening/ModelOpener.h>

#include <Programs/mirel/Diff/ChangeLook.h>

#include <Viewer/Kernel/Host/GeometryView/NodeBox.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <QFileInfo>

#include <algorithm>
#include <exception>
#include <utility>

namespace mirel {

namespace {

// Gives a colour to all bodies below a node, unless they have one that says more.
class LookMap {
 public:
  void Add(const SceneNode& top, ChangeLook look) {
    std::vector<const SceneNode*> open = {&top};
    while (!open.empty()) {
      const SceneNode* const node = open.back();
      open.pop_back();
      if (node->GetKind() == SceneNodeKind::kBrep) {
        looks_[node] = std::max(looks_[node], look);
      }
      for (const std::shared_ptr<SceneNode>& child : node->GetNodes()) {
        open.push_back(child.get());
      }
    }
  }

  void GiveColors(SceneLook& scene) const {
    for (const auto& [node, look] : looks_) {
      scene.colors.emplace(node, GetChangeColor(look));
    }
  }

 private:
  std::unordered_map<const SceneNode*, ChangeLook> looks_;
};

}  // namespace

Comparison::Comparison(Document& document, ModelOpener& opener) : document_(document), opener_(opener) {
  isListed_.fill(true);
  reader_.setMaxThreadCount(1);
  connect(&opener_, &ModelOpener::Opened, this,
          [this](const QString& path, const SceneNode* root) { TakeOpened(path, root); });
  connect(&opener_, &ModelOpener::Failed, this, [this](const QString& path) {
    if (stage_ == Stage::kOpening) {
      Fail({tr("%1: cannot be opened, and so not be compared").arg(path)});
    }
  });
  connect(&opener_, &ModelOpener::Idle, this, [this] {
    if (stage_ == Stage::kOpening) {
      End();  // it was called off
    }
  });
  connect(&document_, &Document::RootRemoved, this, [this](const SceneNode* root) {
    if (std::any_of(roots_.begin(), roots_.end(),
                    [root](const std::shared_ptr<SceneNode>& own) { return own.get() == root; })) {
      // Later, for now the scene is being changed.
      QMetaObject::invokeMethod(
          this,
          [this, number = number_] {
            if (number == number_) {
              End();
            }
          },
          Qt::QueuedConnection);
    }
  });
  connect(&document_, &Document::SelectionChanged, this, &Comparison::TakeSelection);
  connect(&process_, &DiffProcess::Done, this, &Comparison::TakeReport);
  connect(&process_, &DiffProcess::Failed, this, &Comparison::Fail);
}

Comparison::~Comparison() {
  ++number_;
  process_.Cancel();
  reader_.waitForDone();
}

void Comparison::Start(const QString& older, const QString& newer) {
  opener_.Cancel();
  document_.Clear();
  End();
  paths_ = {older, newer};
  isListed_.fill(true);
  SetStage(Stage::kOpening);
  opener_.Open(older);
  opener_.Open(newer);
}

void Comparison::End() {
  if (stage_ == Stage::kOff) {
    return;
  }
  ++number_;
  process_.Cancel();
  roots_.clear();
  byNode_.clear();
  report_ = DifferenceReport();
  current_ = kNone;
  DisplaySettings display = document_.GetDisplay();
  if (display.coloring == DisplaySettings::Coloring::kByDifference) {
    display.coloring = DisplaySettings::Coloring::kOwn;
    document_.SetDisplay(display);
  }
  document_.SetLook(nullptr);
  SetStage(Stage::kOff);
  emit CurrentChanged();
}

void Comparison::SetStage(Stage stage) {
  stage_ = stage;
  emit Changed();
}

// The opener takes one file after the other, so the older version comes first.
void Comparison::TakeOpened(const QString& path, const SceneNode* root) {
  if (stage_ != Stage::kOpening || path != paths_.at(roots_.size())) {
    return;
  }
  const auto found =
      std::find_if(document_.GetRoots().begin(), document_.GetRoots().end(),
                   [root](const std::shared_ptr<SceneNode>& own) { return own.get() == root; });
  if (found == document_.GetRoots().end()) {
    return;
  }
  roots_.push_back(*found);
  ApplyLook();
  if (roots_.size() == 2) {
    Compare();
  }
}

void Comparison::Compare() {
  // What was converted already is not converted again.
  std::array<QString, 2> models;
  for (std::size_t i = 0; i < 2; ++i) {
    const ModelFile file = document_.GetFile(roots_[i].get());
    models[i] = QFileInfo::exists(file.folder) ? file.folder : file.path;
  }
  SetStage(Stage::kComparing);
  process_.Start(models[0], models[1]);
}

void Comparison::TakeReport(const QByteArray& json, const QStringList& messages) {
  if (!messages.isEmpty()) {
    emit Told(messages);
  }
  reader_.start([this, json, number = number_, roots = roots_] {
    auto report = std::make_shared<DifferenceReport>();
    bool isRead = false;
    try {
      isRead = report->Read(json, *roots[0], *roots[1]);
    } catch (const std::exception&) {
      isRead = false;  // memory has ended
    }
    QMetaObject::invokeMethod(this, [this, report, number, isRead] {
      if (number != number_) {
        return;
      }
      isRead ? Show(std::move(*report))
             : Fail({tr("what mirel diff reported cannot be read; is it of another version?")});
    });
  });
}

void Comparison::Show(DifferenceReport report) {
  report_ = std::move(report);
  for (std::size_t i = report_.differences.size(); i-- > 0;) {
    for (const Difference::Place& place : report_.differences[i].places) {
      for (const SceneNode* node : {place.older, place.newer}) {
        if (node != nullptr) {
          byNode_[node] = static_cast<int>(i);
        }
      }
    }
  }
  DisplaySettings display = document_.GetDisplay();
  display.coloring = DisplaySettings::Coloring::kByDifference;
  document_.SetDisplay(display);
  ApplyLook();
  SetStage(Stage::kShown);
  emit Shown();
}

void Comparison::Fail(const QStringList& reasons) {
  emit Told(reasons);
  End();
}

bool Comparison::ShowsOldPlace(const Difference& difference) {
  return difference.kind == ChangeKind::kMoved || difference.kind == ChangeKind::kReshaped ||
         difference.kind == ChangeKind::kReparented;
}

void Comparison::ApplyLook() {
  const auto look = std::make_shared<SceneLook>();
  LookMap looks;
  Document::Nodes kept[2];
  for (const Difference& difference : report_.differences) {
    const ChangeLook changed = FindChangeLook(difference.kind, difference.isPart);
    for (const Difference::Place& place : difference.places) {
      if (changed == ChangeLook::kGone) {
        looks.Add(*place.older, changed);
        kept[0].insert(place.older);
      } else if (changed != ChangeLook::kRest && place.newer != nullptr) {
        looks.Add(*place.newer, changed);
        kept[1].insert(place.newer);
      }
    }
  }
  if (current_ != kNone && ShowsOldPlace(GetDifference(current_))) {
    for (const Difference::Place& place : GetDifference(current_).places) {
      looks.Add(*place.older, ChangeLook::kGone);
      kept[0].insert(place.older);
      look->ghosts.insert(place.older);
    }
  }
  looks.GiveColors(*look);
  look->hidden = FindOthers({roots_[0]}, kept[0]);
  if (stage_ >= Stage::kComparing && roots_.size() == 2 && rest_ != Rest::kSolid) {
    const Document::Nodes rest = FindOthers({roots_[1]}, kept[1]);
    (rest_ == Rest::kGlass ? look->ghosts : look->hidden).insert(rest.begin(), rest.end());
  }
  document_.SetLook(look);
}

void Comparison::SetCurrent(int difference) {
  if (difference == current_) {
    return;
  }
  const auto showsOldPlace = [this] { return current_ != kNone && ShowsOldPlace(GetDifference(current_)); };
  const bool showedOldPlace = showsOldPlace();
  current_ = difference;
  if (showedOldPlace || showsOldPlace()) {
    ApplyLook();
  }
  if (current_ != kNone && !isSelecting_) {
    const std::vector<Difference::Place>& places = GetDifference(current_).places;
    Document::Nodes nodes;
    for (const Difference::Place& place : places) {
      nodes.insert(place.Get());
    }
    isSelecting_ = true;
    document_.Select(std::move(nodes), places.front().Get());
    isSelecting_ = false;
  }
  emit CurrentChanged();
}

// What is selected elsewhere belongs to the innermost difference around it.
void Comparison::TakeSelection() {
  if (isSelecting_ || stage_ != Stage::kShown) {
    return;
  }
  int found = kNone;
  if (document_.GetCurrent() != nullptr) {
    for (const SceneNode* node : document_.GetCurrent()->GetPath()) {
      const auto known = byNode_.find(node);
      found = known == byNode_.end() ? found : known->second;
    }
  }
  isSelecting_ = true;
  SetCurrent(found);
  isSelecting_ = false;
}

void Comparison::Step(int by) {
  const int count = static_cast<int>(report_.differences.size());
  int at = current_ == kNone && by < 0 ? 0 : current_;
  for (int i = 0; i < count; ++i) {
    at = (at + by + count) % count;
    if (IsListed(GetDifference(at).kind)) {
      SetCurrent(at);
      return;
    }
  }
}

void Comparison::SetListed(ChangeKind kind, bool isListed) {
  isListed_[static_cast<std::size_t>(kind)] = isListed;
  emit Changed();
}

void Comparison::SetRest(Rest rest) {
  rest_ = rest;
  if (stage_ == Stage::kShown) {
    ApplyLook();
  }
}

AABoxT<double> Comparison::GetBox(int difference) const {
  AABoxT<double> box;
  for (const Difference::Place& place : GetDifference(difference).places) {
    for (const SceneNode* node : {place.older, place.newer}) {
      if (node != nullptr) {
        box.Merge(GetNodeBox(*node));
      }
    }
  }
  return box;
}

}  // namespace mirel
