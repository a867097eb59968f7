#include "figures/gsdf.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace blnits {

// DICOM PS3.14, equation 1. Check values: index 1: 0.049982 nits; 512: 130.0653 nits; 1023: 3993.3296 nits.
double NitsOfJndIndex(double index) {
  constexpr double a = -1.3011877;
  constexpr double b = -2.5840191e-2;
  constexpr double c = 8.0242636e-2;
  constexpr double d = -1.0320229e-1;
  constexpr double e = 1.3646699e-1;
  constexpr double f = 2.8745620e-2;
  constexpr double g = -2.5468404e-2;
  constexpr double h = -3.1978977e-3;
  constexpr double k = 1.2992634e-4;
  constexpr double m = 1.3635334e-3;
  const double x = std::log(index);
  const double above = a + x * (c + x * (e + x * (g + x * m)));
  const double below = 1.0 + x * (b + x * (d + x * (f + x * (h + x * k))));
  return std::pow(10.0, above / below);
}

std::optional<double> JndIndexOfNits(double nits) {
  if (!(nits >= kLeastGsdfNits && nits <= kMostGsdfNits)) {
    return std::nullopt;
  }
  double below = 1.0;
  double above = 1024.0;
  double middle = 512.0;
  while (middle > below && middle < above) {  // until the interval cannot become smaller
    (NitsOfJndIndex(middle) <= nits ? below : above) = middle;
    middle = below + (above - below) / 2.0;
  }
  return below;
}

// Interpolates between the luminances of four indices in each JND.
std::optional<double> RoughJndIndexOfNits(double nits) {
  constexpr size_t kInJnd = 4;
  static const std::vector<double> kLuminances = [] {
    std::vector<double> luminances;
    for (size_t i = 0; i <= 1023 * kInJnd; ++i) {
      luminances.push_back(NitsOfJndIndex(1.0 + static_cast<double>(i) / kInJnd));
    }
    return luminances;
  }();
  if (!(nits >= kLeastGsdfNits && nits <= kMostGsdfNits)) {
    return std::nullopt;
  }
  const auto above = std::upper_bound(kLuminances.begin(), kLuminances.end(), nits);
  const double below = *(above - 1);
  const auto place = static_cast<double>(above - 1 - kLuminances.begin());
  return 1.0 + (place + (nits - below) / (*above - below)) / kInJnd;
}

}  // namespace blnits
