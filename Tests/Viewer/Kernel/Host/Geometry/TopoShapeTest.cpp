#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <Tests/Viewer/Kernel/Host/Geometry/BodySamples.h>

#include <Tests/Support/LogCapture.h>

#include <TopExp.hxx>
#include <TopTools_IndexedMapOfShape.hxx>
#include <TopoDS_Shape.hxx>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <vector>

#if !defined(_WIN32)
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace mirel::test {
namespace {

const std::vector<BodySample>& Samples() {
  static const std::vector<BodySample> samples = MakeBodySamples();
  return samples;
}

std::vector<int> CountSubShapes(const TopoDS_Shape& shape) {
  std::vector<int> counts;
  for (int type = TopAbs_COMPOUND; type <= TopAbs_VERTEX; ++type) {
    TopTools_IndexedMapOfShape map;
    TopExp::MapShapes(shape, static_cast<TopAbs_ShapeEnum>(type), map);
    counts.push_back(map.Extent());
  }
  return counts;
}

TEST(TopoShape, ReadsWhateverOpenCascadeWrites) {
  LogCapture log;
  ASSERT_GT(Samples().size(), 100u);
  for (const BodySample& sample : Samples()) {
    ASSERT_FALSE(sample.shape.IsNull()) << sample.name;
    const std::string text = WriteBRepText(sample.shape);
    testing::internal::CaptureStdout();
    const std::shared_ptr<TopoShape> body = TopoShape::Read(text);
    ASSERT_TRUE(body) << sample.name << ": " << log.GetTexts(1).back();
    const TopoDS_Shape& shape = body->GetImpl();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << sample.name;
    ASSERT_FALSE(shape.IsNull()) << sample.name;
    EXPECT_EQ(shape.ShapeType(), sample.shape.ShapeType()) << sample.name;
    EXPECT_EQ(CountSubShapes(shape), CountSubShapes(sample.shape)) << sample.name;
    EXPECT_TRUE(TopoShape::Read(WriteBRepText(shape))) << sample.name << ", written again";
  }
  EXPECT_TRUE(log.GetEntries().empty());
}

TEST(TopoShape, WrapsAShape) {
  const TopoDS_Shape& shape = Samples().front().shape;
  EXPECT_TRUE(TopoShape(shape).GetImpl().IsEqual(shape));
  EXPECT_TRUE(TopoShape(TopoDS_Shape()).GetImpl().IsNull());
}

TEST(TopoShape, RefusesBadTextWithANotice) {
  LogCapture log;
  EXPECT_FALSE(TopoShape::Read(""));
  EXPECT_FALSE(TopoShape::Read("CASCADE Topology V2, (c) Matra-Datavision\n"));
  EXPECT_FALSE(TopoShape::Read(WriteBRepText(TopoDS_Shape())));
  ASSERT_EQ(log.GetTexts(1).size(), 3u);
  EXPECT_EQ(log.GetTexts(1)[1],
            "BRep text is refused at byte 0: The text does not start as BRep text of format version 3 does.");
  EXPECT_EQ(log.GetTexts(1)[2], "BRep text is refused at byte 146: The text holds no shape.");
  EXPECT_TRUE(log.GetTexts(3).empty());
}

TEST(TopoShape, DecodesOnceForAllThreads) {
  for (int round = 0; round < 20; ++round) {
    const std::shared_ptr<TopoShape> body = TopoShape::Read(WriteBRepText(Samples()[0].shape));
    std::vector<TopoDS_Shape> shapes(8);
    std::vector<std::thread> threads;
    for (TopoDS_Shape& shape : shapes)
      threads.emplace_back([&body, &shape] { shape = body->GetImpl(); });
    for (std::thread& thread : threads)
      thread.join();
    for (const TopoDS_Shape& shape : shapes) {
      ASSERT_FALSE(shape.IsNull());
      EXPECT_TRUE(shape.IsSame(shapes[0]));
    }
  }
}

TEST(TopoShape, ReportsOnceWhatCannotBeDecoded) {
  // A hyperbola's parameter that is within the limits, and its hyperbolic cosine is not.
  const std::string text =
      "\nCASCADE Topology V3, (c) Open Cascade\nLocations 0\nCurve2ds 1\n5 0 0 1 0 0 1 1 1\n"
      "Curves 0\nPolygon3D 0\nPolygonOnTriangulations 0\nSurfaces 1\n"
      "1 0 0 0 0 0 1 1 0 0 0 1 0 \nTriangulations 0\n\nTShapes 1\nEd\n 1e-07 1 1 0\n"
      "2  1 1 0 0 1000\n0\n\n0101000\n*\n\n+1 0 ";
  LogCapture log;
  const std::shared_ptr<TopoShape> body = TopoShape::Read(text);
  ASSERT_TRUE(body);
  EXPECT_TRUE(log.GetEntries().empty()) << "decoded before it was needed";
  EXPECT_TRUE(body->GetImpl().IsNull());
  EXPECT_TRUE(body->GetImpl().IsNull());
  ASSERT_EQ(log.GetTexts(3).size(), 1u);
  EXPECT_NE(log.GetTexts(3)[0].find("Standard_NumericError"), std::string::npos) << log.GetTexts(3)[0];
  EXPECT_TRUE(log.HasLocations());
}

#if !defined(_WIN32)

class Mutator {
 public:
  explicit Mutator(unsigned seed) : random_(seed) {}

  std::string Mutate(std::string text) {
    for (unsigned i = 0, count = 1 + Below(8) / 6; i < count; ++i) {
      switch (Below(6)) {
      case 0:
        SwapLines(text);
        break;
      case 1:
        Wrap(text);
        break;
      case 2:
        text[Below(text.size())] = kBytes[Below(sizeof kBytes - 1)];
        break;
      default:
        ChangeToken(text);
        break;
      }
    }
    return text;
  }

 private:
  static constexpr char kBytes[] = "0123456789+-.e \n*iCNx";

  std::size_t Below(std::size_t count) { return random_() % count; }

  std::pair<std::size_t, std::size_t> Between(const std::string& text, const char* separators) {
    std::size_t first = text.find_last_of(separators, Below(text.size()));
    first = first == std::string::npos ? 0 : first + 1;
    return {first, std::min(text.find_first_of(separators, first), text.size()) - first};
  }

  void ChangeToken(std::string& text) {
    static const std::vector<std::string> kValues = {"0",          "1",      "-1",      "2",
                                                     "3",          "7",      "0.5",     "1e-300",
                                                     "9999999999", "2e+100", "-2e+100", "6.2831853071795862",
                                                     "1e-17"};
    const auto [first, length] = Between(text, " \n");
    const auto [other, otherLength] = Between(text, " \n");
    const std::string token = text.substr(first, length);
    switch (Below(3)) {
    case 0:
      text.replace(first, length, kValues[Below(kValues.size())]);
      break;
    case 1:
      text.replace(first, length, text.substr(other, otherLength));
      break;
    default:
      text.replace(first, length, std::to_string(std::atol(token.c_str()) + static_cast<long>(Below(5)) - 2));
    }
  }

  void SwapLines(std::string& text) {
    const auto [first, length] = Between(text, "\n");
    const auto [other, otherLength] = Between(text, "\n");
    text.replace(first, length, text.substr(other, otherLength));
  }

  // Puts a trim or an offset around a curve or surface.
  void Wrap(std::string& text) {
    static const std::vector<std::string> kTrims = {
        "0 1", "-1 1", "5 7", "1 0", "0 6.2831853071795862", "-2e+100 2e+100"};
    const std::size_t section = Below(3);
    const std::size_t begin = text.find(section == 0   ? "\nCurve2ds"
                                        : section == 1 ? "\nCurves"
                                                       : "\nSurfaces");
    const std::size_t end = text.find(section == 0   ? "\nCurves"
                                      : section == 1 ? "\nPolygon3D"
                                                     : "\nTriangulations");
    if (begin == std::string::npos || end == std::string::npos || begin >= end) return;
    const std::size_t line = text.find('\n', begin + 1 + Below(end - begin));
    const std::string& trim = kTrims[Below(kTrims.size())];
    const bool offset = Below(2) != 0;
    text.insert(line + 1, section == 2 ? (offset ? "11 0.5\n"
                                                 : "10 " + trim + " " + kTrims[Below(kTrims.size())] + "\n")
                          : offset     ? (section == 1 ? "9 0.5\n0 0 1\n" : "9 0.5\n")
                                       : "8 " + trim + "\n");
  }

  std::mt19937 random_;
};

// What the check lets through must decode or fail, and neither crash nor hang.
TEST(TopoShape, SurvivesMutantsThatPassTheCheck) {
  std::vector<std::string> texts;
  for (const BodySample& sample : Samples()) {
    const std::string text = WriteBRepText(sample.shape);
    if (text.size() < 6000) texts.push_back(text);
  }
  ASSERT_GT(texts.size(), 50u);
  LogCapture log;
  Mutator mutator(20200229);
  int refused = 0;
  std::vector<std::string> accepted;
  for (int i = 0; i < 10000; ++i) {
    const std::string text = mutator.Mutate(texts[static_cast<std::size_t>(i) % texts.size()]);
    if (TopoShape::Read(text))
      accepted.push_back(text);
    else
      ++refused;
  }
  EXPECT_GT(refused, 1000);
  EXPECT_GT(accepted.size(), 500u);
  // Many to a child: starting one costs more than decoding a body.
  constexpr std::size_t kBatch = 50;
  for (std::size_t first = 0; first < accepted.size(); first += kBatch) {
    const std::size_t last = std::min(first + kBatch, accepted.size());
    int channel[2];
    ASSERT_EQ(pipe(channel), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (std::size_t i = first; i < last; ++i) {
        alarm(10);
        TopoShape::Read(accepted[i])->GetImpl();
        const char done = 0;
        if (write(channel[1], &done, 1) != 1) _exit(2);
      }
      _exit(0);
    }
    close(channel[1]);
    std::size_t done = first;
    for (char byte; read(channel[0], &byte, 1) == 1;)
      ++done;
    close(channel[0]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0 && done == last)
        << (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM ? "Endless" : "Crash") << " on:\n"
        << accepted[std::min(done, last - 1)];
  }
}

#endif

}  // namespace
}  // namespace mirel::test
