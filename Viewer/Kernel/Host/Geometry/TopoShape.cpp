#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <Viewer/Kernel/Host/Core/Logger.h>
#include <Viewer/Kernel/Host/Core/MemoryBudget.h>
#include <Viewer/Kernel/Host/Geometry/BRepTextCheck.h>

#include <BRepTools.hxx>
#include <BRep_Builder.hxx>
#include <Message_ProgressRange.hxx>
#include <Standard_Failure.hxx>
#include <TopoDS_Shape.hxx>

#include <exception>
#include <istream>
#include <locale>
#include <mutex>
#include <streambuf>
#include <utility>

namespace mirel {
namespace {

// Reads a string where it stands; std::istringstream would copy it.
class TextBuffer : public std::streambuf {
 public:
  explicit TextBuffer(std::string& text) { setg(&text[0], &text[0], &text[0] + text.size()); }
};

TopoDS_Shape Decode(std::string& text) {
  try {
    TextBuffer buffer(text);
    std::istream stream(&buffer);
    stream.imbue(std::locale::classic());
    // The reader hardly looks at the state of its stream: without exceptions it loops for ever on one that
    // has failed.
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    TopoDS_Shape shape;
    BRepTools::Read(shape, stream, BRep_Builder(), Message_ProgressRange());
    if (!shape.IsNull()) return shape;
    MIREL_HOST_FAILURE("Exact body cannot be decoded: OpenCASCADE found no shape in its text.");
  } catch (const Standard_Failure& failure) {
    MIREL_HOST_FAILURE("Exact body cannot be decoded: %s: %s", failure.DynamicType()->Name(),
                       failure.GetMessageString());
  } catch (const std::exception& failure) {
    MIREL_HOST_FAILURE("Exact body cannot be decoded: %s", failure.what());
  }
  return TopoDS_Shape();
}

BRepTextResult Check(const std::string& text, BRepTextOrigin origin) {
  const BRepTextResult result = CheckBRepText(text.data(), text.size(), origin);
  if (!result.IsGood()) {
    Logger::Instance().Message(1, "BRep text is refused at byte %llu: %s.",
                               static_cast<unsigned long long>(result.offset), result.reason);
  }
  return result;
}

}  // namespace

struct TopoShape::State {
  std::once_flag decoded;
  std::string text;            // until it is decoded
  MemoryBudget::Share memory;  // for it
  TopoDS_Shape shape;
};

TopoShape::TopoShape(const TopoDS_Shape& shape) : state_(new State) {
  state_->shape = shape;
}

TopoShape::TopoShape(std::unique_ptr<State> state) : state_(std::move(state)) {}

TopoShape::~TopoShape() = default;

const TopoDS_Shape& TopoShape::GetImpl() const {
  State& state = *state_;
  std::call_once(state.decoded, [&state] {
    if (state.text.empty()) return;
    state.shape = Decode(state.text);
    std::string().swap(state.text);
    state.memory = {};
  });
  return state.shape;
}

std::shared_ptr<TopoShape> TopoShape::Read(const std::string& text) {
  return Read(std::string(text));
}

std::shared_ptr<TopoShape> TopoShape::Read(std::string&& text) {
  if (!Check(text, BRepTextOrigin::kPackage).IsGood()) return nullptr;
  return FromGoodText(std::move(text));
}

std::shared_ptr<TopoShape> TopoShape::ReadFile(std::string&& text) {
  const BRepTextResult result = Check(text, BRepTextOrigin::kFile);
  if (!result.IsGood()) return nullptr;
  const std::size_t behind = text.find_first_not_of(" \n", result.offset);
  if (behind != std::string::npos) {
    Logger::Instance().Message(1, "Text of %llu bytes behind the shape is ignored.",
                               static_cast<unsigned long long>(text.find_last_not_of(" \n") + 1 - behind));
    text.resize(result.offset);
  }
  return FromGoodText(std::move(text));
}

std::shared_ptr<TopoShape> TopoShape::FromGoodText(std::string&& text) {
  std::unique_ptr<State> state(new State);
  state->memory = MemoryBudget::Share(text.size());
  if (!state->memory.HasTaken(text.size())) {
    Logger::Instance().Message(1, "BRep text is refused: it would take more memory than the limit allows.");
    return nullptr;
  }
  state->text = std::move(text);
  return std::shared_ptr<TopoShape>(new TopoShape(std::move(state)));
}

}  // namespace mirel
