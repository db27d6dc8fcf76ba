#include <Viewer/Kernel/IO/LiteSceneReader.h>

#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#if defined(__linux__)

#include <sys/stat.h>

namespace mirel {
namespace {

namespace fs = std::filesystem;

/// A folder with two packages of each kind, of one body each, in which other things take the place of files.
class OddFolder : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* const kind : {"grep", "model"})
      fs::create_directories(folder_.GetFsPath() / kind);
    WriteGzip(
        path_ + "index.gz",
        R"({"Metadata":{"PkgShape":2,"PkgGRep":2},"Types":[],"Items":[{"Type":"Shape","Id":"1","SId":"10"},)"
        R"({"Type":"Shape","Id":"2","SId":"20"}]})");
    WriteGzip(path_ + "grep/1.gz", MakePackage({{10, ToRecord(MakeGRep(MakeBox(1, 1, 1)))}}));
    WriteGzip(path_ + "grep/2.gz", MakePackage({{20, ToRecord(MakeGRep(MakeBox(2, 2, 2)))}}));
    WriteGzip(path_ + "model/1.gz", MakePackage({{10, ToText(MakeBox(1, 1, 1))}}));
    WriteGzip(path_ + "model/2.gz", MakePackage({{20, ToText(MakeBox(2, 2, 2))}}));
  }
  /// What is shown: the id of each node, with a star when it has its exact body.
  std::string Open() {
    log_.Clear();
    const std::shared_ptr<SceneNode> root = LiteSceneReader().Load(path_ + "index.gz", nullptr);
    if (!root) return "none";
    std::string shown;
    for (const std::shared_ptr<SceneNode>& node : dynamic_cast<GroupSceneNode&>(*root).GetNodes()) {
      const auto& body = dynamic_cast<BrepSceneNode&>(*node);
      shown += std::to_string(body.GetUserId()) + (body.GetGRep()->GetShape() ? "* " : " ");
    }
    return shown;
  }

  const TestFolder folder_;
  const std::string path_ = folder_.GetPath();
  LogCapture log_;
};

TEST_F(OddFolder, WhateverStandsInPlaceOfAFileCostsOnlyThatFile) {
  ASSERT_EQ(Open(), "1* 2* ");
  ASSERT_TRUE(log_.GetTexts(3).empty());

  struct Odd {
    const char* reason;
    std::function<void(const std::string& name)> put;
  };
  const auto link = [](const char* target) {
    return [=](const std::string& name) { fs::create_symlink(target, fs::u8path(name)); };
  };
  const auto sparse = [](std::uint64_t size) {
    return [=](const std::string& name) {
      WriteFile(name, "");
      fs::resize_file(fs::u8path(name), size);
    };
  };
  const Odd odds[] = {
      {"No such file or directory", [](const std::string&) {}},
      {"not a gzip file", [](const std::string& name) { WriteFile(name, ""); }},
      {"not a gzip file", [](const std::string& name) { WriteFile(name, "\x1f"); }},
      {"not a gzip file, or damaged", [](const std::string& name) { WriteFile(name, "\x1f\x8b"); }},
      {"not a regular file", [](const std::string& name) { fs::create_directory(fs::u8path(name)); }},
      {"not a regular file", [](const std::string& name) { mkfifo(name.c_str(), 0600); }},
      {"not a regular file", link("/dev/zero")},
      {"not a regular file", link("/dev/null")},
      {"not a regular file", link("..")},
      {"No such file or directory", link("nowhere")},
      {"Too many levels of symbolic links",
       [](const std::string& name) { fs::create_symlink(fs::u8path(name).filename(), fs::u8path(name)); }},
      {"not a gzip file", link("/proc/self/maps")},
      {"not a gzip file", sparse(std::uint64_t{3} << 30)},
      {"the file is too large", sparse(std::uint64_t{1} << 40)},
  };
  const std::pair<const char*, const char*> places[] = {{"index.gz", "none"},
                                                        {"grep/1.gz", "2* "},
                                                        {"grep/2.gz", "1* "},
                                                        {"model/1.gz", "1 2* "},
                                                        {"model/2.gz", "1* 2 "}};
  for (const auto& [place, shown] : places) {
    const std::string name = path_ + place;
    const fs::path kept = folder_.GetFsPath() / "kept";
    fs::rename(fs::u8path(name), kept);
    for (const Odd& odd : odds) {
      SCOPED_TRACE(std::string(place) + " " + odd.reason);
      odd.put(name);
      EXPECT_EQ(Open(), shown);
      EXPECT_EQ(log_.Count(3, "Buffer is null!"), 1);
      EXPECT_TRUE(log_.Contains("Cannot read " + name + ": " + odd.reason))
          << ::testing::PrintToString(log_.GetTexts(1));
      fs::remove_all(fs::u8path(name));
    }
    fs::create_symlink(kept, fs::u8path(name));
    EXPECT_EQ(Open(), "1* 2* ") << "a link to the file is as good as the file";
    fs::remove(fs::u8path(name));
    fs::rename(kept, fs::u8path(name));
  }
}

TEST_F(OddFolder, PackagesInTheWrongPlaceAreNamed) {
  const auto swap = [&](const char* a, const char* b) {
    fs::rename(fs::u8path(path_ + a), fs::u8path(path_ + "kept"));
    fs::rename(fs::u8path(path_ + b), fs::u8path(path_ + a));
    fs::rename(fs::u8path(path_ + "kept"), fs::u8path(path_ + b));
  };
  swap("grep/1.gz", "grep/2.gz");
  EXPECT_EQ(Open(), "1* 2* ") << "the order of packages means nothing";
  swap("grep/1.gz", "model/2.gz");
  EXPECT_EQ(Open(), "1* ");
  EXPECT_TRUE(log_.Contains(path_ + "grep/1.gz: item 1 of 1, id 20"));
  EXPECT_TRUE(log_.Contains(path_ + "model/2.gz: item 1 of 1, id 20"));
  EXPECT_EQ(log_.Count(3, "Shape is null!"), 3) << "two items, and the node without graphics";
  swap("grep/1.gz", "model/2.gz");
  swap("grep", "model");
  EXPECT_EQ(Open(), "");
  EXPECT_EQ(log_.Count(3, "Shape is null!"), 6);
  swap("grep", "model");
  swap("index.gz", "model/1.gz");
  EXPECT_EQ(Open(), "none");
  EXPECT_EQ(log_.GetTexts(3), std::vector<std::string>{"Failed to parse json content!"});
  swap("index.gz", "model/1.gz");
  fs::copy_file(fs::u8path(path_ + "index.gz"), fs::u8path(path_ + "model/1.gz"),
                fs::copy_options::overwrite_existing);
  EXPECT_EQ(Open(), "1 2* ");
  EXPECT_EQ(log_.GetTexts(3),
            std::vector<std::string>{path_ + "model/1.gz: not a package, or its table is cut short"});
}

TEST_F(OddFolder, WhateverStandsInPlaceOfAFolderCostsItsPackages) {
  for (const char* const place : {"grep", "model"}) {
    const std::string shown = place == std::string("grep") ? "" : "1 2 ";
    const fs::path name = folder_.GetFsPath() / place;
    const fs::path kept = folder_.GetFsPath() / "kept";
    fs::rename(name, kept);
    const std::function<void()> odds[] = {
        [] {}, [&] { WriteFile(name.u8string(), "x"); }, [&] { mkfifo(name.c_str(), 0600); },
        [&] { fs::create_symlink(name, name); }, [&] { fs::create_symlink("/dev/zero", name); }};
    for (const std::function<void()>& put : odds) {
      put();
      EXPECT_EQ(Open(), shown);
      EXPECT_EQ(log_.Count(3, "Buffer is null!"), 2);
      fs::remove_all(name);
    }
    fs::create_directory_symlink(kept, name);
    EXPECT_EQ(Open(), "1* 2* ") << "a link to the folder is as good as the folder";
    fs::remove(name);
    fs::rename(kept, name);
  }
}

}  // namespace
}  // namespace mirel

#endif
