#include "support/axis.h"

#include <algorithm>
#include <cmath>

namespace blnits {
namespace {

// Values beyond this are not shown, so that powers of ten and their reciprocals stay within the range of a double.
constexpr double kLeast = 1e-300;
constexpr double kMost = 1e300;
constexpr double kRounding = 1e-9;

/// The smallest of 1, 2 and 5 times a power of ten that is at least `value`.
double RoundUp(double value) {
  const double power = std::pow(10.0, std::floor(std::log10(value)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= value * (1.0 - kRounding)) {
      return factor * power;
    }
  }
  return 10.0 * power;
}

double RoundDown(double value) { return 1.0 / RoundUp(1.0 / value); }

/// The multiples of `step` from `first * step` to `last * step`.
std::vector<double> Multiples(double step, double first, double last) {
  std::vector<double> multiples;
  for (int i = 0; first + i <= last; ++i) {
    multiples.push_back((first + i) * step);
  }
  return multiples;
}

}  // namespace

bool Axis::Shows(double value) const {
  return std::isfinite(value) && (!logarithmic || value > 0.0) && value >= low && value <= high;
}

double Axis::ShareOf(double value) const {
  return logarithmic ? std::log(value / low) / std::log(high / low) : (value - low) / (high - low);
}

Axis AxisTo(double last, size_t tics) {
  const double end = last > 0.0 ? last : 1.0;
  const double step = std::max(1.0, RoundUp(end / static_cast<double>(tics)));
  Axis axis = {0.0, end, false, Multiples(step, 0.0, std::floor(end / step))};
  if (end - axis.tics.back() < step / 2.0) {
    axis.tics.pop_back();  // Its label would overlap that of the axis's end.
  }
  axis.tics.push_back(end);
  return axis;
}

Axis LinearAxis(double least, double most, size_t tics) {
  const double low = std::clamp(least, -kMost, 0.0);
  const double high = low < 0.0 || most > 0.0 ? std::clamp(most, low + kLeast, kMost) : 1.0;
  const double step = RoundUp(std::max((high - low) / static_cast<double>(tics), kLeast));
  const double first = std::floor(low / step + kRounding);
  const double last = std::max(first + 1.0, std::ceil(high / step - kRounding));
  return {first * step, last * step, false, Multiples(step, first, last)};
}

Axis LogarithmicAxis(double least, double most) {
  Axis axis = {RoundDown(std::clamp(least, kLeast, kMost)), RoundUp(std::clamp(most, kLeast, kMost)), true, {}};
  if (axis.low == axis.high) {
    axis.high = 10.0 * axis.low;
  }
  const bool few_decades = axis.high / axis.low <= 1000.0;
  axis.tics.push_back(axis.low);
  const int last = static_cast<int>(std::log10(axis.high)) + 1;
  for (int power = static_cast<int>(std::log10(axis.low)) - 1; power <= last; ++power) {
    for (const double factor : {1.0, 2.0, 5.0}) {
      const double tic = factor * std::pow(10.0, power);
      const bool inside = tic > axis.low * (1.0 + kRounding) && tic < axis.high * (1.0 - kRounding);
      if (inside && (few_decades || factor == 1.0)) {
        axis.tics.push_back(tic);
      }
    }
  }
  axis.tics.push_back(axis.high);
  return axis;
}

}  // namespace blnits
