#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Model/LiteLimits.h>
#include <Viewer/Kernel/Writer/LiteModelWriter.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/RunThreads.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <TopoDS_Shape.hxx>

#include <filesystem>

namespace mirel {
namespace {

const char* const kSavedTree = "G 0 \"\" (0 0 0)\n"
                               "  G 1 \"设计 Größe\" (0 0 0)\n"
                               "    G 2 \"first\" (0 0 0)\n"
                               "      G 100 \"Schraube\" (0 0 2)\n"
                               "        B 101 \"Bolt\" (0.5 0 0) [1 0 0] 0:[0 1 0] 5:[0 0 1]\n"
                               "        B 102 \"Nut\" (0 0 0) [-1 -1 -1]\n"
                               "    G 3 \"second\" (20 0 0)\n"
                               "      G 100 \"Schraube\" (0 0 2)\n"
                               "        B 101 \"Bolt\" (0.5 0 0) [1 0 0] 0:[0 1 0] 5:[0 0 1]\n"
                               "        B 102 \"Nut\" (0 0 0) [-1 -1 -1]\n"
                               "    B 200 \"Lid\" (0 33 0) [0.5 0.5 0.5]\n"
                               "  B 5 \"Base\" (0 0 0) [-1 -1 -1]\n";

std::wstring Widen(const std::string& path) {
  const std::filesystem::path native = std::filesystem::u8path(path);
  if constexpr (sizeof(wchar_t) == 2) return native.wstring();
  // The conversion to wchar_t would depend on the locale here.
  const std::u32string text = native.u32string();
  return std::wstring(text.begin(), text.end());
}

class LiteSceneReaderTest : public ::testing::Test {
 protected:
  void SaveAssembly() {
    LiteModel model;
    FillAssembly(model);
    LiteModelWriter(model).Save(folder_.GetPath());
  }
  /// An index without packages, with these counts and members behind them.
  void WriteIndex(const std::string& counts, const std::string& members = R"("Types":[],"Items":[])") {
    WriteGzip(index_, R"({"Metadata":)" + counts + "," + members + "}");
  }
  std::string LoadAndDescribe() {
    const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(index_, nullptr);
    return root ? DescribeNodes(*root) : "<none>";
  }
  /// The paths of the packages that could not be read, relative to the folder, in the order in which they
  /// were tried.
  std::string MissingFiles() const {
    std::string files;
    for (const std::string& text : log_.GetTexts(1)) {
      const std::string prefix = "Cannot read " + folder_.GetPath();
      if (text.find(prefix) == 0) files += text.substr(prefix.size(), text.find(": ") - prefix.size()) + " ";
    }
    return files;
  }

  const TestFolder folder_;
  const std::string index_ = folder_.GetPath() + "index.gz";
  LogCapture log_;
};

TEST_F(LiteSceneReaderTest, OpensWhatTheWriterSaved) {
  SaveAssembly();
  const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(index_, nullptr);
  ASSERT_TRUE(root);
  EXPECT_EQ(DescribeNodes(*root), kSavedTree);
  EXPECT_EQ(log_.GetEntries(),
            (std::vector<LogCapture::Entry>{{2, "Loading GRep..."}, {2, "Loading Shape..."}}));
  const auto& base = dynamic_cast<BrepSceneNode&>(*dynamic_cast<GroupSceneNode&>(*root).GetNodes()[1]);
  EXPECT_EQ(base.GetGRep()->GetMesh().GetTriangleCount(), 12U);
  EXPECT_EQ(base.GetGRep()->GetShape()->GetImpl().ShapeType(), TopAbs_SOLID);
}

TEST_F(LiteSceneReaderTest, TakesEveryFormOfAPathAndAnyNameOfTheIndex) {
  SaveAssembly();
  LiteSceneReader reader;
  const std::wstring wide = Widen(index_);
  EXPECT_EQ(DescribeNodes(*reader.Load(wide, nullptr)), kSavedTree);
  EXPECT_EQ(DescribeNodes(*reader.Load(Path(wide), nullptr)), kSavedTree);
  std::filesystem::rename(std::filesystem::u8path(index_), folder_.GetFsPath() / "other name");
  EXPECT_EQ(DescribeNodes(*reader.Load(folder_.GetPath() + "other name", nullptr)), kSavedTree);
  std::map<std::string, std::istream*> streams;
  EXPECT_EQ(reader.Load(streams, nullptr), nullptr) << "as the base class";

  // The three forms reach the narrow one of a derived class.
  struct Derived : LiteSceneReader {
    using LiteSceneReader::Load;
    std::shared_ptr<SceneNode> Load(const std::string& path, MaterialInstance*) override {
      path_ = path;
      return nullptr;
    }
    std::string path_;
  } derived;
  static_cast<SceneReader&>(derived).Load(std::wstring(L"wide/设"), nullptr);
  EXPECT_EQ(derived.path_, "wide/设");
  static_cast<SceneReader&>(derived).Load(Path(std::string("path")), nullptr);
  EXPECT_EQ(derived.path_, "path");
}

TEST_F(LiteSceneReaderTest, WithoutAnIndexThereIsNoRoot) {
  EXPECT_EQ(LoadAndDescribe(), "<none>");
  EXPECT_EQ(log_.GetTexts(3), std::vector<std::string>{"Buffer is null!"});
  EXPECT_TRUE(log_.GetTexts(2).empty());
  EXPECT_TRUE(log_.Contains("FolderLoad.cpp"));

  for (const char* const text : {"", "no JSON", "{}", "[]", R"({"Types":[]})", R"({"Items":[]})"}) {
    WriteGzip(index_, text);
    log_.Clear();
    EXPECT_EQ(LoadAndDescribe(), "<none>") << text;
    EXPECT_TRUE(log_.GetTexts(2).empty());
  }
}

TEST_F(LiteSceneReaderTest, LooksForTheFilesInThisOrder) {
  WriteIndex(R"({"PkgShape":1,"PkgGRep":2})");
  EXPECT_EQ(LoadAndDescribe(), "G 0 \"\" (0 0 0)\n");
  EXPECT_EQ(MissingFiles(), "grep/1.gz grep/2.gz model/1.gz ");
  std::string order;
  for (const auto& [level, text] : log_.GetEntries()) {
    if (level > 1) order += text + " ";
  }
  EXPECT_EQ(order, "Loading GRep... Buffer is null! Buffer is null! Loading Shape... Buffer is null! ");
}

TEST_F(LiteSceneReaderTest, HugeCountsEndSoon) {
  WriteIndex(R"({"PkgShape":4294967295,"PkgGRep":4294967295})");
  EXPECT_EQ(LoadAndDescribe(), "G 0 \"\" (0 0 0)\n");
  EXPECT_EQ(log_.Count(3, "Buffer is null!"), 2 * static_cast<int>(kMaxMissingPackages));
  EXPECT_TRUE(log_.Contains("4294967195 more packages"));
  EXPECT_EQ(log_.GetTexts(3).size(), 2 * kMaxMissingPackages + 2);

  log_.Clear();
  WriteIndex("{\"PkgGRep\":" + std::to_string(kMaxMissingPackages) + "}");
  EXPECT_EQ(LoadAndDescribe(), "G 0 \"\" (0 0 0)\n");
  EXPECT_EQ(log_.GetTexts(3).size(), kMaxMissingPackages) << "each has its message";
}

TEST_F(LiteSceneReaderTest, ABombOfInstancesInsideTheirOwnTypesEnds) {
  std::string types;
  for (int i = 0; i < 3; ++i) {
    for (int type = 1; type <= 9; ++type) {
      types += std::string(types.empty() ? "" : ",") + R"({"Type":"Group","Id":")" + std::to_string(type) +
               R"(","Children":[{"Type":"Instance","TId":")" + std::to_string(type % 9 + 1) + R"("},)" +
               R"({"Type":"Instance","TId":")" + std::to_string(type % 9 + 1) + R"("}]})";
    }
  }
  WriteIndex("{}", R"("Types":[)" + types + R"(],"Items":[{"Type":"Instance","TId":"1"}])");
  EXPECT_NE(LoadAndDescribe(), "<none>");
  EXPECT_EQ(log_.GetTexts(3).size(), 512U) << "2^9 ways back to the first type";
}

TEST_F(LiteSceneReaderTest, SeveralLoadsMayRunAtOnce) {
  SaveAssembly();
  std::vector<std::string> trees(4);
  RunThreads(trees.size(), [&](std::size_t t) { trees[t] = LoadAndDescribe(); });
  for (const std::string& tree : trees)
    EXPECT_EQ(tree, kSavedTree);
}

TEST(LiteSceneReader, SupportsExactlyItsExtensionAndListsItsFormat) {
  LiteSceneReader reader;
  EXPECT_TRUE(reader.Support(".gz"));
  for (const char* const extension : {"gz", ".GZ", "", ".tar.gz", ".gzip"})
    EXPECT_FALSE(reader.Support(extension)) << extension;
  std::map<std::string, std::string> formats{{"Lite", "old"}, {"Other", "*.x"}};
  reader.ListFormats(formats);
  EXPECT_EQ(formats, (std::map<std::string, std::string>{{"Lite", "*.gz"}, {"Other", "*.x"}}));
}

}  // namespace
}  // namespace mirel
