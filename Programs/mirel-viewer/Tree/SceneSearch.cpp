#include <Programs/mirel-viewer/Tree/SceneSearch.h>

#include <Programs/mirel-viewer/Document/Document.h>

#include <Viewer/Draw/ParallelLoop.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace mirel {

namespace {

// Into so many parts a search is divided, each of which one core takes.
constexpr std::size_t kShares = 64;

bool IsAscii(const std::string& text) {
  unsigned char all = 0;
  for (const char c : text) {
    all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  }
  return all < 0x80;
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Compares names with what is looked for. Most names are ASCII, where that takes no conversion; and nodes of one item share
/// theirs, which is compared once then.
class NameMatch {
 public:
  explicit NameMatch(const QString& text)
      : text_(text), lowered_(text.toLower().toStdString()), isAscii_(IsAscii(lowered_)), known_(kKnown) {}

  bool Fits(const std::string& name) {
    Known& known = known_[std::hash<const void*>()(&name) / alignof(std::string) % kKnown];
    if (known.name != &name) {
      known = {&name, Compare(name)};
    }
    return known.fits;
  }

 private:
  static constexpr std::size_t kKnown = 4096;
  struct Known {
    const std::string* name = nullptr;
    bool fits = false;
  };

  bool Compare(const std::string& name) const {
    if (IsAscii(name)) {
      return isAscii_ && std::search(name.begin(), name.end(), lowered_.begin(), lowered_.end(),
                                     [](char a, char b) { return Lower(a) == b; }) != name.end();
    }
    return QString::fromStdString(name).contains(text_, Qt::CaseInsensitive);
  }

  const QString text_;
  const std::string lowered_;
  const bool isAscii_;
  std::vector<Known> known_;
};

/// A part of a tree.
struct Piece {
  const SceneNode* node;
  bool isWhole;  // with all below it
};

// Parts of the trees, in their order, enough of them for all cores.
std::vector<Piece> Divide(const std::vector<std::shared_ptr<SceneNode>>& roots) {
  constexpr std::size_t kPieces = 256;
  constexpr int kLevels = 8;
  std::vector<Piece> pieces;
  for (const std::shared_ptr<SceneNode>& root : roots) {
    pieces.push_back({root.get(), true});
  }
  for (int level = 0; level < kLevels && pieces.size() < kPieces; ++level) {
    std::vector<Piece> finer;
    for (const Piece& piece : pieces) {
      finer.push_back({piece.node, false});
      if (piece.isWhole) {
        for (const std::shared_ptr<SceneNode>& child : piece.node->GetNodes()) {
          finer.push_back({child.get(), true});
        }
      }
    }
    pieces = std::move(finer);
  }
  return pieces;
}

void Search(const Piece& piece, NameMatch& match, std::optional<unsigned long long> id,
            const std::atomic<bool>& stopped, SceneSearch::Result& result) {
  std::vector<const SceneNode*> waiting = {piece.node};
  while (!waiting.empty() && !stopped) {
    const SceneNode* const node = waiting.back();
    waiting.pop_back();
    if (match.Fits(node->GetName()) || (id && node->GetUserId() == *id)) {
      if (result.nodes.size() < SceneSearch::kMaxListed) {
        result.nodes.push_back(node);
      }
      ++result.count;
    }
    if (piece.isWhole) {
      const std::vector<std::shared_ptr<SceneNode>>& children = node->GetNodes();
      for (auto child = children.rbegin(); child != children.rend(); ++child) {
        waiting.push_back(child->get());
      }
    }
  }
}

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
  bool isId = false;
  const unsigned long long number = text.trimmed().toULongLong(&isId);
  const std::optional<unsigned long long> id = isId ? std::optional(number) : std::nullopt;
  const std::vector<Piece> pieces = Divide(roots);
  std::vector<Result> found(std::min<std::size_t>(pieces.size(), kShares));
  ParallelLoop(found.size(), 0, [&](std::size_t share) {
    NameMatch match(text);
    const std::size_t behind = pieces.size() * (share + 1) / found.size();
    for (std::size_t i = pieces.size() * share / found.size(); i < behind; ++i) {
      Search(pieces[i], match, id, stopped, found[share]);
    }
  });
  Result result;
  for (const Result& part : found) {
    const std::size_t room = kMaxListed - result.nodes.size();
    result.nodes.insert(result.nodes.end(), part.nodes.begin(),
                        part.nodes.begin() + static_cast<std::ptrdiff_t>(std::min(room, part.nodes.size())));
    result.count += part.count;
  }
  return result;
}

}  // namespace mirel
