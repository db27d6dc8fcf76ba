#include <Viewer/Measure/MeasureUnit.h>

#include <charconv>
#include <cmath>

namespace mirel {
namespace {

constexpr double kPi = 3.14159265358979323846;

struct UnitForm {
  const char* name;
  double millimetres;
  int decimals;  // so that the last digit is a thousandth of a millimetre or less
};

const UnitForm& FormOf(MeasureUnit::Length length) {
  static constexpr UnitForm kForms[] = {{"mm", 1.0, 3}, {"cm", 10.0, 4}, {"m", 1000.0, 6}, {"in", 25.4, 5}};
  return kForms[static_cast<int>(length)];
}

// Fixed decimals, then without the zeros that say nothing. What is too large for decimals is written with an exponent.
std::string FormatNumber(double value, int decimals) {
  constexpr double kMostWithDecimals = 1e15;
  char digits[64];
  const bool isFixed = std::abs(value) < kMostWithDecimals;
  const auto written =
      std::to_chars(digits, digits + sizeof digits, value,
                    isFixed ? std::chars_format::fixed : std::chars_format::scientific, decimals);
  std::string text(digits, written.ptr);
  if (!isFixed || text.find('.') == std::string::npos) return text;
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text == "-0" ? "0" : text;
}

}  // namespace

std::string MeasureUnit::GetName() const {
  return FormOf(length_).name;
}

std::string MeasureUnit::FormatPower(double millimetres, int power) const {
  const UnitForm& form = FormOf(length_);
  return FormatNumber(millimetres / std::pow(form.millimetres, power), form.decimals * power);
}

std::string MeasureUnit::FormatLength(double millimetres) const {
  return FormatPower(millimetres, 1) + " " + GetName();
}

std::string MeasureUnit::FormatArea(double squareMillimetres) const {
  return FormatPower(squareMillimetres, 2) + " " + GetName() + "²";
}

std::string MeasureUnit::FormatVolume(double cubicMillimetres) const {
  return FormatPower(cubicMillimetres, 3) + " " + GetName() + "³";
}

std::string MeasureUnit::FormatPlace(double x, double y, double z) const {
  return FormatPower(x, 1) + ", " + FormatPower(y, 1) + ", " + FormatPower(z, 1) + " " + GetName();
}

std::string MeasureUnit::FormatAngle(double radians) {
  return FormatNumber(radians * 180.0 / kPi, 3) + "°";
}

std::string MeasureUnit::FormatMass(double grams) {
  constexpr double kGramsPerKilogram = 1000.0;
  return std::abs(grams) < kGramsPerKilogram ? FormatNumber(grams, 3) + " g"
                                             : FormatNumber(grams / kGramsPerKilogram, 3) + " kg";
}

}  // namespace mirel
