#include "lots/unit.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "figures/gsdf.h"
#include "foreign_text.h"
#include "panel/survey.h"

namespace blnits {
namespace {

std::vector<uint32_t> PanelLevelsOf(Panel* panel) {
  std::vector<uint32_t> levels;
  for (const auto& entry : panel->Get<zarn::BLLinearTable>(zarn::kBLLinearTable).entries) {
    levels.push_back(entry.second);
  }
  return levels;
}

std::vector<uint32_t> MeasuredLevels(Panel* panel, const MeasuredTable& table, uint32_t last) {
  std::vector<uint32_t> levels;
  for (const auto& point : panel->PointsOf(table)) {
    if (point.bl <= last) {
      levels.push_back(point.bl);
    }
  }
  std::sort(levels.begin(), levels.end());
  levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
  if (levels.size() <= LotShape::kUsualLevels) {
    return levels;
  }
  std::vector<uint32_t> thinned;
  for (size_t i = 0; i < LotShape::kUsualLevels; ++i) {
    thinned.push_back(levels[i * (levels.size() - 1) / (LotShape::kUsualLevels - 1)]);
  }
  return thinned;
}

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
  throw Failure(fmt::format("{}: {}", Printable(path), reason));
}

bool IsSame(const zarn::BLRange& a, const zarn::BLRange& b) {
  return a.minimum_bl == b.minimum_bl && a.max_bl == b.max_bl && a.max_os_bl == b.max_os_bl;
}

void CheckRange(const std::string& path, const zarn::BLRange& found, const zarn::BLRange& expected) {
  const auto words = [](const zarn::BLRange& range) {
    return fmt::format("minimum_bl {}, max_bl {}, max_os_bl {}", range.minimum_bl, range.max_bl, range.max_os_bl);
  };
  if (!IsSame(found, expected)) {
    Refuse(path, fmt::format("found {}, expected the lot's {}", words(found), words(expected)));
  }
}

constexpr double kMost = 1e9;  // Far above what any panel has, sums would overflow.

// A negative luminance has no bucket.
void CheckLuminances(const std::string& path, const MeasuredTable& table, const std::vector<uint32_t>& levels,
                     const std::vector<double>& nits) {
  for (size_t i = 0; i < nits.size(); ++i) {
    if (std::isnan(nits[i])) {
      Refuse(path, fmt::format("{}: the device refuses level {}", table.name, levels[i]));
    }
    if (!(nits[i] >= 0.0 && nits[i] <= kMost)) {
      Refuse(path,
             fmt::format("{}: found {} nits at level {}, expected 0 to {}", table.name, nits[i], levels[i], kMost));
    }
  }
}

std::vector<double> JndOf(const std::vector<double>& nits) {
  std::vector<double> indices(nits.size());
  std::transform(nits.begin(), nits.end(), indices.begin(), [](double each) {
    return RoughJndIndexOfNits(each).value_or(std::numeric_limits<double>::quiet_NaN());
  });
  return indices;
}

}  // namespace

const char* DifferenceOf(const LotShape& a, const LotShape& b) {
  return !IsSame(a.range, b.range)            ? "backlight ranges"
         : a.linear_levels != b.linear_levels ? "lengths of the linear tables"
         : a.levels != b.levels               ? "levels; give --levels to all of them"
                                              : nullptr;
}

LotShape ShapeOf(Panel* panel, const std::vector<uint32_t>& levels) {
  LotShape shape = {panel->Get<zarn::BLRange>(zarn::kBLRange), PanelLevelsOf(panel).size(), {}};
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    shape.levels[i] = levels.empty() ? MeasuredLevels(panel, kMeasuredTables[i], shape.range.max_os_bl) : levels;
    std::sort(shape.levels[i].begin(), shape.levels[i].end());
    if (!levels.empty() && shape.levels[i].back() > shape.range.max_os_bl) {
      Refuse(panel->File(), fmt::format("found level {} in --levels, expected levels up to max_os_bl, {}",
                                        shape.levels[i].back(), shape.range.max_os_bl));
    }
  }
  return shape;
}

Unit ReadUnit(const std::string& path, const LotShape& shape, CapturedLog* log) {
  Panel panel = Panel::FromFile(path, log);
  CheckRange(path, panel.Get<zarn::BLRange>(zarn::kBLRange), shape.range);
  Unit unit = {path, panel.Get(zarn::format::kGamma), panel.Get(zarn::format::kPccThresh), PanelLevelsOf(&panel), {},
               {}};
  if (unit.panel_levels.size() != shape.linear_levels) {
    Refuse(path, fmt::format("found {} linearized levels, expected the lot's {}", unit.panel_levels.size(),
                             shape.linear_levels));
  }
  for (const double number : {unit.gamma, unit.pcc_thresh}) {
    if (!(std::abs(number) <= kMost)) {
      Refuse(path,
             fmt::format("found gamma {} and pcc_thresh {}, expected finite numbers", unit.gamma, unit.pcc_thresh));
    }
  }
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    const MeasuredTable& table = kMeasuredTables[i];
    unit.nits[i] = panel.TryToNits(shape.levels[i], table.coverage, table.hdr);
    CheckLuminances(path, table, shape.levels[i], unit.nits[i]);
    unit.jnd[i] = JndOf(unit.nits[i]);
  }
  return unit;
}

}  // namespace blnits
