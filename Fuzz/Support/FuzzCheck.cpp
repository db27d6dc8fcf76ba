#include <Fuzz/Support/FuzzCheck.h>

#include <Viewer/Kernel/Host/Core/Logger.h>

#include <cstdio>
#include <cstdlib>

namespace mirel::fuzz {

namespace {

int g_failures = 0;
bool g_needsLocation = false;
Logger::Sink g_before;

}  // namespace

void Fail(const char* file, int line, const std::string& what) {
  std::fprintf(stderr, "%s:%d: %s\n", file, line, what.c_str());
  std::abort();
}

QuietLog::QuietLog() {
  g_failures = 0;
  g_needsLocation = false;
  g_before = Logger::Instance().SetSink([](int level, const std::string& text) {
    MIREL_FUZZ_CHECK(!g_needsLocation || (level == 1 && text.rfind("\t#", 0) == 0),
                     "A failure has no location line");
    g_needsLocation = level == 3;
    if (level == 3) ++g_failures;
  });
}

QuietLog::~QuietLog() {
  Logger::Instance().SetSink(g_before);
  MIREL_FUZZ_CHECK(!g_needsLocation, "A failure has no location line");
}

int QuietLog::CountFailures() const {
  return g_failures;
}

}  // namespace mirel::fuzz
