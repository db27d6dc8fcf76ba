#include <Programs/mirel/Picture/FaceLegend.h>

#include <Programs/mirel/Text/JsonText.h>

#include <Viewer/Kernel/Host/Renderer/SceneNode.h>

#include <glm/gtc/type_ptr.hpp>

namespace mirel {

namespace {

constexpr std::size_t kMaxNumber = 0xFFFFFF;

}  // namespace

FaceLegend::FaceLegend(const DrawScene& scene, const FaceMap& map) : scene_(scene), map_(map) {
  for (const FaceMap::Entry& entry : map.entries) {
    if (entry.placement == FaceMap::kNothing) {
      continue;
    }
    const Part part(entry.placement, entry.face);
    if (numbers_.count(part) == 0 && parts_.size() < kMaxNumber) {
      parts_.push_back(part);
      numbers_[part] = static_cast<std::uint32_t>(parts_.size());
    }
    complete_ = complete_ && numbers_.count(part) > 0;
  }
}

Picture FaceLegend::MakePicture() const {
  Picture picture(map_.width, map_.height);
  for (std::size_t i = 0; i < map_.entries.size(); ++i) {
    const FaceMap::Entry& entry = map_.entries[i];
    const std::uint32_t number =
        entry.placement == FaceMap::kNothing ? 0 : numbers_.at({entry.placement, entry.face});
    picture.pixels[4 * i] = static_cast<std::uint8_t>(number >> 16);
    picture.pixels[4 * i + 1] = static_cast<std::uint8_t>(number >> 8);
    picture.pixels[4 * i + 2] = static_cast<std::uint8_t>(number);
    picture.pixels[4 * i + 3] = 255;
  }
  return picture;
}

std::string FaceLegend::MakeJson(const Camera& camera) const {
  JsonText json(true);
  json.BeginObject();
  json.Key("width");
  json.Unsigned(static_cast<std::uint64_t>(map_.width));
  json.Key("height");
  json.Unsigned(static_cast<std::uint64_t>(map_.height));
  json.Key("projection");
  json.Text(camera.GetProjection() == Camera::Projection::kPerspective ? "perspective" : "parallel");
  json.Key("eye");
  json.Numbers(glm::value_ptr(camera.GetEye()), 3);
  json.Key("target");
  json.Numbers(glm::value_ptr(camera.GetTarget()), 3);
  json.Key("up");
  json.Numbers(glm::value_ptr(camera.GetUp()), 3);
  json.Key("targetHeight");
  json.Number(camera.GetHeight());

  std::map<std::uint32_t, std::uint64_t> bodies;  // placement -> position in the list
  json.Key("bodies");
  json.BeginArray();
  for (const Part& part : parts_) {
    if (!bodies.try_emplace(part.first, bodies.size()).second) {
      continue;
    }
    const std::vector<const SceneNode*> path = scene_.GetPath(part.first);
    json.BeginObject();
    json.Key("name");
    json.Text(path.back()->GetName());
    json.Key("path");  // ids of the nodes from the top to the body
    json.BeginArray();
    for (std::size_t i = 1; i < path.size(); ++i) {
      json.Text(std::to_string(path[i]->GetUserId()));
    }
    json.EndArray();
    json.EndObject();
  }
  json.EndArray();

  json.Key("faces");
  json.BeginArray();
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    const auto& [placement, face] = parts_[i];
    json.BeginObject();
    json.Key("number");
    json.Unsigned(i + 1);
    json.Key("body");
    json.Unsigned(bodies.at(placement));
    json.Key((face & FaceMap::kCut) != 0 ? "section" : "face");
    json.Unsigned(face & ~FaceMap::kCut);
    const glm::vec3& color = scene_.GetBatch(placement).palette->GetColor(face);
    json.Key("color");
    json.BeginArray();
    for (int c = 0; c < 3; ++c) {
      json.Number(color[c]);
    }
    json.EndArray();
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
  return json.GetText() + "\n";
}

}  // namespace mirel
