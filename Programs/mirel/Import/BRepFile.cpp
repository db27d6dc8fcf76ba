#include <Programs/mirel/Import/BRepFile.h>

#include <Programs/mirel/Check/GuardedLoop.h>
#include <Programs/mirel/Import/BodyText.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Model/LogFailure.h>
#include <Viewer/Kernel/Reader/MemoryStream.h>

#include <BinTools.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <utility>

namespace mirel {

namespace {

constexpr char kTextHeader[] = "CASCADE Topology V";
constexpr char kBinaryHeader[] = "Open CASCADE Topology V";
constexpr std::size_t kHeaderWithin = 1024;  // bytes, in binary files

constexpr unsigned int kSeconds = 60;
constexpr std::size_t kBytesPerSecond = std::size_t{1} << 20;
constexpr std::uint64_t kMemory = std::uint64_t{256} << 20;
constexpr std::uint64_t kMemoryPerByte = 64;

std::shared_ptr<TopoShape> ReadText(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
  text += '\n';  // an editor may have taken it away, and a number at the end might be cut
  const std::size_t header = text.find(kTextHeader);
  if (header != std::string::npos) {
    text.erase(0, header);
  }
  std::shared_ptr<TopoShape> body = TopoShape::ReadFile(std::move(text));
  if (!body) {
    MIREL_FAILURE("not a valid BRep file");
  }
  return body;
}

void Convert(const std::string& content, const GuardedLoop::Say& say) {
  MemoryStream stream(content.data(), content.size());
  // The reader hardly looks at the state of its stream, and loops for ever on one that has failed.
  stream.exceptions(std::ios::failbit | std::ios::badbit);
  TopoDS_Shape shape;
  BinTools::Read(shape, stream);
  say(BodyText::Of(shape));
}

std::shared_ptr<TopoShape> ReadBinary(const std::string& content) {
  GuardedLoop::Limits limits;
  limits.seconds = kSeconds + static_cast<unsigned int>(content.size() / kBytesPerSecond);
  limits.memory = kMemory + kMemoryPerByte * content.size();
  std::string text;
  auto end = GuardedLoop::End::kCrashed;
  GuardedLoop::Run(
      1, limits, [&](std::size_t, const GuardedLoop::Say& say) { Convert(content, say); },
      [&](std::size_t, const std::string& said) { text = said; },
      [&](std::size_t, GuardedLoop::End how) { end = how; });
  std::shared_ptr<TopoShape> body;
  if (end == GuardedLoop::End::kDone) {
    body = TopoShape::Read(std::move(text));
  }
  if (!body) {
    MIREL_FAILURE("not a valid binary BRep file: %s",
                  end == GuardedLoop::End::kDone       ? "it holds no sound shape"
                  : end == GuardedLoop::End::kTimedOut ? "OpenCASCADE does not come to an end with it"
                                                       : "OpenCASCADE fails or crashes with it");
  }
  return body;
}

}  // namespace

std::shared_ptr<TopoShape> BRepFile::Read(std::string content) {
  const std::string head = content.substr(0, kHeaderWithin);
  return head.find(kBinaryHeader) != std::string::npos ? ReadBinary(content) : ReadText(std::move(content));
}

}  // namespace mirel
