#include <Fuzz/Support/BodyGrammar.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <utility>
#include <vector>

namespace mirel::fuzz {
namespace {

enum class Role : std::uint8_t {
  kFixed,      // names of sections, letters
  kKind,       // of a curve, a surface, a representation: says what follows
  kReal,       // a coordinate, a radius, a weight, a knot ..
  kDirection,  // component of a unit vector
  kParameter,  // of a trim or the range of an edge
  kIndex,      // into a table that lies before
  kCount,      // how much follows
  kInteger,    // a degree, a multiplicity, a power
  kFlag,
  kFlags,      // seven flags in one word
  kReference,  // "+12": a shape with its orientation
};

struct Token {
  std::string text;
  std::string blank;  // what stands behind it
  Role role = Role::kFixed;
};

enum Table {
  kPlacements,
  kCurves2d,
  kCurves3d,
  kSurfaces,
  kPolygons3d,
  kPolygons2d,
  kTriangulations,
  kShapes,
  kTables
};

// Tokens from `first` to before `end`.
struct Entry {
  std::size_t first = 0;
  std::size_t end = 0;
};

struct Body {
  std::vector<Token> tokens;
  std::vector<Entry> entries[kTables];
  std::vector<Entry> vectors;     // unit vectors; axes of one system follow each other
  std::vector<Entry> edgeRanges;  // two parameters each
};

// Curves and surfaces of every kind, to be put in the place of others.
const char* const kPlaneCurves[] = {"1 1 2 -1 0",
                                    "2 0.1 0.2 0.6 0.8 0.8 -0.6 2",
                                    "3 0.1 0.2 0.6 0.8 0.8 -0.6 3 1",
                                    "4 0.1 0.2 0.6 0.8 0.8 -0.6 1",
                                    "5 0.1 0.2 0.6 0.8 0.8 -0.6 1 2",
                                    "6 0 3 0 0 1 2 3 2 4 0",
                                    "7 0 0 2 4 3 0 0 1 2 3 2 4 0 0 3 0.5 1 1 3",
                                    "7 1 1 2 4 5 0 0 1 1 2 0.5 3 2 2 4 0 1 0 1 1 1 2 1 3 1 4 1",
                                    "8 -1 1 2 0 0 1 0 0 1 2",
                                    "9 0.5 2 0 0 1 0 0 1 2"};
const char* const kSpaceCurves[] = {"1 1 2 3 0 0.6 0.8",
                                    "2 0 0 0 0 0 1 1 0 0 0 1 0 2.5",
                                    "3 0 0 0 0 0 1 1 0 0 0 1 0 3 0.5",
                                    "4 0 0 0 0 0 1 1 0 0 0 1 0 0.75",
                                    "5 0 0 0 0 0 1 1 0 0 0 1 0 1 2",
                                    "6 1 3 0 0 0 1 1 2 0 0.5 3 2 0.25 2 4 0 0 1",
                                    "7 0 0 2 4 7 0 0 0 1 2 0 3 2 0.25 4 0 0 0 1 1 1 2 1 3 1 4 1 5 1 6 1",
                                    "7 0 1 3 4 5 0 0 0 1 2 0 3 2 0.25 4 0 0 0 1 1 1 2.5 1 3 1 4 1",
                                    "7 0 0 1 4 4 0 0 0 1 2 0 3 2 0.25 4 0 0 0 2 1 1 2 1 3 2",
                                    "8 6 7 2 0 0 0 0 0 1 1 0 0 0 1 0 2.5",
                                    "9 -0.5 0 0 1 2 0 0 0 0 0 1 1 0 0 0 1 0 2.5"};
const char* const kSurfaceKinds[] = {
    "1 0 0 0 0 0 1 1 0 0 0 1 0",
    "2 0 0 0 0 0 1 1 0 0 0 1 0 2",
    "3 0 0 0 0 0 1 1 0 0 0 1 0 1 -0.5",
    "4 0 0 0 0 0 1 1 0 0 0 1 0 3",
    "5 0 0 0 0 0 1 1 0 0 0 1 0 1 2",
    "6 0 0.6 0.8 3 0 0 0 0 0 1 1 0 0 0 1 0 3 2",
    "7 -5 0 0 0 1 0 6 0 3 0 0 0 1 2 0 3 2 0.25 4 0 0",
    "8 1 0 1 2 0 0 0 1 0 1 1 2 0 2 0 1 1 0 0 1 1 1 1 0.5 1 2 0 1",
    "9 0 0 0 0 2 1 3 2 2 2 0 0 0 0 1 1 1 0 1 1 1 2 2 0 0 2 1 1 0 3 1 3 0 2 1 2",
    "10 6 7 -1 1 2 0 0 0 0 0 1 1 0 0 0 1 0 2",
    "11 0.25 7 -5 0 0 0 1 0 6 0 3 0 0 0 1 2 0 3 2 0.25 4 0 0"};
const char* const kSweeps[] = {"6 0 0 1", "7 0 0 0 0 0 1", "7 -5 0 0 0 1 0"};

// Gives every token its role; leaves at the first one that the grammar does not expect.
class Parser {
 public:
  explicit Parser(Body& out) : out_(out) {}

  bool Run() {
    for (const char* word : {"CASCADE", "Topology", "V3,", "(c)", "Open", "Cascade"})
      if (!Word(word)) return false;
    return Section("Locations", kPlacements, [this] { return Placement(); }) &&
           Section("Curve2ds", kCurves2d, [this] { return Curve(2); }) &&
           Section("Curves", kCurves3d, [this] { return Curve(3); }) &&
           Section("Polygon3D", kPolygons3d, [this] { return Polygon(); }) &&
           Section("PolygonOnTriangulations", kPolygons2d, [this] { return PolygonOnTriangulation(); }) &&
           Section("Surfaces", kSurfaces, [this] { return Surface(); }) &&
           Section("Triangulations", kTriangulations, [this] { return Triangulation(); }) &&
           Section("TShapes", kShapes, [this] { return Shape(); }) && Take(Role::kReference) &&
           Take(Role::kIndex) && next_ == out_.tokens.size();
  }

 private:
  // Sets the role of the next tokens.
  bool Take(Role role, long count = 1) {
    if (count < 0 || static_cast<std::size_t>(count) > out_.tokens.size() - next_) return false;
    for (; count > 0; --count)
      out_.tokens[next_++].role = role;
    return true;
  }
  bool Take(Role role, long& value, int) {
    if (next_ >= out_.tokens.size()) return false;
    value = std::strtol(out_.tokens[next_].text.c_str(), nullptr, 10);
    return value >= 0 && value < 1000000 && Take(role);
  }
  bool Word(const char* word) {
    return next_ < out_.tokens.size() && out_.tokens[next_].text == word && Take(Role::kFixed);
  }
  bool Vectors(int dimension, int count) {
    for (int i = 0; i < count; ++i) {
      out_.vectors.push_back({next_, next_ + static_cast<std::size_t>(dimension)});
      if (!Take(Role::kDirection, dimension)) return false;
    }
    return true;
  }

  template <typename Read>
  bool Section(const char* name, Table table, Read&& read) {
    long count;
    if (!Word(name) || !Take(Role::kCount, count, 0)) return false;
    for (long i = 0; i < count; ++i) {
      const std::size_t first = next_;
      if (!read()) return false;
      out_.entries[table].push_back({first, next_});
    }
    return true;
  }

  bool Placement() {
    long kind, index;
    if (!Take(Role::kKind, kind, 0)) return false;
    if (kind == 1) return Take(Role::kReal, 12);
    for (;;) {
      if (!Take(Role::kIndex, index, 0)) return false;
      if (index == 0) return true;
      if (!Take(Role::kInteger)) return false;
    }
  }

  bool Curve(int dimension) {
    const int axes = dimension == 3 ? 3 : 2;
    long kind;
    if (!Take(Role::kKind, kind, 0)) return false;
    long rational, periodic, degree, poles, knots;
    switch (kind) {
    case 1:
      return Take(Role::kReal, dimension) && Vectors(dimension, 1);
    case 2:
    case 4:
      return Take(Role::kReal, dimension) && Vectors(dimension, axes) && Take(Role::kReal);
    case 3:
    case 5:
      return Take(Role::kReal, dimension) && Vectors(dimension, axes) && Take(Role::kReal, 2);
    case 6:
      return Take(Role::kFlag, rational, 0) && Take(Role::kInteger, degree, 0) &&
             Take(Role::kReal, (degree + 1) * (dimension + rational));
    case 7:
      return Take(Role::kFlag, rational, 0) && Take(Role::kFlag, periodic, 0) &&
             Take(Role::kInteger, degree, 0) && Take(Role::kCount, poles, 0) &&
             Take(Role::kCount, knots, 0) && Take(Role::kReal, poles * (dimension + rational)) &&
             Knots(knots);
    case 8:
      return Take(Role::kParameter, 2) && Curve(dimension);
    case 9:
      return Take(Role::kReal) && (dimension == 2 || Vectors(3, 1)) && Curve(dimension);
    default:
      return false;
    }
  }
  bool Knots(long count) {
    for (long i = 0; i < count; ++i)
      if (!Take(Role::kReal) || !Take(Role::kInteger)) return false;
    return true;
  }

  bool Surface() {
    long kind;
    if (!Take(Role::kKind, kind, 0)) return false;
    long uRational, vRational, uDegree, vDegree, uPoles, vPoles, uKnots, vKnots;
    switch (kind) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
      return Take(Role::kReal, 3) && Vectors(3, 3) &&
             Take(Role::kReal, kind == 1                ? 0
                               : kind == 2 || kind == 4 ? 1
                                                        : 2);
    case 6:
      return Vectors(3, 1) && Curve(3);
    case 7:
      return Take(Role::kReal, 3) && Vectors(3, 1) && Curve(3);
    case 8:
      return Take(Role::kFlag, uRational, 0) && Take(Role::kFlag, vRational, 0) &&
             Take(Role::kInteger, uDegree, 0) && Take(Role::kInteger, vDegree, 0) &&
             Take(Role::kReal, (uDegree + 1) * (vDegree + 1) * (3 + (uRational | vRational)));
    case 9:
      return Take(Role::kFlag, uRational, 0) && Take(Role::kFlag, vRational, 0) && Take(Role::kFlag, 2) &&
             Take(Role::kInteger, 2) && Take(Role::kCount, uPoles, 0) && Take(Role::kCount, vPoles, 0) &&
             Take(Role::kCount, uKnots, 0) && Take(Role::kCount, vKnots, 0) &&
             Take(Role::kReal, uPoles * vPoles * (3 + (uRational | vRational))) && Knots(uKnots) &&
             Knots(vKnots);
    case 10:
      return Take(Role::kParameter, 4) && Surface();
    case 11:
      return Take(Role::kReal) && Surface();
    default:
      return false;
    }
  }

  bool Polygon() {
    long nodes, parameters;
    return Take(Role::kCount, nodes, 0) && Take(Role::kFlag, parameters, 0) && Take(Role::kReal) &&
           Take(Role::kReal, nodes * (3 + parameters));
  }
  bool PolygonOnTriangulation() {
    long nodes, parameters;
    return Take(Role::kCount, nodes, 0) && Take(Role::kIndex, nodes) && Word("p") && Take(Role::kReal) &&
           Take(Role::kFlag, parameters, 0) && Take(Role::kReal, parameters * nodes);
  }
  bool Triangulation() {
    long nodes, triangles, uv, normals;
    return Take(Role::kCount, nodes, 0) && Take(Role::kCount, triangles, 0) && Take(Role::kFlag, uv, 0) &&
           Take(Role::kFlag, normals, 0) && Take(Role::kReal) && Take(Role::kReal, nodes * (3 + 2 * uv)) &&
           Take(Role::kIndex, 3 * triangles) && Take(Role::kReal, 3 * normals * nodes);
  }

  bool Range() {
    out_.edgeRanges.push_back({next_, next_ + 2});
    return Take(Role::kParameter, 2);
  }
  bool Representations() {
    for (;;) {
      long kind;
      if (!Take(Role::kKind, kind, 0)) return false;
      bool good = true;
      switch (kind) {
      case 0:
        return true;
      case 1:
        good = Take(Role::kIndex, 2) && Range();
        break;
      case 2:
        good = Take(Role::kIndex, 3) && Range();
        break;
      case 3:
        good = Take(Role::kIndex, 4) && Range();
        break;
      case 4:
        good = Take(Role::kFixed) && Take(Role::kIndex, 4);
        break;
      case 5:
        good = Take(Role::kIndex, 2);
        break;
      default:
        good = Take(Role::kIndex, kind == 6 ? 3 : 4);
      }
      if (!good) return false;
    }
  }
  bool Vertex() {
    if (!Take(Role::kReal, 4)) return false;
    for (;;) {
      long kind;
      if (!Take(Role::kReal) || !Take(Role::kKind, kind, 0)) return false;
      if (kind == 0) return true;
      if (kind == 3 && !Take(Role::kReal)) return false;
      if (!Take(Role::kIndex, kind == 2 ? 3 : 2)) return false;
    }
  }
  bool Shape() {
    if (next_ >= out_.tokens.size()) return false;
    const std::string kind = out_.tokens[next_].text;
    if (!Take(Role::kFixed)) return false;
    if (kind == "Ve" && !Vertex()) return false;
    if (kind == "Ed" && !(Take(Role::kReal) && Take(Role::kFlag, 3) && Representations())) return false;
    if (kind == "Fa") {
      if (!Take(Role::kFlag) || !Take(Role::kReal) || !Take(Role::kIndex, 2)) return false;
      if (next_ + 1 < out_.tokens.size() && out_.tokens[next_].text == "2" &&
          (!Take(Role::kKind) || !Take(Role::kIndex)))
        return false;
    }
    if (!Take(Role::kFlags)) return false;
    while (next_ < out_.tokens.size() && out_.tokens[next_].text != "*")
      if (!Take(Role::kReference) || !Take(Role::kIndex)) return false;
    return Take(Role::kFixed);
  }

  Body& out_;
  std::size_t next_ = 0;
};

bool Parse(const std::string& text, Body& body) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\n'; };
  std::size_t place = 0;
  while (place < text.size() && isBlank(text[place]))
    ++place;
  const std::string before = text.substr(0, place);
  while (place < text.size()) {
    std::size_t end = place;
    while (end < text.size() && !isBlank(text[end]))
      ++end;
    std::size_t next = end;
    while (next < text.size() && isBlank(text[next]))
      ++next;
    body.tokens.push_back({text.substr(place, end - place), text.substr(end, next - end), Role::kFixed});
    place = next;
  }
  if (!Parser(body).Run()) return false;
  body.tokens.front().text.insert(0, before);
  return true;
}

std::string Join(const Body& body) {
  std::string joined;
  for (const Token& token : body.tokens)
    joined.append(token.text).append(token.blank);
  return joined;
}

double ToReal(const std::string& text) {
  return std::strtod(text.c_str(), nullptr);
}
std::string ToText(double value, int digits = 15) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.*g", digits, value);
  return buffer;
}

class Mutator {
 public:
  Mutator(Body& body, Random& random) : body_(body), random_(random) {}

  void Change() {
    switch (Below(12)) {
    case 0:
    case 1:
      return ChangeRange();
    case 2:
    case 3:
      return TurnAxes();
    case 4:
    case 5:
      return ChangeGeometry();
    case 6:
      return ChangeSubShapes();
    case 7:
      return AddPlacement();
    default:
      return ChangeToken();
    }
  }

 private:
  std::size_t Below(std::size_t count) { return Pick(random_, count); }
  bool OneIn(std::size_t count) { return Below(count) == 0; }
  template <typename Value, std::size_t count>
  Value Any(Value (&values)[count]) {
    return values[Below(count)];
  }
  template <typename Value>
  const Value& Any(const std::vector<Value>& values) {
    return values[Below(values.size())];
  }
  std::vector<Token>::iterator At(std::size_t token) {
    return body_.tokens.begin() + static_cast<std::ptrdiff_t>(token);
  }

  std::string HurtfulReal(const std::string& old) {
    static const char* const kValues[] = {"0",
                                          "-0",
                                          "1",
                                          "-1",
                                          "0.5",
                                          "2",
                                          "1e-07",
                                          "-1e-07",
                                          "1e-300",
                                          "1e-05",
                                          "1e-12",
                                          "1e-17",
                                          "100",
                                          "1e+07",
                                          "-1e+07",
                                          "1e+09",
                                          "1e+06",
                                          "10000000000",
                                          "1e-09",
                                          "1e-100",
                                          "1e+100",
                                          "-1e+100",
                                          "2e+100",
                                          "-2e+100",
                                          "1000",
                                          "3.14159265358979",
                                          "6.28318530717959",
                                          "1.5707963267949",
                                          "62.8318530717959",
                                          "62831.8530717959"};
    const double value = ToReal(old);
    switch (Below(9)) {
    case 0:
    case 1:
      return Any(kValues);
    case 2:
      return ToText(-value, 17);
    case 3:
      return ToText(std::nextafter(value, OneIn(2) ? 1e300 : -1e300), 17);
    case 4:
      return ToText(value * std::pow(10.0, static_cast<double>(Below(13)) - 6.0));
    case 5:
      return ToText(value * (1.0 + std::pow(10.0, -static_cast<double>(1 + Below(15)))), 17);
    case 6:
      return ToText(value + 6.283185307179586 * (static_cast<double>(Below(7)) - 3.0));
    case 7:
      return ToText(value + (static_cast<double>(Below(2001)) - 1000.0) / 100.0);
    default:
      for (int attempt = 0; attempt < 20; ++attempt) {
        const Token& other = Any(body_.tokens);
        if (other.role == Role::kReal || other.role == Role::kParameter || other.role == Role::kDirection)
          return other.text;
      }
      return old;
    }
  }

  void ChangeToken() {
    for (int attempt = 0; attempt < 50; ++attempt)
      if (ChangeWord(*At(Below(body_.tokens.size())))) return;
  }

  bool ChangeWord(Token& token) {
    std::string& word = token.text;
    const auto number = static_cast<long>(std::strtol(word.c_str(), nullptr, 10));
    switch (token.role) {
    case Role::kReal:
    case Role::kParameter:
      word = HurtfulReal(word);
      return true;
    case Role::kKind:
      if (!OneIn(8)) return false;
      word = std::to_string(Below(12));
      return true;
    case Role::kCount:
      if (!OneIn(8)) return false;
      word = std::to_string(std::max(0L, number + static_cast<long>(Below(3)) - 1));
      return true;
    case Role::kInteger:
      word =
          std::to_string(OneIn(4) ? static_cast<long>(Below(30)) : number + static_cast<long>(Below(3)) - 1);
      return true;
    case Role::kIndex: {
      char* letters;  // of a continuity, glued to it
      std::strtol(word.c_str(), &letters, 10);
      std::string tail = letters;
      if (!tail.empty() && OneIn(3)) tail = OneIn(2) ? "C0" : "CN";
      word = std::to_string(OneIn(3) ? Below(3) : 1 + Below(1 + 2 * static_cast<std::size_t>(number))) + tail;
      return true;
    }
    case Role::kFlag:
      word = word == "0" ? "1" : "0";
      return true;
    case Role::kFlags:
      if (word.size() == 7) word[Below(7)] ^= 1;
      return true;
    case Role::kReference: {
      const long old = std::strtol(word.c_str() + 1, nullptr, 10);
      if (OneIn(2))
        word[0] = "+-ie"[Below(4)];
      else
        word = word.substr(0, 1) + std::to_string(std::max(1L, old + static_cast<long>(Below(5)) - 2));
      return true;
    }
    default:
      return false;
    }
  }

  // Turns one vector, or all axes of a system, which stay perpendicular; mirrors them now and then.
  void TurnAxes() {
    if (body_.vectors.empty()) return;
    const auto follows = [this](std::size_t i) { return body_.vectors[i].first == body_.vectors[i - 1].end; };
    std::size_t first = Below(body_.vectors.size()), last = first;
    while (first > 0 && follows(first))
      --first;
    while (last + 1 < body_.vectors.size() && follows(last + 1))
      ++last;
    static const double kAngles[] = {1e-9, 1e-6, 1e-3, 0.1, 1.0, 1.5707963267948966, 3.141592653589793};
    const double angle = Any(kAngles);
    const double mirror = OneIn(4) ? -1.0 : 1.0;
    const std::size_t dimension = body_.vectors[first].end - body_.vectors[first].first;
    const std::size_t a = Below(dimension), b = (a + 1) % dimension;
    for (std::size_t i = first; i <= last; ++i) {
      std::string &x = At(body_.vectors[i].first + a)->text, &y = At(body_.vectors[i].first + b)->text;
      const double oldX = ToReal(x), oldY = ToReal(y);
      x = ToText(mirror * (std::cos(angle) * oldX - std::sin(angle) * oldY));
      y = ToText(std::sin(angle) * oldX + std::cos(angle) * oldY);
    }
  }

  // Swaps the ends of an edge, makes it empty, or longer by powers of ten or by turns.
  void ChangeRange() {
    if (body_.edgeRanges.empty()) return;
    const Entry range = Any(body_.edgeRanges);
    std::string &from = At(range.first)->text, &to = At(range.first + 1)->text;
    const double first = ToReal(from), last = ToReal(to);
    switch (Below(5)) {
    case 0:
      return from.swap(to);
    case 1:
      to = from;
      return;
    case 2:
      to = ToText(first + (last - first) * std::pow(10.0, static_cast<double>(Below(19)) - 9.0));
      return;
    case 3:
      to = ToText(last + 6.283185307179586 * std::pow(10.0, static_cast<double>(Below(5))));
      return;
    default:
      from = HurtfulReal(from);
    }
  }

  static std::vector<Token> Words(const std::string& words) {
    std::vector<Token> tokens;
    for (std::size_t begin = 0; begin < words.size();) {
      const std::size_t end = std::min(words.find(' ', begin), words.size());
      tokens.push_back({words.substr(begin, end - begin), " ", Role::kFixed});
      begin = end + 1;
    }
    return tokens;
  }

  // Puts something else in the place of a curve or surface.
  void ChangeGeometry() {
    static constexpr Table kGeometry[] = {kCurves2d, kCurves3d, kSurfaces};
    const Table table = kGeometry[Below(3)];
    if (body_.entries[table].empty()) return;
    const Entry old = Any(body_.entries[table]);
    std::vector<Token> by;
    const auto append = [&](const Entry& entry) { by.insert(by.end(), At(entry.first), At(entry.end)); };
    switch (Below(6)) {
    case 0:
      by = Words(Wrap(table));
      append(old);
      break;
    case 1: {
      const std::size_t head = CountWrapping(table, At(old.first)->text);
      if (head == 0 || head >= old.end - old.first) return;
      append({old.first + head, old.end});
      break;
    }
    case 2:
      if (table != kSurfaces || body_.entries[kCurves3d].empty()) return;
      by = Words(Any(kSweeps));
      append(Any(body_.entries[kCurves3d]));
      break;
    case 3:
      append(Any(body_.entries[table]));
      break;
    default:
      by = Words(table == kCurves2d   ? Any(kPlaneCurves)
                 : table == kCurves3d ? Any(kSpaceCurves)
                                      : Any(kSurfaceKinds));
    }
    by.back().blank = "\n";
    body_.tokens.erase(At(old.first), At(old.end));
    body_.tokens.insert(At(old.first), by.begin(), by.end());
  }

  std::string Wrap(Table table) {
    static const char* const kTrims[] = {"8 0 1", "8 0.25 0.5", "8 0 6.28318530717959", "8 -1 1"};
    static const char* const kPatches[] = {"10 0 1 0 1", "10 0.5 0.75 0.25 0.5", "10 0 6.28318530717959 0 1",
                                           "10 -1 1 -1 1"};
    if (OneIn(2)) return table == kSurfaces ? Any(kPatches) : Any(kTrims);
    return (table == kSurfaces ? "11 " : "9 ") + HurtfulReal("0.5") + (table == kCurves3d ? " 0 0 1" : "");
  }

  // The number of tokens before the basis of a trimmed or offset curve or surface.
  static std::size_t CountWrapping(Table table, const std::string& kind) {
    if (table == kSurfaces) return kind == "10" ? 5 : kind == "11" ? 2 : 0;
    return kind == "8" ? 3 : kind != "9" ? 0 : table == kCurves3d ? 5 : 2;
  }

  // Lists a sub-shape twice, not at all, or in another place.
  void ChangeSubShapes() {
    if (body_.entries[kShapes].empty()) return;
    const Entry shape = Any(body_.entries[kShapes]);
    std::size_t first = shape.first;
    while (first + 1 < shape.end && At(first)->role != Role::kReference)
      ++first;
    const std::size_t count = (shape.end - 1 - first) / 2;
    if (count == 0) return;
    const std::size_t chosen = first + 2 * Below(count);
    const std::vector<Token> pair(At(chosen), At(chosen + 2));
    switch (Below(3)) {
    case 0:
      body_.tokens.insert(At(first + 2 * Below(count + 1)), pair.begin(), pair.end());
      break;
    case 1:
      body_.tokens.erase(At(chosen), At(chosen + 2));
      break;
    default:
      std::swap_ranges(At(chosen), At(chosen + 2), At(first + 2 * Below(count)));
    }
  }

  // Adds a placement and gives it to a sub-shape.
  void AddPlacement() {
    static const char* const kMatrices[] = {
        "1 0 0 5 0 1 0 0 0 0 1 0", "-1 0 0 0 0 1 0 0 0 0 1 0", "1000 0 0 0 0 1000 0 0 0 0 1000 0",
        "1e-06 0 0 0 0 1e-06 0 0 0 0 1e-06 0", "0 -1 0 1e+09 1 0 0 0 0 0 1 0"};
    std::size_t section = 0;
    while (At(section)->text != "Locations")
      ++section;
    const std::size_t count = body_.entries[kPlacements].size();
    const std::size_t end = count == 0 ? section + 2 : body_.entries[kPlacements].back().end;
    for (int attempt = 0; attempt < 50; ++attempt) {
      const std::size_t token = Below(body_.tokens.size() - 1);
      if (At(token)->role != Role::kReference) continue;
      At(token + 1)->text = std::to_string(count + 1);
      break;
    }
    At(section + 1)->text = std::to_string(count + 1);
    body_.tokens.insert(At(end), Token{std::string("1\n") + Any(kMatrices), "\n", Role::kFixed});
  }

  Body& body_;
  Random& random_;
};

}  // namespace

std::string MutateBodyGrammar(const std::string& text, Random& random, std::size_t maxSize) {
  std::string changed = text;
  for (std::size_t round = 1 + Pick(random, 3); round > 0; --round) {
    Body body;
    if (!Parse(changed, body)) return round > 1 ? changed : MutateBodyText(changed, random, maxSize);
    Mutator(body, random).Change();
    changed = Join(body);
  }
  return changed;
}

}  // namespace mirel::fuzz
