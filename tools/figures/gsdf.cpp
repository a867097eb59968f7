#include "figures/gsdf.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
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

namespace {

constexpr size_t kInJnd = 4;

/// The luminances of four indices in each JND, and where the search for a luminance begins.
struct JndTable {
  std::vector<double> nits;
  std::vector<size_t> starts;  ///< For each PartOf(): the first of `nits` above all luminances with a lower one.

  JndTable() {
    for (size_t i = 0; i <= 1023 * kInJnd; ++i) {
      nits.push_back(NitsOfJndIndex(1.0 + static_cast<double>(i) / kInJnd));
    }
    for (size_t i = 0; i < nits.size(); ++i) {
      starts.resize(PartOf(nits[i]) + 1, i);
    }
    starts.push_back(nits.size());
  }

  /// A part of the range of luminances, counted from kLeastGsdfNits / 2: the exponent and six bits more, so that it has
  /// less than two JND.
  static size_t PartOf(double of) {
    const auto top_bits = [](double number) {
      uint64_t bits = 0;
      std::memcpy(&bits, &number, sizeof bits);
      return bits >> 46;
    };
    return static_cast<size_t>(top_bits(of) - top_bits(kLeastGsdfNits / 2.0));
  }
};

}  // namespace

// Interpolates between the luminances of two indices.
std::optional<double> RoughJndIndexOfNits(double nits) {
  static const JndTable kTable;
  if (!(nits >= kLeastGsdfNits && nits <= kMostGsdfNits)) {
    return std::nullopt;
  }
  const size_t part = JndTable::PartOf(nits);
  const auto begin = kTable.nits.begin();
  const auto above = std::upper_bound(begin + static_cast<ptrdiff_t>(kTable.starts[part]),
                                      begin + static_cast<ptrdiff_t>(kTable.starts[part + 1]), nits);
  const double below = *(above - 1);
  const auto place = static_cast<double>(above - 1 - begin);
  return 1.0 + (place + (nits - below) / (*above - below)) / kInJnd;
}

}  // namespace blnits
