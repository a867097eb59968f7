#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "panel.h"

namespace bench {

using Point = zarn::BlNitsPoint;
using NitsPoints = std::vector<Point>;
using Map = std::vector<double>;
using Guard = std::lock_guard<std::mutex>;

inline double OnLine(double x1, double y1, double x2, double y2, double x) {
  const double distance = x2 - x1;
  return y1 * ((x2 - x) / distance) + (x - x1) / distance * y2;
}

/// The `y` of the curve at `x` == `wanted`. Outside the points, the curve is the line through the origin and the
/// nearest point.
template <class X, class Y>
double Walk(const NitsPoints& points, X Point::*x, Y Point::*y, X wanted) {
  const size_t count = points.size();
  size_t i = 0;
  while (i < count && points[i].*x < wanted) {
    ++i;
  }
  if (i < count && points[i].*x == wanted) {
    return points[i].*y;
  }
  const double x1 = i > 0 ? points[i - 1].*x : 0.0;
  const double y1 = i > 0 ? points[i - 1].*y : 0.0;
  return i < count ? OnLine(x1, y1, points[i].*x, points[i].*y, wanted) : OnLine(x1, y1, 0.0, 0.0, wanted);
}

inline double NitsIn(const NitsPoints& points, uint32_t bl) { return Walk(points, &Point::bl, &Point::nits, bl); }
inline double NitsIn(const Map& map, uint32_t bl) { return map[bl]; }

inline double LevelIn(const NitsPoints& points, double nits) {
  return std::round(Walk(points, &Point::nits, &Point::bl, nits));
}

/// The index of the nearest element of the map.
inline uint32_t LevelIn(const Map& map, double nits) {
  const auto above = std::upper_bound(map.begin(), map.end(), nits);
  if (above == map.begin()) {
    return 0;
  }
  const bool below = above == map.end() || std::fabs(*(above - 1) - nits) <= std::fabs(*above - nits);
  return static_cast<uint32_t>(above - map.begin() - (below ? 1 : 0));
}

/// Combines the values at 10 % (`at(0)`) and at 100 % (`at(1)`) into the value at a coverage.
template <class At>
double AtCoverage(uint32_t percentage, At at) {
  if (percentage <= 10) {
    return at(0);
  }
  return percentage == 100 ? at(1) : OnLine(10.0, at(0), 100.0, at(1), percentage);
}

/// The answer from two tables or maps, for 10 % and 100 %. Not inlined, because the library's functions are not either.
template <class Tables>
[[gnu::noinline]] double NitsBy(const Tables& tables, const Request& request) {
  return AtCoverage(request.percentage, [&](int i) { return NitsIn(tables[i], request.bl); });
}

template <class Tables>
[[gnu::noinline]] uint32_t LevelBy(const Tables& tables, const Request& request) {
  return static_cast<uint32_t>(AtCoverage(request.percentage, [&](int i) { return LevelIn(tables[i], request.nits); }));
}

/// Appends pair by pair without reserving memory.
inline Levels DenseOf(const Levels& pairs) {
  Levels dense;
  for (size_t i = 0; i + 1 < pairs.size(); ++i) {
    const auto& [x1, y1] = pairs[i];
    const auto& [x2, y2] = pairs[i + 1];
    dense.push_back(pairs[i]);
    for (uint32_t level = x1 + 1; level < x2; ++level) {
      dense.emplace_back(level, static_cast<uint32_t>(std::round(OnLine(x1, y1, x2, y2, level))));
    }
  }
  dense.push_back(pairs.back());
  return dense;
}

/// Each operation without the library. *Bare*: the functions above over plain arrays. *Locks and copies*: the same with
/// the locks, allocations and copies that the interface requires.
class References {
 public:
  explicit References(const Panel& panel) : panel_(panel) {
    for (const auto& [bl, nits] : panel.calibration.standard_10) {
      points[0].push_back({bl, nits});
    }
    for (const auto& [bl, nits] : panel.calibration.standard_100) {
      points[1].push_back({bl, nits});
    }
    BareLuts();
  }

  void BareLuts() {
    for (int i = 0; i < 4; ++i) {
      FillMap(points[i % 2], &maps[i]);
    }
  }

  double NitsWithLocksAndCopies(const Request& request) {
    const Guard guard(engine_lock_);
    return NitsBy(Copies(this), request);
  }
  uint32_t LevelWithLocksAndCopies(const Request& request) {
    const Guard guard(engine_lock_);
    return LevelBy(Copies(this), request);
  }
  double MappedNitsWithLocksAndCopies(const Request& request) {
    const Guard guard(engine_lock_);
    return NitsBy(maps, request);
  }
  /// The bare binary search, under one lock.
  uint32_t LockedMappedLevel(const Request& request) {
    const Guard guard(engine_lock_);
    return LevelBy(maps, request);
  }
  Levels DenseWithLocksAndCopies() {
    const Guard guard(engine_lock_);
    const auto copy = std::make_unique<zarn::BLLinearTable>();
    {
      const Guard parser_guard(parser_lock_);
      copy->entries = panel_.calibration.linear;
    }
    return DenseOf(copy->entries);
  }
  void LutsWithLocksAndCopies() {
    const Guard guard(engine_lock_);
    for (int i = 0; i < 4; ++i) {
      FillMap(Copies(this)[i % 2], &maps[i]);
    }
  }

  /// The client level to which the dimming LUT maps level `vb`.
  uint32_t Dimmed(uint32_t vb) const {
    const auto panel_level = static_cast<uint32_t>(uint64_t{vb} * kMaxBl / panel_.max_os_bl);
    return static_cast<uint32_t>(uint64_t{std::min(panel_.dimming_lut[panel_level], kMaxBl)} * panel_.max_os_bl /
                                 kMaxBl);
  }

  NitsPoints points[2];  ///< At 10 and 100 %.
  Map maps[4];           ///< At 10 and 100 %, of standard operation and of high brightness.

 private:
  /// The copies of both tables that a conversion gets from the parser, even if it uses only one.
  class Copies {
   public:
    explicit Copies(References* from) {
      for (int i = 0; i < 2; ++i) {
        tables_[i] = std::make_unique<zarn::BackLightToNitsTable>();
        const Guard guard(from->parser_lock_);
        tables_[i]->points = from->points[i];
      }
    }
    const NitsPoints& operator[](int i) const { return tables_[i]->points; }

   private:
    std::unique_ptr<zarn::BackLightToNitsTable> tables_[2];
  };

  void FillMap(const NitsPoints& table, Map* map) const {
    map->resize(panel_.attenuation.size());
    for (uint32_t vb = 0; vb < map->size(); ++vb) {
      (*map)[vb] = NitsIn(table, Dimmed(vb)) * panel_.attenuation[vb];
    }
  }

  const Panel& panel_;
  std::mutex engine_lock_;
  std::mutex parser_lock_;
};

}  // namespace bench
