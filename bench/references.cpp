#include "references.h"

#include <algorithm>
#include <cmath>

namespace bench {
namespace {

double OnLine(double x1, double y1, double x2, double y2, double x) {
  const double distance = x2 - x1;
  return y1 * ((x2 - x) / distance) + (x - x1) / distance * y2;
}

/// The value at `wanted`, from `count` points that `x` and `y` give by their number.
template <class Wanted, class X, class Y>
double Walk(size_t count, Wanted wanted, X x, Y y) {
  size_t i = 0;
  while (i < count && x(i) < wanted) {
    ++i;
  }
  if (i < count && x(i) == wanted) {
    return y(i);
  }
  const double x1 = i > 0 ? x(i - 1) : 0.0;
  const double y1 = i > 0 ? y(i - 1) : 0.0;
  return i < count ? OnLine(x1, y1, x(i), y(i), wanted) : OnLine(x1, y1, 0.0, 0.0, wanted);
}

double NitsIn(const Columns& table, uint32_t bl) {
  return Walk(
      table.bl.size(), bl, [&](size_t i) { return table.bl[i]; }, [&](size_t i) { return table.nits[i]; });
}

double NitsIn(const std::vector<zarn::BlNitsPoint>& table, uint32_t bl) {
  return Walk(
      table.size(), bl, [&](size_t i) { return table[i].bl; }, [&](size_t i) { return table[i].nits; });
}

double NitsIn(const std::vector<double>& map, uint32_t bl) { return map[bl]; }

double LevelIn(const Columns& table, double nits) {
  return std::round(Walk(
      table.bl.size(), nits, [&](size_t i) { return table.nits[i]; }, [&](size_t i) { return table.bl[i]; }));
}

double LevelIn(const std::vector<zarn::BlNitsPoint>& table, double nits) {
  return std::round(Walk(
      table.size(), nits, [&](size_t i) { return table[i].nits; }, [&](size_t i) { return table[i].bl; }));
}

double LevelIn(const std::vector<double>& map, double nits) {
  const auto above = std::upper_bound(map.begin(), map.end(), nits);
  if (above == map.begin()) {
    return 0.0;
  }
  const bool below = above == map.end() || std::fabs(*(above - 1) - nits) <= std::fabs(*above - nits);
  return static_cast<double>(above - map.begin() - (below ? 1 : 0));
}

template <class At10, class At100>
double AtCoverage(uint32_t percentage, At10 at_10, At100 at_100) {
  if (percentage <= 10) {
    return at_10();
  }
  if (percentage == 100) {
    return at_100();
  }
  return OnLine(10.0, at_10(), 100.0, at_100(), percentage);
}

template <class Source>
double Nits(const Request& request, const Source& at_10, const Source& at_100) {
  return AtCoverage(
      request.percentage, [&] { return NitsIn(at_10, request.bl); }, [&] { return NitsIn(at_100, request.bl); });
}

template <class Source>
uint32_t Level(const Request& request, const Source& at_10, const Source& at_100) {
  return static_cast<uint32_t>(AtCoverage(
      request.percentage, [&] { return LevelIn(at_10, request.nits); }, [&] { return LevelIn(at_100, request.nits); }));
}

/// Pair after pair behind what is there, as a table grows that nobody has measured before.
void AppendDense(const Levels& pairs, LinearPairs* dense) {
  for (size_t i = 0; i + 1 < pairs.size(); ++i) {
    const auto& [x1, y1] = pairs[i];
    const auto& [x2, y2] = pairs[i + 1];
    dense->push_back(pairs[i]);
    for (uint32_t level = x1 + 1; level < x2; ++level) {
      dense->emplace_back(level, static_cast<uint32_t>(std::round(OnLine(x1, y1, x2, y2, level))));
    }
  }
  dense->push_back(pairs.back());
}

}  // namespace

References::References(const Panel& panel)
    : linear_(panel.calibration.linear),
      max_os_bl_(panel.max_os_bl),
      dimming_lut_(panel.dimming_lut),
      attenuation_(panel.attenuation) {
  for (const auto& [bl, nits] : panel.calibration.standard_10) {
    at_10_.bl.push_back(bl);
    at_10_.nits.push_back(nits);
    points_10_.push_back({bl, nits});
  }
  for (const auto& [bl, nits] : panel.calibration.standard_100) {
    at_100_.bl.push_back(bl);
    at_100_.nits.push_back(nits);
    points_100_.push_back({bl, nits});
  }
  BareLuts();
}

double References::BareNits(const Request& request) const { return Nits(request, at_10_, at_100_); }

uint32_t References::BareLevel(const Request& request) const { return Level(request, at_10_, at_100_); }

// Both requests to the parser, whichever table is then read.
References::Tables References::CopyTables() {
  Tables tables = {std::make_unique<Record>(), std::make_unique<Record>()};
  {
    const std::lock_guard<std::mutex> guard(parser_lock_);
    tables.at_10->points.insert(tables.at_10->points.end(), points_10_.begin(), points_10_.end());
  }
  {
    const std::lock_guard<std::mutex> guard(parser_lock_);
    tables.at_100->points.insert(tables.at_100->points.end(), points_100_.begin(), points_100_.end());
  }
  return tables;
}

double References::MandatedNits(const Request& request) {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  const Tables tables = CopyTables();
  return Nits(request, tables.at_10->points, tables.at_100->points);
}

uint32_t References::MandatedLevel(const Request& request) {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  const Tables tables = CopyTables();
  return Level(request, tables.at_10->points, tables.at_100->points);
}

double References::BareMappedNits(const Request& request) const { return Nits(request, maps_[0], maps_[1]); }

double References::MandatedMappedNits(const Request& request) {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  return BareMappedNits(request);
}

uint32_t References::LockedMappedLevel(const Request& request) {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  return Level(request, maps_[0], maps_[1]);
}

void References::BareDense(LinearPairs* dense) const { AppendDense(linear_, dense); }

void References::MandatedDense(LinearPairs* dense) {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  const auto copy = std::make_unique<zarn::BLLinearTable>();
  {
    const std::lock_guard<std::mutex> parser_guard(parser_lock_);
    copy->entries.insert(copy->entries.end(), linear_.begin(), linear_.end());
  }
  AppendDense(copy->entries, dense);
}

uint32_t References::Dimmed(uint32_t vb) const {
  const auto panel_level = static_cast<uint32_t>(uint64_t{vb} * kMaxBl / max_os_bl_);
  return static_cast<uint32_t>(uint64_t{std::min(dimming_lut_[panel_level], kMaxBl)} * max_os_bl_ / kMaxBl);
}

void References::BareLuts() {
  for (size_t map = 0; map < std::size(maps_); ++map) {
    maps_[map].resize(size_t{max_os_bl_} + 1);
    const Columns& table = map % 2 == 0 ? at_10_ : at_100_;
    for (uint32_t vb = 0; vb <= max_os_bl_; ++vb) {
      maps_[map][vb] = NitsIn(table, Dimmed(vb)) * attenuation_[vb];
    }
  }
}

void References::MandatedLuts() {
  const std::lock_guard<std::mutex> guard(engine_lock_);
  for (size_t map = 0; map < std::size(maps_); ++map) {
    const Tables tables = CopyTables();
    const Points& table = (map % 2 == 0 ? tables.at_10 : tables.at_100)->points;
    for (uint32_t vb = 0; vb <= max_os_bl_; ++vb) {
      maps_[map][vb] = NitsIn(table, Dimmed(vb)) * attenuation_[vb];
    }
  }
}

}  // namespace bench
