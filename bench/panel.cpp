#include "panel.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

namespace bench {
namespace {

/// As a colorimeter tells it.
double Measured(double nits) { return std::round(nits * 1000.0) / 1000.0; }

}  // namespace

Calibration RealisticCalibration(uint32_t points, uint32_t max_os_bl) {
  Calibration calibration(kMaxBl, max_os_bl);
  calibration.linear.clear();
  calibration.standard_100.clear();
  calibration.standard_10.clear();
  for (uint32_t i = 0; i < points; ++i) {
    const double share = static_cast<double>(i) / (points - 1);
    // With more points than levels the measured levels exceed the range, as they do where scales differ.
    const uint32_t last = std::max(max_os_bl, points);
    const auto level = 1 + static_cast<uint32_t>(std::lround(share * (last - 1)));
    const double nits = Measured(2.0 + 500.0 * std::pow(share, 1.6));
    calibration.standard_100.emplace_back(level, nits);
    calibration.standard_10.emplace_back(level, Measured(nits * (1.0 + 0.4 * share)));
    const auto linear = static_cast<uint32_t>(std::lround(share * kMaxBl));
    calibration.linear.emplace_back(linear, static_cast<uint32_t>(std::lround(kMaxBl * std::pow(share, 0.7))));
  }
  calibration.hbm_100 = calibration.standard_100;
  calibration.hbm_10 = calibration.standard_10;
  return calibration;
}

Panel::Panel(uint32_t points, uint32_t last_level)
    : calibration(RealisticCalibration(points, last_level)),
      max_os_bl(last_level),
      client(OpenClient()),
      engine(client.Engine().get()) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same in every run
  std::uniform_int_distribution<size_t> coverage(0, std::size(kCoverages) - 1);
  std::uniform_int_distribution<uint32_t> level(1, last_level);
  std::uniform_real_distribution<double> nits(2.0, calibration.standard_100.back().second);
  for (int i = 0; i < 4096; ++i) {
    requests_.push_back({kCoverages[coverage(random)], level(random), nits(random)});
  }

  for (uint32_t bl = 0; bl <= kMaxBl; ++bl) {
    dimming_lut.push_back(bl * 3 / 4);
  }
  attenuation.assign(last_level + 1, 0.9);
}

zarn::client::Panel Panel::OpenClient() {
  static int count = 0;
  const std::string name = "bench_" + std::to_string(++count);
  file = FileName(name);
  std::ofstream(file) << calibration.Text();
  return Checked(zarn::client::Panel::Open(name));
}

void Panel::Dim() {
  SetLuts();
  Checked(client.SetDimming(true));
}

void Panel::Fail(int ret) {
  std::fprintf(stderr, "a call failed: %d\n", ret);
  std::exit(1);
}

}  // namespace bench
