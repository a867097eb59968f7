#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "panel.h"

namespace bench {

using LinearPairs = std::vector<std::pair<uint32_t, uint32_t>>;

/// A measured table in plain arrays.
struct Columns {
  std::vector<uint32_t> bl;
  std::vector<double> nits;
};

/// What an operation would cost without the library: *bare*, its arithmetic in a plain function over plain arrays; and
/// *mandated*, the same with the locks, allocations and copies that the interface requires.
class References {
 public:
  explicit References(const Panel& panel);

  double BareNits(const Request& request) const;
  double MandatedNits(const Request& request);
  uint32_t BareLevel(const Request& request) const;
  uint32_t MandatedLevel(const Request& request);

  // By the maps that LUTs make.
  double BareMappedNits(const Request& request) const;
  double MandatedMappedNits(const Request& request);
  uint32_t LockedMappedLevel(const Request& request);  ///< The bare binary search under one lock.

  void BareDense(LinearPairs* dense) const;
  void MandatedDense(LinearPairs* dense);

  void BareLuts();
  void MandatedLuts();

  const Columns& At10() const { return at_10_; }
  const Columns& At100() const { return at_100_; }
  const std::vector<double>& Map10() const { return maps_[0]; }
  const std::vector<double>& Map100() const { return maps_[1]; }
  /// The client level that the dimming LUT makes of `vb`.
  uint32_t Dimmed(uint32_t vb) const;
  double Attenuation(uint32_t vb) const { return attenuation_[vb]; }
  uint32_t MaxOsBl() const { return max_os_bl_; }
  const Levels& Linear() const { return linear_; }

 private:
  /// A table as the library holds it.
  using Points = std::vector<zarn::BlNitsPoint>;
  struct Record {
    uint32_t size;
    uint32_t percentage;
    Points points;
  };
  struct Tables {
    std::unique_ptr<Record> at_10;
    std::unique_ptr<Record> at_100;
  };
  Tables CopyTables();

  Columns at_10_;
  Columns at_100_;
  Points points_10_;
  Points points_100_;
  Levels linear_;
  uint32_t max_os_bl_;
  std::vector<uint32_t> dimming_lut_;
  std::vector<double> attenuation_;
  std::vector<double> maps_[4];
  std::mutex engine_lock_;
  std::mutex parser_lock_;
};

}  // namespace bench
