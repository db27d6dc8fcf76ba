#include <Viewer/Kernel/Host/Renderer/SceneOpening.h>

#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Core/Path.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/BrepSceneNode.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>
#include <Viewer/Kernel/Host/Renderer/GroupSceneNode.h>
#include <Viewer/Kernel/Host/Renderer/SceneExchangeManager.h>
#include <Viewer/Kernel/IO/LiteSceneReader.h>
#include <Viewer/Kernel/Model/LiteLimits.h>

#include <Tests/Support/LogCapture.h>
#include <Tests/Support/TestFolder.h>
#include <Tests/Support/TestModel.h>

#include <gtest/gtest.h>

#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <new>
#include <thread>

namespace mirel {
namespace {

using Bodies = StagedReader::Bodies;
using Entries = std::vector<LogCapture::Entry>;

/// A folder of three boxes, each with its graphics and its body in packages of their own.
class SceneOpeningTest : public ::testing::Test {
 protected:
  static constexpr int kBoxes = 3;

  SceneOpeningTest() {
    std::string items;
    for (int i = 1; i <= kBoxes; ++i) {
      const auto box = MakeBox(i, 1, 1);
      const std::string number = std::to_string(i);
      WritePackage("grep/", i, ToRecord(MakeGRep(box)));
      WritePackage("model/", i, ToText(box));
      items += std::string(i > 1 ? "," : "") + R"({"Type":"Shape","Id":"1)" + number + R"(","SId":")" +
               number + R"("})";
    }
    WriteGzip(path_ + "index.gz",
              R"({"Metadata":{"PkgShape":3,"PkgGRep":3},"Types":[],"Items":[)" + items + "]}");
  }

  void WritePackage(const std::string& kind, int number, const std::string& item) {
    std::filesystem::create_directories(std::filesystem::u8path(path_ + kind));
    WriteGzip(path_ + kind + std::to_string(number) + ".gz",
              MakePackage({{static_cast<unsigned long long>(number), item}}));
  }

  std::unique_ptr<SceneOpening> Start(Bodies bodies = Bodies::kKeep,
                                      SceneOpening::Listener listener = nullptr) {
    return std::make_unique<SceneOpening>(SceneExchangeManager::Instance().FindReader(path_), path_, bodies,
                                          std::move(listener));
  }

  static const BrepSceneNode& BoxOf(const SceneNode& root, std::size_t i) {
    return dynamic_cast<const BrepSceneNode&>(*root.GetNodes()[i]);
  }

  /// What opening says, sorted: stages log the same in another order.
  Entries TakeMessages() {
    Entries entries = log_.GetEntries();
    std::sort(entries.begin(), entries.end());
    log_.Clear();
    return entries;
  }

  const TestFolder folder_;
  const std::string& path_ = folder_.GetPath();
  LogCapture log_;
};

TEST_F(SceneOpeningTest, GivesGraphicsFirstAndBodiesAfterwards) {
  const std::shared_ptr<SceneNode> atOnce = LiteSceneReader().Load(path_ + "index.gz", nullptr);
  const Entries messages = TakeMessages();

  std::promise<void> seen;
  std::vector<SceneOpening::Progress> heard;
  const auto opening = Start(Bodies::kKeep, [&](const SceneOpening::Progress& progress) {
    if (progress.stage == SceneOpening::Stage::kBodies &&
        heard.back().stage == SceneOpening::Stage::kGraphics)
      seen.get_future().wait();
    if (progress.stage == SceneOpening::Stage::kEnd)  // who waits for the end waits for this too
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    heard.push_back(progress);
  });
  const std::shared_ptr<SceneNode> root = opening->TakeRoot();
  ASSERT_TRUE(root);
  EXPECT_EQ(DescribeNodes(*root), DescribeNodes(*atOnce));
  EXPECT_EQ(opening->TakeRoot(), nullptr) << "it has been given away";
  const GRepShape& last = *BoxOf(*root, 2).GetGRep();
  EXPECT_EQ(last.GetShape(), nullptr);
  EXPECT_TRUE(last.IsShapeExpected());
  std::future<std::shared_ptr<TopoShape>> body =
      std::async(std::launch::async, [&last] { return last.WaitForShape(); });
  seen.set_value();
  EXPECT_EQ(ToComparableText(body.get()), ToComparableText(BoxOf(*atOnce, 2).GetGRep()->GetShape()));

  opening->Wait();
  EXPECT_EQ(heard.size(), 1U + 2 * kBoxes + 2) << "each file, and two stages";
  EXPECT_EQ(TakeMessages(), messages);
  for (std::size_t i = 0; i < kBoxes; ++i) {
    EXPECT_TRUE(BoxOf(*root, i).GetGRep()->GetShape());
    EXPECT_EQ(BoxOf(*root, i).GetBodyId(), Id(i + 1));
    EXPECT_EQ(BoxOf(*atOnce, i).GetBodyId(), Id(i + 1));
  }
  std::uint64_t bytes = 0;
  for (const auto& [name, content] : ReadFiles(path_))
    bytes += content.size();
  EXPECT_EQ(opening->GetProgress().stage, SceneOpening::Stage::kEnd);
  EXPECT_EQ(opening->GetProgress().bytes, bytes);
  EXPECT_EQ(opening->GetProgress().bytesInAll, bytes);
}

TEST_F(SceneOpeningTest, SaysOfDamageWhatOpeningAtOnceSays) {
  WritePackage("model/", 1, "CASCADE Topology V3, and no more");
  WriteGzip(path_ + "model/2.gz", "no package");
  std::filesystem::remove(std::filesystem::u8path(path_ + "model/3.gz"));
  WritePackage("grep/", 3, "GRep?");
  const std::shared_ptr<SceneNode> atOnce = LiteSceneReader().Load(path_ + "index.gz", nullptr);
  const Entries messages = TakeMessages();
  EXPECT_GE(messages.size(), 12U);

  for (const Bodies bodies : {Bodies::kKeep, Bodies::kCheck}) {
    const auto opening = Start(bodies);
    const std::shared_ptr<SceneNode> root = opening->TakeRoot();
    EXPECT_EQ(DescribeNodes(*root), DescribeNodes(*atOnce));
    EXPECT_EQ(BoxOf(*root, 0).GetGRep()->WaitForShape(), nullptr) << "it does not come";
    opening->Wait();
    EXPECT_EQ(TakeMessages(), messages);
  }
  WriteGzip(path_ + "index.gz", "no index");
  const auto opening = Start();
  EXPECT_EQ(opening->TakeRoot(), nullptr);
  EXPECT_EQ(log_.GetTexts(3).size(), 1U);
}

TEST_F(SceneOpeningTest, KeepsNothingOfBodiesThatAreCheckedOnly) {
  const std::uint64_t before = MemoryBudget::GetUsed();
  std::uint64_t kept[2];
  for (const Bodies bodies : {Bodies::kKeep, Bodies::kCheck}) {
    const auto opening = Start(bodies);
    const std::shared_ptr<SceneNode> root = opening->TakeRoot();
    opening->Wait();
    kept[bodies == Bodies::kKeep ? 0 : 1] = MemoryBudget::GetUsed() - before;
    EXPECT_EQ(BoxOf(*root, 0).GetGRep()->GetShape() == nullptr, bodies == Bodies::kCheck);
  }
  EXPECT_GT(kept[0], kept[1] + 3 * ToText(MakeBox(1, 1, 1)).size() / 2);
}

// What instances share makes no other difference, also where something of them is missing or lies too deep.
TEST_F(SceneOpeningTest, SharesWhatInstancesHaveInCommon) {
  const auto group = [](int id, const std::string& children) {
    return R"({"Type":"Group","Id":")" + std::to_string(id) + R"(","Children":[)" + children + "]}";
  };
  const auto instance = [](int id, int type) {
    return R"({"Type":"Instance","Id":")" + std::to_string(id) + R"(","TId":")" + std::to_string(type) +
           R"(","Transform":[1,0,0,0,0,1,0,0,0,0,1,0,)" + std::to_string(id) + ",0,0,1]}";
  };
  const std::string box = R"({"Type":"Shape","Id":"11","SId":"1"},{"Type":"Shape","Id":"12","SId":"2"})";
  const std::string types = group(20, box) + "," + group(21, instance(31, 20) + "," + instance(32, 20)) +
                            "," + group(22, box + R"(,{"Type":"Shape","Id":"13","SId":"99"})") + "," +
                            group(23, box + "," + instance(33, 23));
  for (int room = 0; room <= 6; ++room) {
    std::string deep = instance(48, 21);
    for (int level = 2 * room; level < kMaxNesting + 2; ++level)
      deep = group(1000 + level, deep);
    std::string items = deep;
    for (int i = 0; i < 8; ++i)
      items += "," + instance(40 + i, 20 + i / 2);
    items += "," + deep;
    WriteGzip(path_ + "index.gz", R"({"Metadata":{"PkgShape":3,"PkgGRep":3},"Types":[)" + types +
                                      R"(],"Items":[)" + items + "]}");
    const std::shared_ptr<SceneNode> own = LiteSceneReader().Load(path_ + "index.gz", nullptr);
    const Entries messages = TakeMessages();
    SceneOpening opening(SceneExchangeManager::Instance().FindReader(path_), path_, Bodies::kCheck, nullptr,
                         SceneOpening::Nodes::kShared);
    const std::shared_ptr<SceneNode> shared = opening.TakeRoot();
    opening.Wait();
    EXPECT_EQ(TakeMessages(), messages);
    EXPECT_EQ(DescribeNodes(*shared), DescribeNodes(*own));
    const auto content = [](const SceneNode& root, std::size_t i) {
      return root.GetNodes()[i]->GetNodes()[0];
    };
    ASSERT_EQ(shared->GetNodes().size(), 10U);
    EXPECT_EQ(content(*shared, 3), content(*shared, 4));
    EXPECT_NE(content(*shared, 5), content(*shared, 6)) << "something is left out";
    EXPECT_NE(content(*own, 3), content(*own, 4));
  }
}

TEST_F(SceneOpeningTest, LeavesNothingBehindWhenItIsCalledOffAtAnyTime) {
  const std::uint64_t before = MemoryBudget::GetUsed();
  for (int step = 0; step < 2 * kBoxes + 2; ++step) {
    int heard = 0;
    SceneOpening* self = nullptr;
    std::promise<void> known;
    const auto opening = Start(Bodies::kKeep, [&](const SceneOpening::Progress&) {
      if (heard++ == 0) known.get_future().wait();
      if (heard == step + 1) self->Cancel();
    });
    self = opening.get();
    known.set_value();
    const std::shared_ptr<SceneNode> root = opening->TakeRoot();
    EXPECT_EQ(root != nullptr, step > kBoxes) << step;
    opening->Wait();
    EXPECT_LE(heard, step + 3) << "the step that is running, and the end";
    int bodies = 0;
    for (std::size_t i = 0; root && i < kBoxes; ++i)
      bodies += BoxOf(*root, i).GetGRep()->WaitForShape() ? 1 : 0;
    EXPECT_EQ(bodies, std::max(step - kBoxes - 1, 0)) << step;
  }
  EXPECT_TRUE(log_.GetTexts(3).empty());
  EXPECT_EQ(MemoryBudget::GetUsed(), before);
}

TEST_F(SceneOpeningTest, TakesFolders) {
  const std::string tree = DescribeNodes(*LiteSceneReader().Load(path_ + "index.gz", nullptr));
  SceneExchangeManager& manager = SceneExchangeManager::Instance();
  for (const std::string& path : {path_, path_.substr(0, path_.size() - 1), path_ + "index.gz"}) {
    const std::shared_ptr<SceneReader> reader = manager.FindReader(path);
    ASSERT_TRUE(reader) << path;
    EXPECT_EQ(DescribeNodes(*reader->Load(Path(path), nullptr)), tree);
  }
  EXPECT_EQ(manager.FindReader(path_ + "grep"), nullptr) << "no model folder";

  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.GetFsPath());
  EXPECT_EQ(manager.FindReader(path_)->Load(std::string(), nullptr), nullptr) << "no path at all";
  EXPECT_EQ(DescribeNodes(*manager.FindReader(".")->Load(std::string("."), nullptr)), tree);
  std::filesystem::current_path(before);
}

TEST_F(SceneOpeningTest, TakesReadersThatKnowNoStagesOrThrow) {
  struct Plain : LiteSceneReader {
    using LiteSceneReader::Load;
    std::shared_ptr<SceneNode> Load(const std::string& path, MaterialInstance* material) override {
      return path.empty() ? throw std::bad_alloc() : LiteSceneReader::Load(path, material);
    }
  };
  SceneOpening opening(std::make_shared<Plain>(), path_ + "index.gz");
  const std::shared_ptr<SceneNode> root = opening.TakeRoot();
  ASSERT_TRUE(root);
  EXPECT_TRUE(BoxOf(*root, 0).GetGRep()->GetShape());
  SceneOpening failing(std::make_shared<Plain>(), "");
  EXPECT_THROW(failing.TakeRoot(), std::bad_alloc);
}

}  // namespace
}  // namespace mirel
