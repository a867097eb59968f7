#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "backlight_nits_client.h"
#include "calibration.h"
#include "holding.h"

namespace bench {

constexpr uint32_t kMaxBl = 4095;

/// A random request of a client.
struct Request {
  uint32_t percentage;  ///< 10, 55 or 100.
  uint32_t bl;          ///< From the first measured level to the last.
  double nits;          ///< A luminance that both coverages reach.
};

/// Ends the process unless `so` is true: the results would have no meaning.
inline void Require(bool so, const char* what) {
  if (!so) {
    std::fprintf(stderr, "nothing is measured, because this does not hold: %s\n", what);
    std::exit(1);
  }
}

/// An OLED-like calibration with `points` measured points a table, from level 1 to max_os_bl.
inline Calibration RealisticCalibration(uint32_t points, uint32_t max_os_bl) {
  const auto measured = [](double nits) { return std::round(nits * 1000.0) / 1000.0; };  // A colorimeter's resolution.
  Calibration calibration(kMaxBl, max_os_bl);
  calibration.linear.clear();
  calibration.standard_100.clear();
  calibration.standard_10.clear();
  for (uint32_t i = 0; i < points; ++i) {
    const double share = static_cast<double>(i) / (points - 1);
    // With more points than levels, the measured levels exceed the range. This also happens in files whose scales
    // differ.
    const uint32_t last = std::max(max_os_bl, points);
    const auto level = 1 + static_cast<uint32_t>(std::lround(share * (last - 1)));
    const double nits = measured(2.0 + 500.0 * std::pow(share, 1.6));
    calibration.standard_100.emplace_back(level, nits);
    calibration.standard_10.emplace_back(level, measured(nits * (1.0 + 0.4 * share)));
    const auto linear = static_cast<uint32_t>(std::lround(share * kMaxBl));
    calibration.linear.emplace_back(linear, static_cast<uint32_t>(std::lround(kMaxBl * std::pow(share, 0.7))));
  }
  calibration.hbm_100 = calibration.standard_100;
  calibration.hbm_10 = calibration.standard_10;
  return calibration;
}

/// A panel with its own file in the working folder, and its engine.
class Panel {
 public:
  Panel(uint32_t points, uint32_t last_level, bool dimmed)
      : calibration(RealisticCalibration(points, last_level)),
        max_os_bl(last_level),
        attenuation(size_t{last_level} + 1, 0.9),
        client(OpenClient()) {
    for (uint32_t bl = 0; bl <= kMaxBl; ++bl) {
      dimming_lut.push_back(bl * 3 / 4);
    }
    if (dimmed) {
      SetLuts();
      Require(client.SetDimming(true).has_value(), "dimming can be switched on");
    }
  }

  void SetLuts() {
    Require(client.SetDimmingLuts(dimming_lut, attenuation).has_value(), "the engine accepts the LUTs");
  }

  Calibration calibration;
  uint32_t max_os_bl;
  std::string file;
  std::vector<uint32_t> dimming_lut;
  std::vector<double> attenuation;
  zarn::client::Panel client;

 private:
  zarn::client::Panel OpenClient() {
    static int count = 0;
    const std::string name = "bench_" + std::to_string(++count);
    file = FileName(name);
    std::ofstream(file) << calibration.Text();
    return zarn::client::Panel::Open(name).value();
  }
};

/// Calls a panel's engine like a client that converts often: reuses its records. Use it from one thread.
class Caller {
 public:
  explicit Caller(const Panel& panel) : engine_(panel.client.Engine().get()) {}

  double Nits(const Request& request) {
    in_->percentage = request.percentage;
    in_->bl = request.bl;
    Require(engine_->ProcessOps(zarn::kBLToNits, in_.payload, &out_.payload) == 0, "the engine converts a level");
    return out_->nits;
  }

  uint32_t Level(const Request& request) {
    wanted_->percentage = request.percentage;
    wanted_->nits = request.nits;
    Require(engine_->ProcessOps(zarn::kNitsToBL, wanted_.payload, &out_.payload) == 0, "the engine converts nits");
    return out_->bl;
  }

  Levels Dense() {
    Holding<zarn::BLLinearTable> table;
    Require(engine_->GetParameter(zarn::kBLLinearTable, &table.payload) == 0, "the engine returns the dense table");
    return std::move(table->entries);
  }

  void Init() { Require(engine_->Init() == 0, "Init succeeds"); }

 private:
  zarn::BackLightNitsIntf* engine_;
  Holding<zarn::BlBackLight> in_;
  Holding<zarn::BlNitsValue> wanted_;
  Holding<zarn::BlNitsValue> out_;
};

}  // namespace bench
