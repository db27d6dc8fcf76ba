// The module mirel._draw: pictures. Apart from the other one, as what it is linked to takes long to load.
#include <Python/Native/Interruptible.h>
#include <Python/Native/Model.h>

#include <Viewer/Draw/Camera.h>
#include <Viewer/Draw/DrawScene.h>
#include <Viewer/Draw/PictureRenderer.h>
#include <Viewer/Draw/RayCaster.h>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace py = pybind11;

namespace mirel::python {

namespace {

using Vector = std::array<double, 3>;
using Edges = PictureOptions::Edges;

/// What a picture is to look like.
struct Look {
  std::vector<Part> only, hide, ghost;
  std::variant<std::string, Vector> view;
  bool parallel = false;
  PictureOptions options;
};

glm::dvec3 ToVector(const Vector& v) {
  return {v[0], v[1], v[2]};
}

Camera MakeCamera(const DrawScene& scene, const Look& look) {
  Camera camera;
  camera.SetProjection(look.parallel ? Camera::Projection::kParallel : Camera::Projection::kPerspective);
  if (const std::string* const name = std::get_if<std::string>(&look.view)) {
    const std::optional<Camera::View> view = Camera::FindView(*name);
    if (!view) throw std::invalid_argument("there is no view \"" + *name + "\"");
    camera.SetView(*view);
  } else if (!camera.SetDirection(ToVector(std::get<Vector>(look.view)), {0.0, 0.0, 1.0})) {
    throw std::invalid_argument("a direction of length 0 leads nowhere");
  }
  camera.Fit(scene, static_cast<double>(look.options.width) / look.options.height);
  return camera;
}

Picture Draw(const SceneNode& root, const Look& look) {
  NodeVisibility visibility;
  for (const Part& part : look.only)
    visibility.ShowAlone(part.node);
  for (const Part& part : look.hide)
    visibility.Hide(part.node);
  for (const Part& part : look.ghost)
    visibility.Ghost(part.node);
  const auto scene = std::make_shared<const DrawScene>(root, visibility);
  const Camera camera = MakeCamera(*scene, look);
  return PictureRenderer(std::make_shared<const RayCaster>(scene)).Draw(camera, look.options);
}

py::array_t<std::uint8_t> DrawPixels(const Model& model, int width, int height, Look look) {
  look.options.width = width;
  look.options.height = height;
  Picture picture;
  std::atomic<bool> isCancelled{false};
  look.options.isCancelled = &isCancelled;
  RunInterruptibly([&] { picture = Draw(model.GetRoot(), look); }, [&] { isCancelled = true; });
  if (picture.pixels.empty()) {
    throw std::invalid_argument("pictures have 1 to " + std::to_string(Picture::kMaxSide) +
                                " pixels a side and at most " + std::to_string(Picture::kMaxPixels) +
                                " in all");
  }
  const py::ssize_t channels = look.options.background == PictureOptions::Background::kNone ? 4 : 3;
  py::array_t<std::uint8_t> pixels({py::ssize_t{picture.height}, py::ssize_t{picture.width}, channels});
  std::uint8_t* target = pixels.mutable_data();
  for (std::size_t i = 0; i < picture.pixels.size(); i += 4, target += channels)
    std::memcpy(target, &picture.pixels[i], static_cast<std::size_t>(channels));
  return pixels;
}

// Empty, or why the file cannot be written.
std::string WritePng(const py::array_t<std::uint8_t, py::array::c_style | py::array::forcecast>& pixels,
                     const std::string& path) {
  const auto at = pixels.unchecked<3>();
  Picture picture(static_cast<int>(at.shape(1)), static_cast<int>(at.shape(0)));
  if (picture.pixels.empty()) return "it has no pixels, or too many";
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      std::uint8_t* const pixel = picture.GetPixel(x, y);
      pixel[3] = 255;
      for (py::ssize_t i = 0; i < at.shape(2); ++i)
        pixel[i] = at(y, x, i);
    }
  }
  const py::gil_scoped_release others;
  std::string reason;
  return picture.Save(path, reason) ? std::string() : reason;
}

}  // namespace

PYBIND11_MODULE(_draw, draw) {
  py::module_::import("mirel._native");  // has the types
  draw.def(
      "draw",
      [](const Model& model, int width, int height, std::vector<Part> only, std::vector<Part> hide,
         std::vector<Part> ghost, std::variant<std::string, Vector> view, bool parallel,
         const std::string& edges, const std::variant<std::string, Vector>& background,
         const std::vector<std::array<double, 4>>& sections) {
        Look look{std::move(only), std::move(hide), std::move(ghost), std::move(view), parallel, {}};
        look.options.edges = edges == "none" ? Edges::kNone : edges == "all" ? Edges::kAll : Edges::kSharp;
        if (const Vector* const color = std::get_if<Vector>(&background)) {
          look.options.background = PictureOptions::Background::kColor;
          look.options.backgroundColor = glm::vec3(ToVector(*color));
        } else if (std::get<std::string>(background) == "none") {
          look.options.background = PictureOptions::Background::kNone;
        }
        for (const auto& plane : sections) {
          const glm::dvec3 normal(plane[0], plane[1], plane[2]);
          const double length = glm::length(normal);
          if (!(length > 0.0)) throw std::invalid_argument("a plane with a normal of length 0 cuts nothing");
          look.options.sections.push_back({normal / length, plane[3] / length});
        }
        return DrawPixels(model, width, height, std::move(look));
      },
      py::arg("scene"), py::arg("width"), py::arg("height"), py::arg("only"), py::arg("hide"),
      py::arg("ghost"), py::arg("view"), py::arg("parallel"), py::arg("edges"), py::arg("background"),
      py::arg("sections"));
  draw.def("write_png", WritePng);
}

}  // namespace mirel::python
