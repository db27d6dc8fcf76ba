// BRep text. Text that passes the check is decoded without harm, or fails with one message; a body that it gives is
// written, twice with the same bytes, and what was written passes the check and is the same body.

#include <Fuzz/Support/BodyGrammar.h>
#include <Fuzz/Support/FuzzCheck.h>
#include <Fuzz/Support/Mutate.h>
#include <Fuzz/Support/SameBody.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <TopoDS_Shape.hxx>

#include <memory>

using namespace mirel;
using namespace mirel::fuzz;

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string text(reinterpret_cast<const char*>(data), size);
  const bool asText = Pick(random, 2) == 0;
  return ReturnInput(asText ? MutateBodyText(text, random, maxSize)
                            : MutateBodyGrammar(text, random, maxSize),
                     data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog log;
  const std::shared_ptr<TopoShape> body =
      TopoShape::Read(std::string(reinterpret_cast<const char*>(data), size));
  if (!body) return 0;
  if (body->GetImpl().IsNull()) {
    MIREL_FUZZ_CHECK(log.CountFailures() == 1, "A body that cannot be decoded is not reported once");
    return 0;
  }
  MIREL_FUZZ_CHECK(log.CountFailures() == 0, "A body that was decoded is reported");
  const std::string text = WriteBody(*body);
  MIREL_FUZZ_CHECK(WriteBody(*body) == text, "Written twice, the texts differ");
  const std::shared_ptr<TopoShape> again = TopoShape::Read(text);
  MIREL_FUZZ_CHECK(again, "What was written does not pass the check");
  MIREL_FUZZ_CHECK(!again->GetImpl().IsNull(), "What was written cannot be decoded");
  MIREL_FUZZ_CHECK(IsSameBody(WriteBody(*again), text), "What was written reads as something else");
  return 0;
}
