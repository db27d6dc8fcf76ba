#include <Programs/mirel/Picture/PictureMaker.h>

#include <Programs/mirel/Open/NodeSearch.h>
#include <Programs/mirel/Picture/FaceLegend.h>
#include <Programs/mirel/Picture/FreedMemory.h>
#include <Programs/mirel/Picture/SheetMaker.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <glm/glm.hpp>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>
#include <unordered_set>

namespace fs = std::filesystem;

namespace mirel {

namespace {

constexpr double kTurn = 6.283185307179586;

// Why a request is not done.
struct Refusal {
  PictureReply::Result result;
  std::string file;
  std::string error;
};

std::vector<const SceneNode*> FindNodes(const SceneNode& root, const std::vector<std::string>& names) {
  std::vector<const SceneNode*> nodes;
  NodeSearch search(root);
  for (const std::string& name : names) {
    const std::vector<const SceneNode*> found = search.Find(name);
    if (found.empty()) {
      throw Refusal{PictureReply::Result::kRefused, "", search.GetError()};
    }
    nodes.insert(nodes.end(), found.begin(), found.end());
  }
  return nodes;
}

NodeVisibility ReadVisibility(const SceneNode& root, const PictureRequest& request) {
  NodeVisibility visibility;
  for (const SceneNode* node : FindNodes(root, request.only)) {
    visibility.ShowAlone(node);
  }
  for (const SceneNode* node : FindNodes(root, request.hide)) {
    visibility.Hide(node);
  }
  for (const SceneNode* node : FindNodes(root, request.ghost)) {
    visibility.Ghost(node);
  }
  return visibility;
}

// The corners of all bodies at or below some nodes.
std::vector<glm::dvec3> FindCorners(const DrawScene& scene, const std::vector<const SceneNode*>& tops) {
  const std::unordered_set<const SceneNode*> wanted(tops.begin(), tops.end());
  std::vector<bool> isBelow(scene.GetNodes().size());
  for (std::size_t i = 0; i < isBelow.size(); ++i) {
    const DrawNode& node = scene.GetNodes()[i];
    isBelow[i] = wanted.count(node.node) > 0 || (node.parent != DrawNode::kNone && isBelow[node.parent]);
  }
  std::vector<glm::dvec3> corners;
  for (const std::vector<DrawBatch>* const batches : {&scene.GetBatches(), &scene.GetWires()}) {
    for (const DrawBatch& batch : *batches) {
      for (std::size_t i = 0; i < batch.nodes.size(); ++i) {
        if (isBelow[batch.nodes[i]]) {
          const std::array<glm::dvec3, 8> own = DrawScene::GetCorners(batch, i);
          corners.insert(corners.end(), own.begin(), own.end());
        }
      }
    }
  }
  return corners;
}

// What the scene's box covers when it is turned all around: so that it has one size from everywhere.
std::vector<glm::dvec3> TurnBox(const AABoxT<double>& box) {
  std::vector<glm::dvec3> points;
  if (!box.IsFinite()) {
    return points;
  }
  const glm::dvec3 middle = (box.GetMin() + box.GetMax()) * 0.5, half = (box.GetMax() - box.GetMin()) * 0.5;
  const double radius = std::hypot(half.x, half.y);
  constexpr int kSteps = 72;
  for (int i = 0; i < kSteps; ++i) {
    const glm::dvec3 aside(radius * std::cos(kTurn * i / kSteps), radius * std::sin(kTurn * i / kSteps),
                           half.z);
    points.push_back(middle + aside);
    points.push_back(middle + glm::dvec3(aside.x, aside.y, -half.z));
  }
  return points;
}

Camera MakeCamera(const SceneNode& root, const DrawScene& scene, const PictureRequest& request) {
  Camera camera;
  camera.SetProjection(request.parallel ? Camera::Projection::kParallel : Camera::Projection::kPerspective);
  if (request.from) {
    if (!camera.SetDirection(*request.from, request.up)) {
      throw Refusal{PictureReply::Result::kRefused, "", "a direction of length 0 leads nowhere"};
    }
  } else if (const auto view = Camera::FindView(request.view)) {
    camera.SetView(*view);
  }
  const double aspect = static_cast<double>(request.options.width) / request.options.height;
  if (!request.fit.empty()) {
    camera.Fit(FindCorners(scene, FindNodes(root, request.fit)), aspect);
  } else if (request.turntable > 0) {
    camera.Fit(TurnBox(scene.GetBox()), aspect);
  } else {
    camera.Fit(scene, aspect);
  }
  return camera;
}

std::vector<SectionPlane> PlaceSections(const PictureRequest& request, const DrawScene& scene,
                                        const Camera& camera) {
  std::vector<SectionPlane> planes;
  const AABoxT<double>& box = scene.GetBox();
  const glm::dvec3 middle = box.IsFinite() ? (box.GetMin() + box.GetMax()) * 0.5 : glm::dvec3(0.0);
  for (const PictureRequest::Section& section : request.sections) {
    const double length = glm::length(section.normal);
    SectionPlane plane;
    plane.normal = section.normal / length;
    plane.offset = section.offset ? *section.offset / length : glm::dot(plane.normal, middle);
    if (section.towardsViewer && glm::dot(plane.normal, camera.GetForward()) > 1e-9) {
      plane.normal = -plane.normal;
      plane.offset = -plane.offset;
    }
    planes.push_back(plane);
  }
  return planes;
}

std::string NumberFile(const std::string& path, int number) {
  fs::path numbered = fs::u8path(path);
  char digits[16];
  std::snprintf(digits, sizeof digits, "-%03d", number);
  numbered.replace_filename(numbered.stem().u8string() + digits + numbered.extension().u8string());
  return numbered.u8string();
}

void SavePicture(const Picture& picture, const std::string& path, PictureReply& reply) {
  std::string reason;
  if (!picture.Save(path, reason)) {
    throw Refusal{PictureReply::Result::kUnwritten, path, reason};
  }
  reply.files.push_back(path);
}

void SaveFaces(const PictureRenderer& renderer, const DrawScene& scene, const Camera& camera,
               const PictureOptions& options, const std::string& path, PictureReply& reply) {
  const FaceMap map = renderer.DrawFaces(camera, options);
  const FaceLegend legend(scene, map);
  if (!legend.IsComplete()) {
    throw Refusal{PictureReply::Result::kRefused, path,
                  "more faces are seen than there are colours; draw a smaller picture"};
  }
  SavePicture(legend.MakePicture(), path, reply);
  fs::path beside = fs::u8path(path);
  beside.replace_extension(".json");
  errno = 0;
  std::ofstream stream(beside, std::ios::binary);
  if (!(stream << legend.MakeJson(camera)) || !stream.flush()) {
    throw Refusal{PictureReply::Result::kUnwritten, beside.u8string(),
                  std::generic_category().message(errno)};
  }
  reply.files.push_back(beside.u8string());
}

// Whether anything but the background is to be seen: a few rays mostly tell, or else a small picture.
bool ShowsSomething(const Picture& picture, const PictureOptions& options, const PictureRenderer& renderer,
                    const Camera& camera) {
  PictureOptions few = options;
  few.width = few.height = 16;
  const FaceMap faces = renderer.DrawFaces(camera, few);
  for (const FaceMap::Entry& entry : faces.entries) {
    if (entry.placement != FaceMap::kNothing) {
      return true;
    }
  }
  PictureOptions small = options;
  small.background = PictureOptions::Background::kNone;
  small.ambientOcclusion = false;
  small.samples = 1;
  small.width = std::min(picture.width, 200);
  small.height =
      std::max(1, static_cast<int>(static_cast<double>(picture.height) * small.width / picture.width));
  const Picture shown = renderer.Draw(camera, small);
  for (std::size_t i = 3; i < shown.pixels.size(); i += 4) {
    if (shown.pixels[i] != 0) {
      return true;
    }
  }
  return false;
}

// The name of the one thing that the folder holds, or else what the request calls it.
std::string GetTitle(const SceneNode& root, const PictureRequest& request) {
  if (root.GetKind() == SceneNodeKind::kGroup) {
    const auto& tops = static_cast<const GroupSceneNode&>(root).GetNodes();
    if (tops.size() == 1 && !tops.front()->GetName().empty()) {
      return tops.front()->GetName();
    }
  }
  return request.title;
}

}  // namespace

void PictureMaker::Draw(PictureReply& reply) {
  const auto scene = std::make_shared<const DrawScene>(*root_, ReadVisibility(*root_, request_));
  reply.leftOut = scene->GetLeftOutCount();
  Camera camera = MakeCamera(*root_, *scene, request_);
  PictureOptions options = request_.options;
  options.sections = PlaceSections(request_, *scene, camera);
  const std::string title = GetTitle(*root_, request_);
  if (request_.facesOutput.empty()) {
    root_.reset();  // the legend alone has their names
    FreedMemory::GiveBack();
  }
  const PictureRenderer renderer(std::make_shared<const RayCaster>(scene));
  if (request_.sheet) {
    SheetMaker sheet(renderer, *scene, options);
    const Picture picture = sheet.Make(title);
    reply.note = sheet.GetNote();
    reply.nothingSeen = !ShowsSomething(picture, options, renderer, camera);
    SavePicture(picture, request_.output, reply);
    return;
  }
  const int count = std::max(1, request_.turntable);
  for (int i = 0; i < count; ++i) {
    const Picture picture = renderer.Draw(camera, options);
    if (i == 0) {
      reply.nothingSeen = !ShowsSomething(picture, options, renderer, camera);
    }
    SavePicture(picture, request_.turntable > 0 ? NumberFile(request_.output, i + 1) : request_.output,
                reply);
    if (i == 0 && !request_.facesOutput.empty()) {
      SaveFaces(renderer, *scene, camera, options, request_.facesOutput, reply);
    }
    camera.Orbit(kTurn / count, 0.0);
  }
}

void PictureMaker::Make(PictureReply& reply) {
  try {
    Draw(reply);
  } catch (const Refusal& refusal) {
    reply.result = refusal.result;
    reply.file = refusal.file;
    reply.error = refusal.error;
  }
}

}  // namespace mirel
