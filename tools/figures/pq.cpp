#include "figures/pq.h"

#include <algorithm>
#include <cmath>

namespace blnits {
namespace {

// SMPTE ST 2084, its rational numbers. Check values: 100 nits: 0.5081; 1,000 nits: 0.7518; signal 0.5: 92.2457 nits.
constexpr double kM1 = 2610.0 / 16384.0;
constexpr double kM2 = 2523.0 / 4096.0 * 128.0;
constexpr double kC1 = 3424.0 / 4096.0;
constexpr double kC2 = 2413.0 / 4096.0 * 32.0;
constexpr double kC3 = 2392.0 / 4096.0 * 32.0;

}  // namespace

double PqOfNits(double nits) {
  const double y = std::pow(nits / kMostPqNits, kM1);
  return std::pow((kC1 + kC2 * y) / (1.0 + kC3 * y), kM2);
}

double NitsOfPq(double signal) {
  const double p = std::pow(signal, 1.0 / kM2);
  return kMostPqNits * std::pow(std::max(p - kC1, 0.0) / (kC2 - kC3 * p), 1.0 / kM1);
}

uint32_t PqCodeOfNits(double nits, unsigned bits) {
  return static_cast<uint32_t>(std::lround(PqOfNits(nits) * ((1U << bits) - 1U)));
}

}  // namespace blnits
