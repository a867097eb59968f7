#include "peer.h"

#include <algorithm>
#include <cmath>

namespace bench {
namespace {

std::vector<double> Doubles(const std::vector<uint32_t>& numbers) { return {numbers.begin(), numbers.end()}; }

std::vector<double> LevelsOf(const std::vector<double>& map) {
  std::vector<double> levels(map.size());
  for (size_t i = 0; i < levels.size(); ++i) {
    levels[i] = static_cast<double>(i);
  }
  return levels;
}

std::vector<double> Firsts(const Levels& pairs) {
  std::vector<double> firsts;
  for (const auto& pair : pairs) {
    firsts.push_back(pair.first);
  }
  return firsts;
}

std::vector<double> Seconds(const Levels& pairs) {
  std::vector<double> seconds;
  for (const auto& pair : pairs) {
    seconds.push_back(pair.second);
  }
  return seconds;
}

/// The value at a coverage, from the curves of 10 and 100 %.
template <class Wanted>
double AtCoverage(uint32_t percentage, const PeerCurve& at_10, const PeerCurve& at_100, Wanted wanted) {
  if (percentage <= 10) {
    return at_10.At(wanted);
  }
  if (percentage == 100) {
    return at_100.At(wanted);
  }
  const double share = (percentage - 10.0) / 90.0;
  return at_10.At(wanted) * (1.0 - share) + at_100.At(wanted) * share;
}

}  // namespace

PeerCurve::PeerCurve(std::vector<double> x, std::vector<double> y)
    : x_(std::move(x)),
      y_(std::move(y)),
      curve_(gsl_interp_alloc(gsl_interp_linear, x_.size())),
      accelerator_(gsl_interp_accel_alloc()) {
  gsl_interp_init(curve_, x_.data(), y_.data(), x_.size());
}

PeerCurve::~PeerCurve() {
  gsl_interp_accel_free(accelerator_);
  gsl_interp_free(curve_);
}

Peer::Peer(const References& references)
    : references_(references),
      nits_10_(Doubles(references.At10().bl), references.At10().nits),
      nits_100_(Doubles(references.At100().bl), references.At100().nits),
      level_10_(references.At10().nits, Doubles(references.At10().bl)),
      level_100_(references.At100().nits, Doubles(references.At100().bl)),
      mapped_nits_10_(LevelsOf(references.Map10()), references.Map10()),
      mapped_nits_100_(LevelsOf(references.Map100()), references.Map100()),
      linear_(Firsts(references.Linear()), Seconds(references.Linear())) {
  for (auto& map : maps_) {
    map.resize(size_t{references.MaxOsBl()} + 1);
  }
}

double Peer::Nits(const Request& request) {
  const std::lock_guard<std::mutex> guard(lock_);
  return AtCoverage(request.percentage, nits_10_, nits_100_, request.bl);
}

uint32_t Peer::Level(const Request& request) {
  const std::lock_guard<std::mutex> guard(lock_);
  return static_cast<uint32_t>(std::round(AtCoverage(request.percentage, level_10_, level_100_, request.nits)));
}

double Peer::MappedNits(const Request& request) {
  const std::lock_guard<std::mutex> guard(lock_);
  return AtCoverage(request.percentage, mapped_nits_10_, mapped_nits_100_, request.bl);
}

void Peer::Dense(LinearPairs* dense) {
  const std::lock_guard<std::mutex> guard(lock_);
  const uint32_t last = references_.Linear().back().first;
  dense->reserve(size_t{last} + 1);
  for (uint32_t level = 0; level <= last; ++level) {
    dense->emplace_back(level, static_cast<uint32_t>(std::round(linear_.At(level))));
  }
}

void Peer::Luts() {
  const std::lock_guard<std::mutex> guard(lock_);
  for (size_t map = 0; map < std::size(maps_); ++map) {
    const PeerCurve& curve = map % 2 == 0 ? nits_10_ : nits_100_;
    for (uint32_t vb = 0; vb < maps_[map].size(); ++vb) {
      // The measured points begin at level 1.
      maps_[map][vb] = curve.At(std::max(references_.Dimmed(vb), 1U)) * references_.Attenuation(vb);
    }
  }
}

}  // namespace bench
