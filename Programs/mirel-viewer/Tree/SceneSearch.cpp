#include <Programs/mirel-viewer/Tree/SceneSearch.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <algorithm>
#include <string>

namespace mirel {

namespace {

bool IsAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Compares names with what is looked for. Most names are ASCII, where that takes no conversion.
class NameMatch {
 public:
  explicit NameMatch(const QString& text)
      : text_(text), lowered_(text.toLower().toStdString()), isAscii_(IsAscii(lowered_)) {}

  bool Fits(const std::string& name) const {
    if (IsAscii(name)) {
      return isAscii_ && std::search(name.begin(), name.end(), lowered_.begin(), lowered_.end(),
                                     [](char a, char b) { return Lower(a) == b; }) != name.end();
    }
    return QString::fromStdString(name).contains(text_, Qt::CaseInsensitive);
  }

 private:
  const QString text_;
  const std::string lowered_;
  const bool isAscii_;
};

}  // namespace

SceneSearch::SceneSearch(Document& document) : document_(document) {
  thread_.setMaxThreadCount(1);
  connect(&document_, &Document::RootRemoved, this, &SceneSearch::Stop);
}

SceneSearch::~SceneSearch() {
  Stop();
}

void SceneSearch::Stop() {
  if (stopped_) {
    *stopped_ = true;
  }
  thread_.waitForDone();
}

void SceneSearch::Start(const QString& text) {
  Stop();
  stopped_ = std::make_shared<std::atomic<bool>>(false);
  thread_.start([this, text, stopped = stopped_, roots = document_.GetRoots()] {
    const Result result = Find(roots, text, *stopped);
    QMetaObject::invokeMethod(this, [this, result, stopped] {
      if (!*stopped) {
        emit Found(result);
      }
    });
  });
}

SceneSearch::Result SceneSearch::Find(const std::vector<std::shared_ptr<SceneNode>>& roots,
                                      const QString& text, const std::atomic<bool>& stopped) {
  Result result;
  bool isId = false;
  const unsigned long long id = text.trimmed().toULongLong(&isId);
  const NameMatch match(text);
  std::vector<const SceneNode*> waiting;
  for (auto root = roots.rbegin(); root != roots.rend(); ++root) {
    waiting.push_back(root->get());
  }
  while (!waiting.empty() && !stopped) {
    const SceneNode* const node = waiting.back();
    waiting.pop_back();
    if (match.Fits(node->GetName()) || (isId && node->GetUserId() == id)) {
      if (result.nodes.size() < kMaxListed) {
        result.nodes.push_back(node);
      }
      ++result.count;
    }
    const std::vector<std::shared_ptr<SceneNode>>& children = node->GetNodes();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      waiting.push_back(child->get());
    }
  }
  return result;
}

}  // namespace mirel
