#pragma once

#include <cstdint>

namespace zarn {

/// The integer part of `value`, the same on every processor. Values below 0 and NaN give 0; values above the range give
/// UINT32_MAX.
inline uint32_t SaturateToU32(double value) {
  if (!(value > 0.0)) {
    return 0;
  }
  return value < 4294967295.0 ? static_cast<uint32_t>(value) : UINT32_MAX;
}

/// The same for the nearest integer, halves away from zero. The difference to the integer part is exact. A call of
/// std::round for each level took more than a quarter of the time of the dense linear table. There is no branch on the
/// half, because a processor cannot predict it: it is taken every other time.
inline uint32_t RoundToU32(double value) {
  const uint32_t whole = SaturateToU32(value);
  const bool up = value - whole >= 0.5;
  const bool below_end = whole < UINT32_MAX;
  return whole + static_cast<uint32_t>(up & below_end);
}

}  // namespace zarn
