#include <algorithm>
#include <cmath>

#include "check/rules.h"

namespace blnits {
namespace {

/// One table with the lines of its points.
struct Measured {
  const MeasuredTable& table;
  std::vector<zarn::BlNitsPoint> points;
  std::vector<SourceValue> levels;
  std::vector<SourceValue> luminances;
  zarn::BLRange range;
  Panel* panel;
  Findings* findings;

  size_t Size() const { return points.size(); }
  bool IsFinite(size_t i) const { return std::isfinite(points[i].nits); }
};

void CheckOrder(const Measured& m) {
  for (size_t i = 1; i < m.Size(); ++i) {
    const auto& [before, nits_before] = m.points[i - 1];
    const auto& [level, nits] = m.points[i];
    if (level < before) {
      m.findings->Add(
          "level-order", m.levels[i].line,
          "{}: level {} follows {} (line {}): the device takes the first point that is not below the wanted "
          "level, so its answers there are garbage; sort the points by level",
          m.table.name, level, before, m.levels[i - 1].line);
    } else if (level == before) {
      m.findings->Add(
          "repeated-level", m.levels[i].line,
          "{}: level {} is there twice (line {}): the device answers {} nits at it, and goes on from {} nits "
          "above it; keep one of them",
          m.table.name, level, m.levels[i - 1].line, nits_before, nits);
    } else if (nits < nits_before) {
      m.findings->Add(
          "falling-luminance", m.luminances[i].line,
          "{}: luminance falls from {} nits at level {} (line {}) to {} nits at level {}: a brighter "
          "setting is darker, and luminances between the two get a wrong level; measure again, or repair it "
          "with blnits import --monotone",
          m.table.name, nits_before, before, m.luminances[i - 1].line, nits, level);
    }
  }
}

void CheckPlateaus(const Measured& m) {
  for (size_t start = 0, end = 0; start < m.Size(); start = end + 1) {
    end = start;
    while (end + 1 < m.Size() && m.points[end + 1].nits == m.points[start].nits &&
           m.points[end + 1].bl > m.points[end].bl) {
      ++end;
    }
    if (end > start) {
      m.findings->Add("plateau", m.luminances[start + 1].line,
                      "{}: {} nits at all of levels {} to {}: the device answers that luminance with level {}",
                      m.table.name, m.points[start].nits, m.points[start].bl, m.points[end].bl, m.points[start].bl);
    }
  }
}

// The walk stops at the first point that is not below the wanted level. A point that is not above all before it stops
// no walk, and one in front of such a point begins no line.
void CheckReach(const Measured& m) {
  uint32_t highest = 0;
  for (size_t i = 0; i + 1 < m.Size(); ++i) {
    const bool stops = i == 0 || m.points[i].bl > highest;
    highest = std::max(highest, m.points[i].bl);
    if (!stops && m.points[i + 1].bl <= highest) {
      m.findings->Add("unreachable-point", m.levels[i].line,
                      "{}: no level leads to this point ({}, {} nits), since a point before it has level {}; sort the "
                      "points by level, or remove it",
                      m.table.name, m.points[i].bl, m.points[i].nits, highest);
    }
  }
}

double Slope(const zarn::BlNitsPoint& from, const zarn::BlNitsPoint& to) {
  return (to.nits - from.nits) / (static_cast<double>(to.bl) - from.bl);
}

void CheckFirstLevel(const Measured& m) {
  const auto& first = m.points.front();
  if (first.bl == 0 || m.Size() < 2 || m.points[1].bl <= first.bl) {
    return;
  }
  m.findings->Add(
      "first-level", m.levels.front().line,
      "{}: the first level is {}; below it the device follows the line from the origin, {:.4g} nits a level, "
      "while the first two points have {:.4g}; measure lower levels if they matter",
      m.table.name, first.bl, Slope({0, 0.0}, first), Slope(first, m.points[1]));
}

void CheckLastLevel(const Measured& m) {
  const auto last = m.points.back();
  const uint32_t top = m.range.max_os_bl;
  const auto nits = m.panel->TryToNits(top, m.table.coverage, m.table.hdr);
  if (last.bl >= top || !nits) {
    return;
  }
  std::string before;
  if (m.Size() > 1 && m.points[m.Size() - 2].bl < last.bl) {
    const double slope = Slope(m.points[m.Size() - 2], last);
    before = fmt::format(", where the slope of the last two points would give {:.6g}",
                         last.nits + slope * (static_cast<double>(top) - last.bl));
  }
  m.findings->Add(
      "last-level", m.levels.back().line,
      "{}: the last level is {} of {}; above it the device follows the line from the origin through it: {:.6g} "
      "nits at level {}{}; measure level {}",
      m.table.name, last.bl, top, *nits, top, before, top);
}

void CheckRange(const Measured& m) {
  const uint32_t top = m.range.max_os_bl;
  const auto highest =
      std::max_element(m.points.begin(), m.points.end(), [](const auto& a, const auto& b) { return a.bl < b.bl; });
  const int line = m.levels[static_cast<size_t>(highest - m.points.begin())].line;
  if (top == 0) {
    return;
  }
  if (highest->bl / 2 >= top || (m.Size() > 1 && highest->bl <= top / 2)) {
    m.findings->Add(
        "scale", line,
        "{}: levels run to {}, max_os_bl is {}: these look like {}; measured levels are client levels, 0 to "
        "max_os_bl",
        m.table.name, highest->bl, top,
        highest->bl / 2 < top              ? "levels of another scale"
        : highest->bl / 2 < m.range.max_bl ? "panel levels"
                                           : "levels of another scale");
    return;
  }
  const auto beyond =
      std::count_if(m.points.begin(), m.points.end(), [&](const auto& point) { return point.bl > top; });
  if (beyond > 0) {
    m.findings->Add("beyond-range", line,
                    "{}: levels up to {} are measured ({} above max_os_bl {}), but the device refuses levels above "
                    "max_os_bl; raise it, or remove them",
                    m.table.name, highest->bl, beyond, top);
  }
}

// Falling and flat stretches have rules of their own.
void CheckSlopes(const Measured& m) {
  constexpr double kMostChange = 4.0;
  for (size_t i = 2; i < m.Size(); ++i) {
    const auto& a = m.points[i - 2];
    const auto& b = m.points[i - 1];
    const auto& c = m.points[i];
    if (a.bl >= b.bl || b.bl >= c.bl) {
      continue;
    }
    const double before = Slope(a, b);
    const double after = Slope(b, c);
    if (before > 0.0 && after > 0.0 && (after > kMostChange * before || before > kMostChange * after)) {
      m.findings->Add(
          "slope", m.luminances[i].line,
          "{}: the slope changes from {:.4g} to {:.4g} nits a level at level {} (line {}): one setting is "
          "{}; measure {} to {} again",
          m.table.name, before, after, b.bl, m.luminances[i - 1].line,
          after > before ? "suddenly much brighter than the one before" : "hardly brighter than the one before", a.bl,
          c.bl);
    }
  }
}

void CheckTable(const Measured& m, int list_line) {
  if (m.points.empty()) {
    m.findings->Add("empty-table", list_line,
                    "{}: the table has no points: the device refuses every conversion that needs it; add measurements",
                    m.table.name);
    return;
  }
  if (m.Size() == 1) {
    m.findings->Add(
        "single-point", m.levels.front().line,
        "{}: the only point is level {}, {} nits: the device draws a line from the origin through it; measure "
        "more levels",
        m.table.name, m.points.front().bl, m.points.front().nits);
  }
  CheckOrder(m);
  CheckPlateaus(m);
  CheckReach(m);
  CheckFirstLevel(m);
  CheckLastLevel(m);
  CheckRange(m);
  CheckSlopes(m);
}

}  // namespace

void CheckMeasuredTables(const CalibrationSource& source, Panel* panel, Findings* findings) {
  const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
  for (const MeasuredTable& table : kMeasuredTables) {
    CheckTable({table, PointsOf(panel, table), source.Values(LevelsOf(table)), source.Values(LuminancesOf(table)),
                range, panel, findings},
               source.LineOf(LevelsOf(table)));
  }
}

}  // namespace blnits
