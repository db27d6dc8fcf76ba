#include <Programs/mirel/Export/TriangleFiles.h>

#include <Programs/mirel/Export/LittleEndian.h>
#include <Programs/mirel/Export/PlacedBodies.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <glm/glm.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace mirel {

namespace {

constexpr std::uint64_t kMostCounted = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kStlHeader = 80;

/// The mesh of a body where it stands.
struct PlacedMesh {
  PlacedMesh(const GRepMesh& mesh, const glm::dmat4& placement)
      : mesh_(mesh),
        placement_(placement),
        turn_(glm::transpose(glm::inverse(glm::dmat3(placement)))),
        isMirrored_(glm::determinant(glm::dmat3(placement)) < 0.0) {}

  glm::vec3 GetPosition(std::size_t vertex) const {
    return glm::vec3(placement_ * glm::dvec4(mesh_.GetPosition(vertex), 1.0));
  }
  glm::vec3 GetNormal(std::size_t vertex) const {
    return glm::vec3(glm::normalize(turn_ * glm::dvec3(mesh_.GetNormal(vertex))));
  }
  std::array<std::uint32_t, 3> GetCorners(std::size_t triangle) const {
    const std::uint32_t* const corners = &mesh_.triangles[3 * triangle];
    return {corners[0], corners[isMirrored_ ? 2 : 1], corners[isMirrored_ ? 1 : 2]};
  }

 private:
  const GRepMesh& mesh_;
  const glm::dmat4 placement_;
  const glm::dmat3 turn_;
  const bool isMirrored_;
};

void AppendVector(std::string& file, const glm::vec3& vector) {
  for (int i = 0; i < 3; ++i) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &vector[i], sizeof bits);
    LittleEndian::Append(file, bits);
  }
}

void AppendLine(std::string& file, const char* word, const glm::vec3& vector) {
  file += word;
  for (int i = 0; i < 3; ++i) {
    char digits[32];
    file.push_back(' ');
    file.append(digits, std::to_chars(digits, digits + sizeof digits, vector[i]).ptr);
  }
  file.push_back('\n');
}

struct Counts {
  std::uint64_t vertices = 0, triangles = 0;

  bool Fit() const { return vertices <= kMostCounted && triangles <= kMostCounted; }
};

Counts CountAll(const SceneNode& root) {
  Counts counts;
  PlacedBodies::VisitAll(root, [&counts](const BrepSceneNode& node, const glm::dmat4&) {
    counts.vertices += node.GetGRep()->GetMesh().GetVertexCount();
    counts.triangles += node.GetGRep()->GetMesh().GetTriangleCount();
  });
  return counts;
}

}  // namespace

bool TriangleFiles::MakeStl(std::string& file) {
  const Counts counts = CountAll(root_);
  if (!counts.Fit()) {
    return false;
  }
  constexpr std::size_t kTriangle = 50;
  file.assign(kStlHeader, ' ');
  file.reserve(kStlHeader + 4 + counts.triangles * kTriangle);
  LittleEndian::Append(file, static_cast<std::uint32_t>(counts.triangles));
  leftOut_ = PlacedBodies::VisitAll(root_, [&file](const BrepSceneNode& node, const glm::dmat4& placement) {
    const GRepMesh& mesh = node.GetGRep()->GetMesh();
    const PlacedMesh placed(mesh, placement);
    for (std::size_t triangle = 0; triangle < mesh.GetTriangleCount(); ++triangle) {
      glm::vec3 corners[3];
      for (int i = 0; i < 3; ++i) {
        corners[i] = placed.GetPosition(placed.GetCorners(triangle)[i]);
      }
      const glm::vec3 across = glm::cross(corners[1] - corners[0], corners[2] - corners[0]);
      const float length = glm::length(across);
      AppendVector(file, length > 0.0F ? across / length : glm::vec3(0.0F));
      for (const glm::vec3& corner : corners) {
        AppendVector(file, corner);
      }
      file.append(2, '\0');
    }
  });
  return true;
}

bool TriangleFiles::MakeObj(std::string& file) {
  file = "# millimetres, z upwards\n";
  std::uint64_t before = 1;
  leftOut_ = PlacedBodies::VisitAll(root_, [&](const BrepSceneNode& node, const glm::dmat4& placement) {
    const GRepMesh& mesh = node.GetGRep()->GetMesh();
    const PlacedMesh placed(mesh, placement);
    std::string name = node.GetName();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char letter) { return letter < ' '; }, ' ');
    file += "o " + (name.empty() ? std::to_string(node.GetUserId()) : name) + "\n";
    for (std::size_t vertex = 0; vertex < mesh.GetVertexCount(); ++vertex) {
      AppendLine(file, "v", placed.GetPosition(vertex));
    }
    for (std::size_t vertex = 0; vertex < mesh.GetVertexCount(); ++vertex) {
      AppendLine(file, "vn", placed.GetNormal(vertex));
    }
    for (std::size_t triangle = 0; triangle < mesh.GetTriangleCount(); ++triangle) {
      file += "f";
      for (const std::uint32_t corner : placed.GetCorners(triangle)) {
        const std::string number = std::to_string(before + corner);
        file += " " + number + "//" + number;
      }
      file.push_back('\n');
    }
    before += mesh.GetVertexCount();
  });
  return true;
}

bool TriangleFiles::MakePly(std::string& file) {
  const Counts counts = CountAll(root_);
  if (!counts.Fit()) {
    return false;
  }
  file = "ply\nformat binary_little_endian 1.0\ncomment millimetres, z upwards\n"
         "element vertex " +
         std::to_string(counts.vertices) +
         "\nproperty float x\nproperty float y\nproperty float z\n"
         "property float nx\nproperty float ny\nproperty float nz\n"
         "element face " +
         std::to_string(counts.triangles) +
         "\nproperty list uchar uint vertex_indices\n"
         "property uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
  leftOut_ = PlacedBodies::VisitAll(root_, [&file](const BrepSceneNode& node, const glm::dmat4& placement) {
    const GRepMesh& mesh = node.GetGRep()->GetMesh();
    const PlacedMesh placed(mesh, placement);
    for (std::size_t vertex = 0; vertex < mesh.GetVertexCount(); ++vertex) {
      AppendVector(file, placed.GetPosition(vertex));
      AppendVector(file, placed.GetNormal(vertex));
    }
  });
  std::uint32_t before = 0;
  PlacedBodies::VisitAll(root_, [&](const BrepSceneNode& node, const glm::dmat4& placement) {
    const GRepMesh& mesh = node.GetGRep()->GetMesh();
    const PlacedMesh placed(mesh, placement);
    const std::vector<std::uint32_t> faces = mesh.MakeFaceOfTriangle();
    for (std::size_t triangle = 0; triangle < mesh.GetTriangleCount(); ++triangle) {
      file.push_back(3);
      for (const std::uint32_t corner : placed.GetCorners(triangle)) {
        LittleEndian::Append(file, before + corner);
      }
      const glm::vec3& color = node.GetDrawnColor(faces[triangle]);
      for (int i = 0; i < 3; ++i) {
        constexpr float kLargest = 255.0F;
        file.push_back(static_cast<char>(std::lround(std::clamp(color[i], 0.0F, 1.0F) * kLargest)));
      }
    }
    before += static_cast<std::uint32_t>(mesh.GetVertexCount());
  });
  return true;
}

}  // namespace mirel
