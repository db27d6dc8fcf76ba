#include <Fuzz/Support/BodyGrammar.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

namespace mirel::fuzz {
namespace {

enum class Role : std::uint8_t {
  kOther,      // names, kinds, counts, indices, flags
  kReal,       // a coordinate, a radius, a weight, a knot, a parameter ..
  kDirection,  // component of a unit vector: changed with its system only
  kReference,  // "+12": a shape with its orientation; its placement follows
};

struct Token {
  std::string text;
  std::string blank;  // what stands behind it
  Role role = Role::kOther;
};

enum Section { kCurves2d, kCurves3d, kSurfaces, kSections };
// Numbers of a text beyond this stand for it: what is added to one must fit.
constexpr long kMostCounted = 1000000000000L;
constexpr const char* kSectionNames[kSections] = {"Curve2ds", "Curves", "Surfaces"};

// Tokens from `first` to before `end`.
struct Entry {
  std::size_t first = 0;
  std::size_t end = 0;
};

// Unit vectors that are perpendicular to each other.
struct Axes {
  std::size_t first = 0;
  std::size_t count = 0;
  std::size_t dimension = 0;
};

struct Body {
  std::vector<Token> tokens;
  Entry placements;  // begins with their number
  std::vector<Entry> entries[kSections];
  std::vector<Axes> axes;
  std::vector<Entry> edgeCurves;  // lines that end with two parameters
  std::vector<Entry> subShapes;   // of one shape: pairs of reference and placement
};

// Curves and surfaces of every kind, to be put in the place of others.
const std::vector<std::string> kKinds[kSections] = {
    {
        "1 1 2 -1 0",
        "2 0.1 0.2 0.6 0.8 0.8 -0.6 2",
        "3 0.1 0.2 0.6 0.8 0.8 -0.6 3 1",
        "4 0.1 0.2 0.6 0.8 0.8 -0.6 1",
        "5 0.1 0.2 0.6 0.8 0.8 -0.6 1 2",
        "6 0 3 0 0 1 2 3 2 4 0",
        "7 0 0 2 4 3 0 0 1 2 3 2 4 0 0 3 0.5 1 1 3",
        "7 1 1 2 4 5 0 0 1 1 2 0.5 3 2 2 4 0 1 0 1 1 1 2 1 3 1 4 1",
        "8 -1 1 2 0 0 1 0 0 1 2",
        "9 0.5 2 0 0 1 0 0 1 2",
    },
    {
        "1 1 2 3 0 0.6 0.8",
        "2 0 0 0 0 0 1 1 0 0 0 1 0 2.5",
        "3 0 0 0 0 0 1 1 0 0 0 1 0 3 0.5",
        "4 0 0 0 0 0 1 1 0 0 0 1 0 0.75",
        "5 0 0 0 0 0 1 1 0 0 0 1 0 1 2",
        "6 1 3 0 0 0 1 1 2 0 0.5 3 2 0.25 2 4 0 0 1",
        "7 0 0 2 4 7 0 0 0 1 2 0 3 2 0.25 4 0 0 0 1 1 1 2 1 3 1 4 1 5 1 6 1",
        "7 0 1 3 4 5 0 0 0 1 2 0 3 2 0.25 4 0 0 0 1 1 1 2.5 1 3 1 4 1",
        "7 0 0 1 4 4 0 0 0 1 2 0 3 2 0.25 4 0 0 0 2 1 1 2 1 3 2",
        "8 6 7 2 0 0 0 0 0 1 1 0 0 0 1 0 2.5",
        "9 -0.5 0 0 1 2 0 0 0 0 0 1 1 0 0 0 1 0 2.5",
    },
    {
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
        "11 0.25 7 -5 0 0 0 1 0 6 0 3 0 0 0 1 2 0 3 2 0.25 4 0 0",
    }};
const std::vector<std::string> kSweeps = {"6 0 0 1", "7 0 0 0 0 0 1", "7 -5 0 0 0 1 0"};

// What follows the kind of a curve or surface: p a point, r a real, v a unit vector, a all axes of a system, o the unit
// vector of an offset (in space only), b what makes a Bezier one, k one with knots, c a curve, s a surface.
constexpr std::string_view kCurveParts[] = {"", "pv", "par", "parr", "par", "parr", "b", "k", "rrc", "roc"};
constexpr std::string_view kSurfaceParts[] = {"",   "pa",  "par", "parr", "par",   "parr",
                                              "vc", "pvc", "b",   "k",    "rrrrs", "rs"};

// Finds what is changed as a whole: curves and surfaces, by their grammar, and the lists and ranges of shapes, by what
// they look like.
class Parser {
 public:
  explicit Parser(Body& body) : body_(body) {}

  // False when a curve or surface is not what the grammar expects.
  bool Run() {
    if (!GoTo("Locations")) return false;
    body_.placements.first = next_;
    Integer();
    for (const Section section : {kCurves2d, kCurves3d, kSurfaces}) {
      if (!GoTo(kSectionNames[section])) return false;
      if (section == kCurves2d) body_.placements.end = next_ - 1;
      for (long count = Integer(); count > 0 && good_; --count) {
        const std::size_t first = next_;
        Geometry(section == kSurfaces, section == kCurves2d ? 2 : 3);
        body_.entries[section].push_back({first, next_});
      }
    }
    if (!good_ || !GoTo("TShapes")) return false;
    FindEdgeCurves();
    FindSubShapes();
    return true;
  }

 private:
  // Behind the next token with this text.
  bool GoTo(const char* text) {
    while (next_ < body_.tokens.size() && body_.tokens[next_].text != text)
      ++next_;
    return next_++ < body_.tokens.size();
  }
  bool Has(long count) {
    good_ = good_ && count >= 0 && static_cast<std::size_t>(count) <= body_.tokens.size() - next_;
    return good_;
  }
  long Integer() {
    const long value = Has(1) ? std::strtol(body_.tokens[next_++].text.c_str(), nullptr, 10) : 0;
    good_ = good_ && value >= 0 && value < 1000000;
    return good_ ? value : 0;
  }
  void Reals(long count, Role role = Role::kReal) {
    for (long left = Has(count) ? count : 0; left > 0; --left)
      body_.tokens[next_++].role = role;
  }
  void ReadAxes(long dimension, long count) {
    body_.axes.push_back({next_, static_cast<std::size_t>(count), static_cast<std::size_t>(dimension)});
    Reals(dimension * count, Role::kDirection);
  }
  // A Bezier or B-spline curve or surface.
  void Spline(bool hasKnots, int parameters, long dimension) {
    const auto sum = [&](int count) {
      long all = 0;
      for (; count > 0; --count)
        all += Integer();
      return all;
    };
    const bool isRational = sum(parameters) > 0;
    if (hasKnots) sum(2 * parameters);  // whether it is periodic, degrees
    long poles = 1;
    for (int i = 0; i < parameters; ++i)
      poles *= hasKnots ? Integer() : Integer() + 1;
    const long knots = hasKnots ? sum(parameters) : 0;
    Reals(poles * (dimension + isRational));
    for (long i = 0; i < knots && good_; ++i) {
      Reals(1);
      Integer();
    }
  }

  void Geometry(bool isSurface, long dimension) {
    const auto kind = static_cast<std::size_t>(Integer());
    const std::size_t kinds = isSurface ? std::size(kSurfaceParts) : std::size(kCurveParts);
    good_ = good_ && kind > 0 && kind < kinds;
    if (!good_) return;
    for (const char part : isSurface ? kSurfaceParts[kind] : kCurveParts[kind]) {
      switch (part) {
      case 'p':
        Reals(dimension);
        break;
      case 'r':
        Reals(1);
        break;
      case 'v':
        ReadAxes(dimension, 1);
        break;
      case 'a':
        ReadAxes(dimension, dimension);
        break;
      case 'o':
        if (dimension == 3) ReadAxes(3, 1);
        break;
      case 'c':
      case 's':
        Geometry(part == 's', dimension);
        break;
      default:
        Spline(part == 'k', isSurface ? 2 : 1, dimension);
      }
    }
  }

  // An edge has a line for each of its curves: 1 (in space), 2 (on a surface) or 3 (a seam), as many references as that
  // and one more, and the range.
  void FindEdgeCurves() {
    for (std::size_t first = next_, i = next_; i < body_.tokens.size(); ++i) {
      if (body_.tokens[i].blank.find('\n') == std::string::npos) continue;
      const long kind = std::strtol(body_.tokens[first].text.c_str(), nullptr, 10);
      if (kind >= 1 && kind <= 3 && i + 1 - first == static_cast<std::size_t>(kind) + 4) {
        body_.edgeCurves.push_back({first, i + 1});
        body_.tokens[i - 1].role = body_.tokens[i].role = Role::kReal;
      }
      first = i + 1;
    }
  }

  // Each shape ends with its sub-shapes and "*".
  void FindSubShapes() {
    for (std::size_t i = next_; i < body_.tokens.size(); ++i) {
      if (body_.tokens[i].text != "*") continue;
      std::size_t first = i;
      while (first >= next_ + 2 && IsReference(body_.tokens[first - 2].text)) {
        first -= 2;
        body_.tokens[first].role = Role::kReference;
      }
      if (first < i) body_.subShapes.push_back({first, i});
    }
  }
  static bool IsReference(const std::string& text) {
    return text.size() > 1 && std::string("+-ie").find(text[0]) != std::string::npos &&
           text.find_first_not_of("0123456789", 1) == std::string::npos;
  }

  Body& body_;
  std::size_t next_ = 0;
  bool good_ = true;
};

bool Parse(const std::string& text, Body& body) {
  const std::vector<Range> words = FindTokens(text, " \n");
  for (std::size_t i = 0; i < words.size(); ++i) {
    // A blank line at the beginning belongs to the first word.
    const std::size_t begin = i == 0 ? 0 : words[i].begin;
    const std::size_t next = i + 1 < words.size() ? words[i + 1].begin : text.size();
    body.tokens.push_back({Cut(text, {begin, words[i].end}), Cut(text, {words[i].end, next})});
  }
  return Parser(body).Run();
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
std::string ToText(double value) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15g", value);
  return buffer;
}

class Mutator {
 public:
  Mutator(Body& body, Random& random) : body_(body), random_(random) {}

  void Change() {
    switch (Below(12)) {
    case 0:
    case 1:
      return ChangeCurve();
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
  template <typename Value>
  const Value& Any(const std::vector<Value>& values) {
    return values[Below(values.size())];
  }
  std::vector<Token>::iterator At(std::size_t token) {
    return body_.tokens.begin() + static_cast<std::ptrdiff_t>(token);
  }

  // Another real, now and then one of the body.
  std::string ChangeReal(const std::string& old) {
    const Token& other = Any(body_.tokens);
    return OneIn(5) && other.role == Role::kReal ? other.text : MutateNumber(old, random_);
  }

  // Mostly a real: other changes seldom pass the check.
  void ChangeToken() {
    std::size_t chosen = Below(body_.tokens.size());
    while (At(chosen)->role == Role::kDirection || (At(chosen)->role == Role::kOther && !OneIn(4)))
      chosen = Below(body_.tokens.size());
    const Token& token = *At(chosen);
    std::string& word = At(chosen)->text;
    const bool isReference = token.role == Role::kReference;
    char* letters = nullptr;  // of a continuity, glued to an index
    const long number = std::min(std::strtol(word.c_str() + isReference, &letters, 10), kMostCounted);
    const std::string tail = letters;
    if (token.role == Role::kReal || word.find_first_of(".e") != std::string::npos) {
      word = ChangeReal(word);
    } else if (isReference) {
      if (OneIn(2))
        word[0] = "+-ie"[Below(4)];
      else
        word = word[0] + std::to_string(std::max(1L, number + static_cast<long>(Below(5)) - 2));
    } else if (word.size() == 7 && word.find_first_not_of("01") == std::string::npos) {
      word[Below(7)] ^= 1;
    } else if (letters != word.c_str() && number >= 0) {
      word = std::to_string(OneIn(3) ? Below(3) : Below(2 + 2 * static_cast<std::size_t>(number)));
      word += tail.empty() || OneIn(2) ? tail : OneIn(2) ? "C0" : "CN";
    }
  }

  // Turns one vector, or all axes of a system, which stay perpendicular; mirrors them now and then.
  void TurnAxes() {
    if (body_.axes.empty()) return;
    static const std::vector<double> kAngles = {
        1e-9, 1e-6, 1e-3, 0.1, 1.0, 1.5707963267948966, 3.141592653589793};
    const double angle = Any(kAngles);
    const double mirror = OneIn(4) ? -1.0 : 1.0;
    const Axes axes = Any(body_.axes);
    const std::size_t a = Below(axes.dimension), b = (a + 1) % axes.dimension;
    for (std::size_t i = 0; i < axes.count; ++i) {
      const std::size_t vector = axes.first + i * axes.dimension;
      std::string &x = At(vector + a)->text, &y = At(vector + b)->text;
      const double oldX = ToReal(x), oldY = ToReal(y);
      x = ToText(mirror * (std::cos(angle) * oldX - std::sin(angle) * oldY));
      y = ToText(std::sin(angle) * oldX + std::cos(angle) * oldY);
    }
  }

  // Takes a curve of an edge away, swaps its ends, makes it empty, or longer by powers of ten or by turns.
  void ChangeCurve() {
    if (body_.edgeCurves.empty()) return;
    const Entry curve = Any(body_.edgeCurves);
    std::string &from = At(curve.end - 2)->text, &to = At(curve.end - 1)->text;
    const double first = ToReal(from), last = ToReal(to);
    switch (Below(5)) {
    case 0:
      return from.swap(to);
    case 1:
      to = from;
      return;
    case 2:
      body_.tokens.erase(At(curve.first), At(curve.end));
      return;
    case 3:
      to = ToText(first + (last - first) * std::pow(10.0, static_cast<double>(Below(29)) - 9.0));
      return;
    default:
      to = ToText(last + 6.283185307179586 * std::pow(10.0, static_cast<double>(Below(5))));
    }
  }

  static std::vector<Token> Words(const std::string& words) {
    std::vector<Token> tokens;
    for (const std::string& word : Split(words))
      tokens.push_back({word, " "});
    return tokens;
  }

  // Puts something else in the place of a curve or surface.
  void ChangeGeometry() {
    const auto section = static_cast<Section>(Below(kSections));
    if (body_.entries[section].empty()) return;
    const Entry old = Any(body_.entries[section]);
    std::vector<Token> by;
    const auto append = [&](const Entry& entry) { by.insert(by.end(), At(entry.first), At(entry.end)); };
    switch (Below(6)) {
    case 0:
      by = Words(Wrap(section));
      append(old);
      break;
    case 1: {
      const std::size_t head = CountWrapping(section, At(old.first)->text);
      if (head == 0 || head >= old.end - old.first) return;
      append({old.first + head, old.end});
      break;
    }
    case 2:
      if (section != kSurfaces || body_.entries[kCurves3d].empty()) return;
      by = Words(Any(kSweeps));
      append(Any(body_.entries[kCurves3d]));
      break;
    case 3:
      append(Any(body_.entries[section]));
      break;
    default:
      by = Words(Any(kKinds[section]));
    }
    by.back().blank = "\n";
    body_.tokens.erase(At(old.first), At(old.end));
    body_.tokens.insert(At(old.first), by.begin(), by.end());
  }

  std::string Wrap(Section section) {
    static const std::vector<std::string> kTrims = {"8 0 1", "8 0.25 0.5", "8 0 6.28318530717959", "8 -1 1"};
    static const std::vector<std::string> kPatches = {"10 0 1 0 1", "10 0.5 0.75 0.25 0.5",
                                                      "10 0 6.28318530717959 0 1", "10 -1 1 -1 1"};
    if (OneIn(2)) return section == kSurfaces ? Any(kPatches) : Any(kTrims);
    return (section == kSurfaces ? "11 " : "9 ") + ChangeReal("0.5") + (section == kCurves3d ? " 0 0 1" : "");
  }

  // The number of tokens before the basis of a trimmed or offset curve or surface.
  static std::size_t CountWrapping(Section section, const std::string& kind) {
    if (section == kSurfaces) return kind == "10" ? 5 : kind == "11" ? 2 : 0;
    return kind == "8" ? 3 : kind != "9" ? 0 : section == kCurves3d ? 5 : 2;
  }

  // Lists a sub-shape twice, not at all, or in another place.
  void ChangeSubShapes() {
    if (body_.subShapes.empty()) return;
    const Entry list = Any(body_.subShapes);
    const std::size_t count = (list.end - list.first) / 2;
    const std::size_t chosen = list.first + 2 * Below(count);
    const std::vector<Token> pair(At(chosen), At(chosen + 2));
    switch (Below(3)) {
    case 0:
      body_.tokens.insert(At(list.first + 2 * Below(count + 1)), pair.begin(), pair.end());
      break;
    case 1:
      body_.tokens.erase(At(chosen), At(chosen + 2));
      break;
    default:
      std::swap_ranges(At(chosen), At(chosen + 2), At(list.first + 2 * Below(count)));
    }
  }

  // Adds a placement and gives it to a sub-shape.
  void AddPlacement() {
    static const std::vector<std::string> kMatrices = {"1 0 0 5 0 1 0 0 0 0 1 0",
                                                       "-1 0 0 0 0 1 0 0 0 0 1 0",
                                                       "1000 0 0 0 0 1000 0 0 0 0 1000 0",
                                                       "1e-06 0 0 0 0 1e-06 0 0 0 0 1e-06 0",
                                                       "0 -1 0 1e+09 1 0 0 0 0 0 1 0",
                                                       "1 0 0 1e+16 0 1 0 0 0 0 1 -1e+90",
                                                       "1e+50 0 0 0 0 1e+50 0 0 0 0 1e+50 0"};
    std::string& count = At(body_.placements.first)->text;
    count = std::to_string(std::strtol(count.c_str(), nullptr, 10) + 1);
    if (!body_.subShapes.empty()) {
      const Entry list = Any(body_.subShapes);
      At(list.first + 2 * Below((list.end - list.first) / 2) + 1)->text = count;
    }
    body_.tokens.insert(At(body_.placements.end), Token{"1\n" + Any(kMatrices), "\n"});
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
