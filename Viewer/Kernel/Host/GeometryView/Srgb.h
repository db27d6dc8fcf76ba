#pragma once

#include <cmath>

namespace mirel {

/// Components of colours, 0 to 1: as sRGB, which is what models and pictures have, and as light, which can be added up.
///
/// Source: IEC 61966-2-1.
struct Srgb {
  template <typename Number>
  static Number ToLinear(Number srgb) {
    return srgb <= Number(0.04045) ? srgb / Number(12.92)
                                   : std::pow((srgb + Number(0.055)) / Number(1.055), Number(2.4));
  }

  template <typename Number>
  static Number FromLinear(Number light) {
    return light <= Number(0.0031308) ? light * Number(12.92)
                                      : Number(1.055) * std::pow(light, 1 / Number(2.4)) - Number(0.055);
  }
};

}  // namespace mirel
