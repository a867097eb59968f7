#pragma once

#include <cstdint>

namespace zarn {

/// The integer part of `value`, on every processor alike: what is below 0, and NaN, gives 0; what is above the range
/// gives its end. For the nearest integer, halves away from zero, pass std::round(value).
inline uint32_t SaturateToU32(double value) {
  if (!(value > 0.0)) {
    return 0;
  }
  return value < 4294967295.0 ? static_cast<uint32_t>(value) : UINT32_MAX;
}

}  // namespace zarn
