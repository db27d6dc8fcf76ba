#include <Tests/Support/EndlessBody.h>

#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace mirel {

// GoogleTest keeps quiet in the process of a death test.
static int PrintFailures() {
  const testing::TestResult& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
  int failures = 0;
  for (int i = 0; i < result.total_part_count(); ++i) {
    const testing::TestPartResult& part = result.GetTestPartResult(i);
    if (!part.failed()) continue;
    std::fprintf(stderr, "%s:%d: %s\n", part.file_name(), part.line_number(), part.message());
    ++failures;
  }
  return failures;
}

std::shared_ptr<TopoShape> ReadEndlessBody() {
  std::ifstream file(MIREL_ENDLESS_BODY);
  return TopoShape::Read(std::string(std::istreambuf_iterator<char>(file), {}));
}

void ExpectInOwnProcess(const std::function<void()>& test) {
  // A new process, not a copy of this one: what is left of other tests' threads would hang it.
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        test();
        std::_Exit(PrintFailures() == 0 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace mirel
