#pragma once

#include <gsl/gsl_interp.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <numeric>
#include <utility>
#include <vector>

#include "references.h"

namespace bench {

/// A curve by GSL's linear interpolation, with an accelerator that remembers the place of the last value. It covers
/// only the range of the measured points, whose x must rise strictly.
class PeerCurve {
 public:
  PeerCurve(std::vector<double> x, std::vector<double> y)
      : x_(std::move(x)),
        y_(std::move(y)),
        curve_(gsl_interp_alloc(gsl_interp_linear, x_.size())),
        accelerator_(gsl_interp_accel_alloc()) {
    gsl_interp_init(curve_.get(), x_.data(), y_.data(), x_.size());
  }
  double At(double x) const { return gsl_interp_eval(curve_.get(), x_.data(), y_.data(), x, accelerator_.get()); }

 private:
  struct Free {
    void operator()(gsl_interp* curve) const { gsl_interp_free(curve); }
    void operator()(gsl_interp_accel* accelerator) const { gsl_interp_accel_free(accelerator); }
  };
  std::vector<double> x_;
  std::vector<double> y_;
  std::unique_ptr<gsl_interp, Free> curve_;
  std::unique_ptr<gsl_interp_accel, Free> accelerator_;
};

/// The operations as a client could build them with GSL: its curves, with one mutex around each call. There is no
/// conversion by maps from nits to level: a map has runs of equal luminances, which GSL refuses.
class Peer {
 public:
  Peer(const Panel& panel, const References& references) : panel_(panel), references_(references) {
    std::vector<double> x;
    std::vector<double> y;
    for (const auto& [level, linear] : panel.calibration.linear) {
      x.push_back(level);
      y.push_back(linear);
    }
    linear_ = std::make_unique<PeerCurve>(x, y);
    for (const int coverage : {0, 1}) {
      x.clear();
      y.clear();
      for (const auto& [bl, nits] : references.points[coverage]) {
        x.push_back(bl);
        y.push_back(nits);
      }
      nits_.emplace_back(x, y);
      levels_.emplace_back(y, x);
      x.resize(references.maps[coverage].size());
      std::iota(x.begin(), x.end(), 0.0);
      mapped_nits_.emplace_back(x, references.maps[coverage]);
    }
  }

  double Nits(const Request& request) { return At(nits_, request.percentage, request.bl); }
  double MappedNits(const Request& request) { return At(mapped_nits_, request.percentage, request.bl); }
  uint32_t Level(const Request& request) {
    return static_cast<uint32_t>(std::round(At(levels_, request.percentage, request.nits)));
  }
  Levels Dense() {
    const Guard guard(lock_);
    Levels dense;
    dense.reserve(kMaxBl + 1);
    for (uint32_t level = 0; level <= kMaxBl; ++level) {
      dense.emplace_back(level, static_cast<uint32_t>(std::round(linear_->At(level))));
    }
    return dense;
  }
  void Luts() {
    const Guard guard(lock_);
    for (size_t i = 0; i < 4; ++i) {
      maps_[i].resize(panel_.attenuation.size());
      for (uint32_t vb = 0; vb < maps_[i].size(); ++vb) {
        // The measured points begin at level 1.
        maps_[i][vb] = nits_[i % 2].At(std::max(references_.Dimmed(vb), 1U)) * panel_.attenuation[vb];
      }
    }
  }

 private:
  double At(const std::vector<PeerCurve>& curves, uint32_t percentage, double x) {
    const Guard guard(lock_);
    return AtCoverage(percentage, [&](size_t i) { return curves[i].At(x); });
  }

  const Panel& panel_;
  const References& references_;
  std::mutex lock_;
  std::unique_ptr<PeerCurve> linear_;
  std::vector<PeerCurve> nits_;  ///< At 10 and 100 %, as in the next two members.
  std::vector<PeerCurve> levels_;
  std::vector<PeerCurve> mapped_nits_;
  Map maps_[4];
};

}  // namespace bench
