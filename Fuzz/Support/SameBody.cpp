#include <Fuzz/Support/SameBody.h>

#include <Fuzz/Support/Mutate.h>
#include <Viewer/Kernel/Host/Geometry/TopoShape.h>

#include <BRepTools.hxx>
#include <TopTools_FormatVersion.hxx>
#include <TopoDS_Shape.hxx>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace mirel::fuzz {

namespace {

bool IsFlags(const std::string& token) {
  return token.size() == 7 && token.find_first_not_of("01") == std::string::npos;
}

bool IsSameToken(std::string a, std::string b) {
  if (a == b) return true;
  if (IsFlags(a) && IsFlags(b)) {
    a[2] = b[2];
    return a == b;
  }
  char* endOfA = nullptr;
  char* endOfB = nullptr;
  const double x = std::strtod(a.c_str(), &endOfA);
  const double y = std::strtod(b.c_str(), &endOfB);
  return *endOfA == '\0' && *endOfB == '\0' && std::fabs(x - y) <= 1e-9 * std::max(1.0, std::fabs(x));
}

}  // namespace

std::string WriteBody(const TopoShape& body) {
  std::ostringstream stream;
  BRepTools::Write(body.GetImpl(), stream, true, false, TopTools_FormatVersion_VERSION_3);
  return stream.str();
}

bool IsSameBody(const std::string& a, const std::string& b) {
  const char* const blank = " \t\r\n";
  const std::vector<Range> wordsOfA = FindTokens(a, blank), wordsOfB = FindTokens(b, blank);
  return std::equal(wordsOfA.begin(), wordsOfA.end(), wordsOfB.begin(), wordsOfB.end(),
                    [&](const Range& x, const Range& y) { return IsSameToken(Cut(a, x), Cut(b, y)); });
}

}  // namespace mirel::fuzz
