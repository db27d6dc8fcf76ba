// Opens a model folder and draws it, cut open in the middle, with one part picked out: draw_picture FOLDER OUT.png

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/Picker.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>
#include <Viewer/Draw/Selection.h>
#include <Viewer/Kernel/Host/Renderer/SceneNode.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <cstdio>
#include <memory>
#include <string>

using namespace mirel;

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: draw_picture FOLDER OUT.png\n");
    return 1;
  }
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(std::string(argv[1]) + "/index.gz", nullptr);
  if (!root) return 2;  // the log on stderr says why

  // What is drawn, gathered from the nodes, and ready for rays. Both may be kept as long as the nodes stay as they are.
  const auto scene = std::make_shared<DrawScene>(*root);
  const auto caster = std::make_shared<RayCaster>(scene);
  std::printf("%u bodies in %zu batches\n", scene->GetPlacementCount(), scene->GetBatches().size());
  if (scene->GetPlacementCount() == 0) return 2;

  PictureOptions options;
  options.width = 640;
  options.height = 480;

  Camera camera;
  camera.SetView(Camera::View::kIso);
  camera.Fit(*scene, 640.0 / 480.0);

  // The half in front of this plane is taken away.
  const glm::dvec3 middle = (scene->GetBox().GetMin() + scene->GetBox().GetMax()) * 0.5;
  options.sections.push_back({{0, -1, 0}, -middle.y});

  // What a click on the top, between the cut and the back, selects.
  const glm::dvec2 size(640, 480);
  const glm::dvec3 half = scene->GetBox().GetMax() - middle;
  const glm::dvec2 click(camera.Project(middle + glm::dvec3(0, half.y / 2, half.z), size));
  Selection selection;
  const PickResult picked = Picker(caster, camera, size, options.sections).Pick(click);
  if (picked.kind != PickResult::Kind::kNothing) {
    selection.Add(picked.hit.placement);
    std::printf("at the top: %s\n", scene->GetPath(picked.hit.placement).back()->GetName().c_str());
  }
  options.selection = &selection;

  const Picture picture = PictureRenderer(caster).Draw(camera, options);
  std::string reason;
  if (!picture.Save(argv[2], reason)) {
    std::fprintf(stderr, "%s: %s\n", argv[2], reason.c_str());
    return 3;
  }
  return 0;
}
