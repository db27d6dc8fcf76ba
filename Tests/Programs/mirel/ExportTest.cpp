#include <Tests/Programs/mirel/RunMirel.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>
#include <Tests/Viewer/Draw/DrawSamples.h>

#include <Programs/mirel/Export/GltfWriter.h>
#include <Programs/mirel/Export/PlacedBodies.h>
#include <Programs/mirel/Export/TriangleFiles.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <meshoptimizer.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <glm/glm.hpp>
#include <glm/gtc/type_ptr.hpp>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace mirel {
namespace {

namespace fs = std::filesystem;

struct Triangle {
  glm::dvec3 corners[3];
  glm::dvec3 normal;  // of the first corner
  glm::vec3 color;    // sRGB
};

/// What another program sees in a GLB file, in millimetres, z upwards.
class GlbReader {
 public:
  explicit GlbReader(const std::string& file) {
    std::uint32_t jsonSize = 0;
    std::memcpy(&jsonSize, &file[12], 4);
    EXPECT_EQ(file.substr(0, 4), "glTF");
    json_.Parse(file.data() + 20, jsonSize);
    EXPECT_FALSE(json_.HasParseError());
    bytes_ = file.substr(20 + jsonSize + 8);
    for (const auto& node : json_["scenes"][0]["nodes"].GetArray())
      Walk(node.GetUint(), glm::dmat4(1.0));
  }

  const std::vector<Triangle>& GetTriangles() const { return triangles_; }
  std::size_t CountLines() const { return lines_; }
  std::size_t CountMeshes() const { return json_["meshes"].Size(); }
  const std::vector<std::string>& GetNames() const { return names_; }

 private:
  void Walk(unsigned number, glm::dmat4 placement) {
    const auto& node = json_["nodes"][number];
    if (node.HasMember("matrix")) {
      glm::dmat4 own;
      for (int i = 0; i < 16; ++i)
        own[i / 4][i % 4] = node["matrix"][i].GetDouble();
      // A node of glTF cannot shear: its axes must stay square.
      for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(glm::dot(glm::normalize(own[i]), glm::normalize(own[(i + 1) % 3])), 0, 1e-6);
      placement = placement * own;
    }
    if (node.HasMember("name")) names_.emplace_back(node["name"].GetString());
    if (node.HasMember("mesh")) ReadMesh(json_["meshes"][node["mesh"].GetUint()], placement);
    if (node.HasMember("children"))
      for (const auto& child : node["children"].GetArray())
        Walk(child.GetUint(), placement);
  }

  // The bytes of a view, without compression.
  std::string ReadView(unsigned number) {
    const auto& view = json_["bufferViews"][number];
    if (!view.HasMember("extensions"))
      return bytes_.substr(view["byteOffset"].GetUint(), view["byteLength"].GetUint());
    const auto& packed = view["extensions"]["EXT_meshopt_compression"];
    const auto* from = reinterpret_cast<const unsigned char*>(bytes_.data()) + packed["byteOffset"].GetUint();
    const std::size_t size = packed["byteLength"].GetUint(), count = packed["count"].GetUint(),
                      stride = packed["byteStride"].GetUint();
    const std::string mode = packed["mode"].GetString();
    std::string content(count * stride, '\0');
    const int failure =
        mode == "ATTRIBUTES"  ? meshopt_decodeVertexBuffer(content.data(), count, stride, from, size)
        : mode == "TRIANGLES" ? meshopt_decodeIndexBuffer(content.data(), count, stride, from, size)
                              : meshopt_decodeIndexSequence(content.data(), count, stride, from, size);
    EXPECT_EQ(failure, 0) << mode;
    if (packed.HasMember("filter")) meshopt_decodeFilterOct(content.data(), count, stride);
    return content;
  }

  template <class Number>
  static double ReadNumber(const std::string& bytes, std::size_t offset) {
    Number number;
    std::memcpy(&number, &bytes.at(offset + sizeof number - 1) - (sizeof number - 1), sizeof number);
    return number;
  }

  std::vector<double> ReadAccessor(unsigned number) {
    const auto& accessor = json_["accessors"][number];
    const unsigned viewNumber = accessor["bufferView"].GetUint();
    const auto& view = json_["bufferViews"][viewNumber];
    const std::string bytes = ReadView(viewNumber);
    const std::size_t parts = accessor["type"] == "VEC3" ? 3 : 1;
    const int type = accessor["componentType"].GetInt();
    const std::size_t size = type == 5120 ? 1 : type == 5123 ? 2 : 4;
    const std::size_t stride = view.HasMember("byteStride") ? view["byteStride"].GetUint() : size * parts;
    const std::size_t first = accessor.HasMember("byteOffset") ? accessor["byteOffset"].GetUint() : 0;
    std::vector<double> values;
    for (std::size_t i = 0; i < accessor["count"].GetUint(); ++i)
      for (std::size_t part = 0; part < parts; ++part) {
        const std::size_t at = first + i * stride + part * size;
        values.push_back(type == 5120   ? ReadNumber<std::int8_t>(bytes, at) / 127.0
                         : type == 5123 ? ReadNumber<std::uint16_t>(bytes, at)
                         : type == 5125 ? ReadNumber<std::uint32_t>(bytes, at)
                                        : ReadNumber<float>(bytes, at));
      }
    for (std::size_t part = 0; accessor.HasMember("min") && part < 3; ++part) {
      std::vector<double> one;
      for (std::size_t i = part; i < values.size(); i += 3)
        one.push_back(values[i]);
      EXPECT_EQ(*std::min_element(one.begin(), one.end()), accessor["min"][part].GetDouble());
      EXPECT_EQ(*std::max_element(one.begin(), one.end()), accessor["max"][part].GetDouble());
    }
    return values;
  }

  void ReadMesh(const rapidjson::Value& mesh, const glm::dmat4& placement) {
    const glm::dmat3 turn = glm::transpose(glm::inverse(glm::dmat3(placement)));
    for (const auto& primitive : mesh["primitives"].GetArray()) {
      const std::vector<double> indices = ReadAccessor(primitive["indices"].GetUint());
      if (primitive.HasMember("mode")) {
        lines_ += indices.size() / 2;
        continue;
      }
      const std::vector<double> points = ReadAccessor(primitive["attributes"]["POSITION"].GetUint());
      const std::vector<double> normals = ReadAccessor(primitive["attributes"]["NORMAL"].GetUint());
      const auto& color =
          json_["materials"][primitive["material"].GetUint()]["pbrMetallicRoughness"]["baseColorFactor"];
      for (std::size_t i = 0; i < indices.size(); i += 3) {
        Triangle triangle;
        for (std::size_t corner = 0; corner < 3; ++corner) {
          const double* const at = &points[3 * static_cast<std::size_t>(indices[i + corner])];
          triangle.corners[corner] = ToMillimetres(placement * glm::dvec4(glm::make_vec3(at), 1.0));
        }
        const double* const normal = &normals[3 * static_cast<std::size_t>(indices[i])];
        triangle.normal = glm::normalize(ToMillimetres(glm::dvec4(turn * glm::make_vec3(normal), 0.0)));
        // A mirror turns corners round, and readers turn them back.
        if (glm::determinant(placement) < 0.0) std::swap(triangle.corners[1], triangle.corners[2]);
        for (int part = 0; part < 3; ++part)
          triangle.color[part] = static_cast<float>(std::pow(color[part].GetDouble(), 1 / 2.2));
        triangles_.push_back(triangle);
      }
    }
  }

  static glm::dvec3 ToMillimetres(const glm::dvec4& y) { return glm::dvec3(y.x, -y.z, y.y) * 1000.0; }

  rapidjson::Document json_;
  std::string bytes_;
  std::vector<Triangle> triangles_;
  std::vector<std::string> names_;
  std::size_t lines_ = 0;
};

/// Bodies as they come, in a mirror, sheared, stretched in a group, far away, and in colours.
std::shared_ptr<GroupSceneNode> MakeScene() {
  auto root = std::make_shared<GroupSceneNode>();
  const auto cylinder = MeshOf(BRepPrimAPI_MakeCylinder(4, 10).Shape());
  const auto sphere = MeshOf(BRepPrimAPI_MakeSphere(gp_Pnt(20000, 0, 0), 5).Shape());
  const auto red = BodyNode(cylinder, Move(20, 0, 0) * Mirror());
  red->SetColor({1, 0, 0});
  red->SetFaceColor(0, {0, 0, 1});
  red->SetName("Größe \"7\"");
  const auto group = std::make_shared<GroupSceneNode>();
  group->SetTransform(TurnAboutZ(30) * Shear());
  group->AddNode(BodyNode(cylinder, TurnAboutZ(10)));
  group->AddNode(BodyNode(sphere, Move(-20000, 0, 0)));
  for (const auto& node :
       std::vector<std::shared_ptr<SceneNode>>{BodyNode(cylinder, Move(0, 0, 0)), red, group})
    root->AddNode(node);
  return root;
}

std::vector<Triangle> ListTriangles(const SceneNode& root) {
  std::vector<Triangle> triangles;
  PlacedBodies::VisitAll(root, [&triangles](const BrepSceneNode& node, const glm::dmat4& placement) {
    const GRepMesh& mesh = node.GetGRep()->GetMesh();
    const glm::dmat3 turn = glm::transpose(glm::inverse(glm::dmat3(placement)));
    const std::vector<std::uint32_t> faces = mesh.MakeFaceOfTriangle();
    for (std::size_t i = 0; i < mesh.GetTriangleCount(); ++i) {
      Triangle triangle;
      for (int corner = 0; corner < 3; ++corner)
        triangle.corners[corner] =
            placement * glm::dvec4(mesh.GetPosition(mesh.triangles[3 * i + corner]), 1.0);
      if (glm::determinant(placement) < 0.0) std::swap(triangle.corners[1], triangle.corners[2]);
      triangle.normal = glm::normalize(turn * glm::dvec3(mesh.GetNormal(mesh.triangles[3 * i])));
      triangle.color = node.GetDrawnColor(faces[i]);
      triangles.push_back(triangle);
    }
  });
  return triangles;
}

/// What triangles of one colour come to: their number, area, the volume that they enclose, and where they are.
struct Amounts {
  std::size_t count = 0;
  double area = 0.0, volume = 0.0;
  glm::dvec3 moment{0.0};
};

std::map<int, Amounts> SumUp(const std::vector<Triangle>& triangles) {
  std::map<int, Amounts> amounts;
  for (const Triangle& triangle : triangles) {
    const glm::ivec3 color(triangle.color * 3.0f + 0.5f);
    Amounts& sum = amounts[color.r + 4 * color.g + 16 * color.b];
    const glm::dvec3 across =
        glm::cross(triangle.corners[1] - triangle.corners[0], triangle.corners[2] - triangle.corners[0]);
    const glm::dvec3 middle = (triangle.corners[0] + triangle.corners[1] + triangle.corners[2]) / 3.0;
    const double area = glm::length(across) / 2.0;
    ++sum.count;
    sum.area += area;
    sum.volume += glm::dot(middle, across) / 6.0;
    sum.moment += area * middle;
    // At the poles of a sphere there are triangles without an area.
    EXPECT_TRUE(area < 0.01 || glm::dot(triangle.normal, across) > area);
  }
  return amounts;
}

void ExpectSame(const std::vector<Triangle>& found, const std::vector<Triangle>& expected) {
  const std::map<int, Amounts> a = SumUp(found), b = SumUp(expected);
  ASSERT_EQ(a.size(), b.size());
  for (const auto& [color, sum] : b) {
    ASSERT_EQ(a.count(color), 1u) << color;
    const Amounts& other = a.at(color);
    EXPECT_EQ(other.count, sum.count);
    EXPECT_NEAR(other.area, sum.area, 1e-4 * sum.area);
    EXPECT_NEAR(other.volume, sum.volume, 1e-3 * sum.area);
    EXPECT_LT(glm::distance(other.moment, sum.moment), 1e-3 * sum.area);
  }
}

TEST(Export, GltfShowsWhatTheSceneShows) {
  const std::shared_ptr<GroupSceneNode> root = MakeScene();
  const std::vector<Triangle> expected = ListTriangles(*root);
  for (const bool compress : {false, true})
    for (const bool faces : {false, true}) {
      SCOPED_TRACE(std::to_string(compress) + std::to_string(faces));
      GltfOptions options;
      options.compress = compress;
      options.faces = faces;
      options.edges = faces;
      std::string file;
      ASSERT_TRUE(GltfWriter(*root, options).MakeBinary(file));
      const GlbReader reader(file);
      ExpectSame(reader.GetTriangles(), expected);
      // The cylinder in two coats and the sphere, however often they are placed.
      EXPECT_EQ(reader.CountMeshes(), 3u);
      EXPECT_EQ(reader.GetNames(), std::vector<std::string>{"Größe \"7\""});
      EXPECT_EQ(reader.CountLines() > 0, options.edges);
    }
}

TEST(Export, GltfLeavesOutWhatCannotBePlaced) {
  const std::shared_ptr<GroupSceneNode> root = MakeScene();
  const std::size_t before = ListTriangles(*root).size();
  root->AddNode(BodyNode(BoxGRep(1, 2, 3), glm::dmat4(0.0)));
  GltfWriter writer(*root, {});
  EXPECT_EQ(writer.CountLeftOut(), 1u);
  std::string file;
  ASSERT_TRUE(writer.MakeBinary(file));
  EXPECT_EQ(GlbReader(file).GetTriangles().size(), before);
}

std::string ReadAll(const std::string& path) {
  std::ifstream stream(fs::u8path(path), std::ios::binary);
  std::stringstream content;
  content << stream.rdbuf();
  return content.str();
}

TEST(Export, TriangleFilesShowWhatTheSceneShows) {
  const std::shared_ptr<GroupSceneNode> root = MakeScene();
  const std::vector<Triangle> expected = ListTriangles(*root);
  TriangleFiles files(*root);
  std::string stl, obj, ply;
  ASSERT_TRUE(files.MakeStl(stl) && files.MakeObj(obj) && files.MakePly(ply));

  std::vector<Triangle> found;
  for (std::size_t at = 84; at < stl.size(); at += 50) {
    float numbers[12];
    std::memcpy(numbers, &stl[at], sizeof numbers);
    Triangle triangle;
    for (int corner = 0; corner < 3; ++corner)
      triangle.corners[corner] = glm::make_vec3(numbers + 3 + 3 * corner);
    triangle.normal = glm::make_vec3(numbers);
    found.push_back(triangle);
  }
  std::vector<Triangle> plain = expected;
  for (auto* list : {&found, &plain})
    for (Triangle& triangle : *list)
      triangle.color = glm::vec3(0);
  ExpectSame(found, plain);

  std::istringstream lines(obj);
  std::vector<glm::dvec3> points, normals;
  found.clear();
  for (std::string line; std::getline(lines, line);) {
    glm::dvec3 vector;
    unsigned corners[3];
    if (std::sscanf(line.c_str(), "v %lf %lf %lf", &vector.x, &vector.y, &vector.z) == 3)
      points.push_back(vector);
    if (std::sscanf(line.c_str(), "vn %lf %lf %lf", &vector.x, &vector.y, &vector.z) == 3)
      normals.push_back(vector);
    if (std::sscanf(line.c_str(), "f %u//%*u %u//%*u %u//%*u", &corners[0], &corners[1], &corners[2]) == 3)
      found.push_back({{points.at(corners[0] - 1), points.at(corners[1] - 1), points.at(corners[2] - 1)},
                       normals.at(corners[0] - 1),
                       glm::vec3(0)});
  }
  ExpectSame(found, plain);

  found.clear();
  std::size_t vertexCount = 0;
  ASSERT_EQ(std::sscanf(ply.c_str() + ply.find("element vertex"), "element vertex %zu", &vertexCount), 1);
  const char* at = ply.data() + ply.find("end_header\n") + std::strlen("end_header\n");
  std::vector<float> numbers(6 * vertexCount);
  std::memcpy(numbers.data(), at, numbers.size() * sizeof(float));
  for (at += numbers.size() * sizeof(float); at < ply.data() + ply.size(); at += 16) {
    std::uint32_t corners[3];
    std::memcpy(corners, at + 1, sizeof corners);
    Triangle triangle;
    for (int corner = 0; corner < 3; ++corner)
      triangle.corners[corner] = glm::make_vec3(&numbers.at(6 * std::size_t{corners[corner]}));
    triangle.normal = glm::make_vec3(&numbers[6 * std::size_t{corners[0]} + 3]);
    for (int part = 0; part < 3; ++part)
      triangle.color[part] = static_cast<float>(static_cast<unsigned char>(at[13 + part])) / 255.0f;
    found.push_back(triangle);
  }
  ExpectSame(found, expected);
}

TEST(Export, WritesTheSampleAndSinglePartsOfIt) {
  const TestFolder folder;
  const std::string model = folder.GetPath() + "trolley", out = folder.GetPath() + "out";
  ASSERT_EQ(Mirel({"save", "-q", MIREL_SAMPLE, model}), 0);
  std::string text, err;
  ASSERT_EQ(Mirel({"export", model, out + ".glb", "--meshopt", "--edges"}, text, &err), 0) << err;
  const std::size_t all = GlbReader(ReadAll(out + ".glb")).GetTriangles().size();
  EXPECT_GT(all, 0u);
  ASSERT_EQ(
      Mirel({"export", model, out + ".glb", "--only", "Schublade", "--only", "push handle"}, text, &err), 2);
  EXPECT_NE(err.find("several parts"), std::string::npos) << err;
  EXPECT_EQ(GlbReader(ReadAll(out + ".glb")).GetTriangles().size(), all);
  ASSERT_EQ(Mirel({"export", model, out + ".glb", "--only", "push handle"}, text, &err), 0) << err;
  const GlbReader handle(ReadAll(out + ".glb"));
  EXPECT_LT(handle.GetTriangles().size(), all);
  EXPECT_EQ(handle.GetNames(), (std::vector<std::string>{"工具车", "push handle", "Griff Größe L"}));

  ASSERT_EQ(Mirel({"export", MIREL_SAMPLE, out + ".GLTF"}, text, &err), 0) << err;
  EXPECT_GT(fs::file_size(out + ".bin"), 0u);
  rapidjson::Document json;
  json.Parse(ReadAll(out + ".GLTF").c_str());
  ASSERT_FALSE(json.HasParseError());
  EXPECT_EQ(json["buffers"][0]["uri"], "out.bin");
  EXPECT_EQ(json["buffers"][0]["byteLength"].GetUint64(), fs::file_size(out + ".bin"));

  EXPECT_EQ(Mirel({"export", model, out + ".fbx"}, text, &err), 1);
  EXPECT_EQ(Mirel({"export", model, folder.GetPath() + "no/out.stl"}, text, &err), 3);
  EXPECT_EQ(Mirel({"export", folder.GetPath() + "nothing", out + ".stl"}, text, &err), 2);
  EXPECT_FALSE(fs::exists(out + ".stl"));
}

}  // namespace
}  // namespace mirel
