// BRep text that passes the check, and what is done with the body then: walk over it, measure it, draw it. In a child
// process, with little memory and time, because OpenCASCADE is known to take what it gets: the child may draw nothing or
// give the body up, but neither crash nor go on for ever. What it draws is a record that can be read.

#include <Fuzz/Support/BodyGrammar.h>
#include <Fuzz/Support/FuzzCheck.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>
#include <Viewer/Kernel/Host/GeometryView/GRepShape.h>

#include <BRepBndLib.hxx>
#include <Bnd_Box.hxx>
#include <Standard_Failure.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Shape.hxx>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mirel;
using namespace mirel::fuzz;

namespace {

// With this patience a body of a few faces may take four seconds in all; only what nobody watches takes longer.
constexpr double kPatience = 0.3;
constexpr rlim_t kSeconds = 8;  // of the processor: other programs do not count
constexpr std::size_t kMegabytes = 1536;

// Memory beyond what the process has, or has set aside as the address sanitizer does.
void LimitCosts() {
  std::size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  const rlim_t bytes = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + (kMegabytes << 20);
  const rlimit limit = {bytes, bytes};
  setrlimit(RLIMIT_AS, &limit);
  const rlimit seconds = {kSeconds, kSeconds + 1};
  setrlimit(RLIMIT_CPU, &seconds);
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

void Use(const TopoShape& body) {
  std::size_t shapes = 0;
  for (TopExp_Explorer explorer(body.GetImpl(), TopAbs_VERTEX); explorer.More(); explorer.Next())
    ++shapes;
  try {
    Bnd_Box box;
    BRepBndLib::Add(body.GetImpl(), box, false);
  } catch (const Standard_Failure&) {
  }
}

void Draw(const std::shared_ptr<TopoShape>& body) {
  const auto grep = GRepShape::Create(body, nullptr, nullptr, 0.0, true);
  GRepShape::SetPatience(kPatience);
  grep->Compute();
  std::ostringstream record;
  MIREL_FUZZ_CHECK(grep->ToStream(record), "What was drawn cannot be written");
  std::istringstream stream(record.str());
  MIREL_FUZZ_CHECK(GRepShape::FromStream(stream), "What was drawn cannot be read");
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned int seed) {
  Random random(seed);
  const std::string text(reinterpret_cast<const char*>(data), size);
  return ReturnInput(MutateBodyGrammar(text, random, maxSize), data, size, maxSize);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QuietLog log;
  const std::shared_ptr<TopoShape> body =
      TopoShape::Read(std::string(reinterpret_cast<const char*>(data), size));
  if (!body || body->GetImpl().IsNull()) return 0;
  const pid_t child = fork();
  MIREL_FUZZ_CHECK(child >= 0, "No child process");
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    LimitCosts();
    signal(SIGXCPU, SIG_DFL);
    Use(*body);
    Draw(body);
    _exit(0);
  }
  int status = 0;
  rusage before = {};
  rusage used = {};
  getrusage(RUSAGE_SELF, &before);
  while (wait4(child, &status, 0, &used) < 0)
    MIREL_FUZZ_CHECK(errno == EINTR, "The child is lost");  // the fuzzer's own clock
  MIREL_FUZZ_CHECK(!WIFSIGNALED(status) || WTERMSIG(status) != SIGXCPU, "A body keeps the mesher for ever");
  MIREL_FUZZ_CHECK(WIFEXITED(status) && WEXITSTATUS(status) == 0, "A body crashes the mesher");
  // The limit holds for large blocks only: for small ones the address sanitizer has set everything aside.
  MIREL_FUZZ_CHECK(used.ru_maxrss < before.ru_maxrss + static_cast<long>(kMegabytes << 10),
                   "A body takes too much memory");
  return 0;
}
