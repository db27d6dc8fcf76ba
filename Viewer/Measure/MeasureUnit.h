#pragma once

#include <string>

namespace mirel {

/// How measured values are written for people. Values are given in millimetres and their powers; all texts are the same in
/// every locale: a point before the decimals, as spreadsheets and other programs take it.
class MeasureUnit {
 public:
  enum class Length { kMillimetre, kCentimetre, kMetre, kInch };

  explicit MeasureUnit(Length length = Length::kMillimetre) : length_(length) {}

  Length GetLength() const { return length_; }
  /// "mm", "cm", "m" or "in".
  std::string GetName() const;

  /// "12.5 mm": to the thousandth of a millimetre and finer, without zeros at the end.
  std::string FormatLength(double millimetres) const;
  /// "12.5 mm²".
  std::string FormatArea(double squareMillimetres) const;
  /// "12.5 mm³".
  std::string FormatVolume(double cubicMillimetres) const;
  /// The same for parts of a place or vector: "1, 2.5, -3 mm".
  std::string FormatPlace(double x, double y, double z) const;

  /// "30.5°", for radians.
  static std::string FormatAngle(double radians);
  /// "12.5 g", from a kilogram on "1.25 kg".
  static std::string FormatMass(double grams);

 private:
  std::string FormatPower(double millimetres, int power) const;

  Length length_;
};

}  // namespace mirel
