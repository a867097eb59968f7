#pragma once

#include <gsl/gsl_interp.h>

#include <mutex>
#include <vector>

#include "references.h"

namespace bench {

/// A curve for GSL's linear interpolation, with an accelerator that remembers where the last value was found. Between
/// the measured points only, whose x rise strictly.
class PeerCurve {
 public:
  PeerCurve(std::vector<double> x, std::vector<double> y);
  PeerCurve(const PeerCurve&) = delete;
  PeerCurve& operator=(const PeerCurve&) = delete;
  ~PeerCurve();

  double At(double x) const { return gsl_interp_eval(curve_, x_.data(), y_.data(), x, accelerator_); }

 private:
  std::vector<double> x_;
  std::vector<double> y_;
  gsl_interp* curve_;
  gsl_interp_accel* accelerator_;
};

/// The operations as somebody would build them with GSL: its curves, and one mutex around each call. Maps to levels are
/// not among them: a map has runs of equal luminances, which GSL refuses.
class Peer {
 public:
  explicit Peer(const References& references);

  double Nits(const Request& request);
  uint32_t Level(const Request& request);
  double MappedNits(const Request& request);
  void Dense(LinearPairs* dense);
  void Luts();

 private:
  const References& references_;
  std::mutex lock_;
  PeerCurve nits_10_;
  PeerCurve nits_100_;
  PeerCurve level_10_;
  PeerCurve level_100_;
  PeerCurve mapped_nits_10_;
  PeerCurve mapped_nits_100_;
  PeerCurve linear_;
  std::vector<double> maps_[4];
};

}  // namespace bench
