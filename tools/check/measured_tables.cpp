#include <algorithm>
#include <cmath>
#include <optional>

#include "check/rules.h"
#include "figures/gsdf.h"

namespace blnits {
namespace {

/// The input of the rules for one table.
struct Measured {
  const Subject& subject;
  const TableInFile& table;
  Findings* findings;

  const std::vector<zarn::BlNitsPoint>& points = table.points;

  size_t Size() const { return points.size(); }

  /// The position of points `first` to `last`, with the line of `value`.
  TablePlace At(size_t first, size_t last, const SourceValue& value) const {
    return {table.table->name, points[first].bl, points[last].bl, value.line};
  }
};

void CheckFall(const Measured& m, size_t i) {
  constexpr double kNoise = 0.005;  // Relative noise of a luminance meter.
  const auto& [before, nits_before] = m.points[i - 1];
  const auto& [level, nits] = m.points[i];
  const TablePlace place = m.At(i - 1, i, m.table.luminances[i]);
  if (nits_before - nits < kNoise * nits_before) {
    m.findings->AddIn(RuleId::kMeterNoise, place,
                      "luminance falls from {} nits at level {} to {} nits at level {}, within a meter's noise: "
                      "the device reproduces the fall; repair it with blnits import --monotone",
                      nits_before, before, nits, level);
  } else {
    m.findings->AddIn(
        RuleId::kFallingLuminance, place,
        "luminance falls from {} nits at level {} to {} nits at level {}: a higher level is darker, "
        "and luminances between the two get a wrong level; measure again, or repair it with blnits import "
        "--monotone",
        nits_before, before, nits, level);
  }
}

void CheckOrder(const Measured& m) {
  for (size_t i = 1; i < m.Size(); ++i) {
    const auto& [before, nits_before] = m.points[i - 1];
    const auto& [level, nits] = m.points[i];
    const auto place = [&] { return m.At(i - 1, i, m.table.levels[i]); };
    if (level < before) {
      m.findings->AddIn(RuleId::kLevelOrder, place(),
                        "level {} follows {}: the device takes the first point at or above the wanted level, so its "
                        "answers there are garbage; sort the points by level",
                        level, before);
    } else if (level == before) {
      m.findings->AddIn(
          RuleId::kRepeatedLevel, place(),
          "level {} occurs twice: the device returns {} nits at it, and interpolates from {} nits above it; "
          "keep one of them",
          level, nits_before, nits);
    } else if (nits < nits_before) {
      CheckFall(m, i);
    }
  }
}

/// The first and last point of a stretch of rising levels.
struct Stretch {
  size_t first;
  size_t last;
};

/// Whether a stretch covers at least this share of the range: 1/32, 1/255.
bool Covers(const Measured& m, const Stretch& stretch, double share) {
  const double levels = static_cast<double>(m.points[stretch.last].bl) - m.points[stretch.first].bl;
  return stretch.last > stretch.first && levels >= share * m.subject.range.max_os_bl;
}

/// The stretches of at least 1/32 of the range over which luminance changes by less than 1 JND. Over such a stretch, even
/// a panel with a straight curve rises by more than 4 JND.
std::vector<Stretch> UnseenRises(const Measured& m) {
  constexpr double kShare = 1.0 / 32.0;
  std::vector<Stretch> found;
  std::vector<std::optional<double>> indices;
  indices.reserve(m.Size());
  size_t first = 0;
  const auto differ = [&](size_t i) { return std::abs(*indices[i] - *indices[first]) >= 1.0; };
  for (size_t i = 0; i < m.Size(); ++i) {
    indices.push_back(RoughJndIndexOfNits(m.points[i].nits));
    const bool ends = !indices[i] || (i > first && (m.points[i].bl <= m.points[i - 1].bl || !indices[first]));
    if (i > first && (ends || differ(i)) && Covers(m, {first, i - 1}, kShare)) {
      found.push_back({first, i - 1});
      first = i;
    }
    first = ends ? i : first;
    while (first < i && differ(i)) {
      ++first;
    }
  }
  if (m.Size() > 0 && Covers(m, {first, m.Size() - 1}, kShare)) {
    found.push_back({first, m.Size() - 1});
  }
  return found;
}

/// Stretches of one luminance, beside those `told`. Where JND are defined, only of at least 1/255 of the range: the
/// readings of a panel with more levels are rounded.
std::vector<Stretch> SameLuminances(const Measured& m, const std::vector<Stretch>& told) {
  std::vector<Stretch> found;
  auto known = told.begin();
  for (size_t start = 0, end = 0; start < m.Size(); start = end + 1) {
    end = start;
    while (end + 1 < m.Size() && m.points[end + 1].nits == m.points[start].nits &&
           m.points[end + 1].bl > m.points[end].bl) {
      ++end;
    }
    while (known != told.end() && known->last < start) {
      ++known;
    }
    const bool is_told = known != told.end() && known->first <= start;
    const auto share = [&] { return RoughJndIndexOfNits(m.points[start].nits) ? 1.0 / 255.0 : 0.0; };
    if (!is_told && end > start && Covers(m, {start, end}, share())) {
      found.push_back({start, end});
    }
  }
  return found;
}

void TellPlateau(const Measured& m, const Stretch& stretch) {
  const auto& [level, nits] = m.points[stretch.first];
  const auto& [last_level, last_nits] = m.points[stretch.last];
  const TablePlace place = m.At(stretch.first, stretch.last, m.table.luminances[stretch.first + 1]);
  const bool same = std::all_of(&m.points[stretch.first], &m.points[stretch.last] + 1,
                                [nits = nits](const auto& point) { return point.nits == nits; });
  if (same) {
    m.findings->AddIn(RuleId::kPlateau, place,
                      "levels {} to {} all have {} nits: the device converts {} nits to level {}; measure again unless "
                      "the panel limits its luminance there",
                      level, last_level, nits, nits, level);
  } else {
    m.findings->AddIn(RuleId::kPlateau, place,
                      "from level {} to {} the luminance changes by {:.1f} JND, from {} to {} nits: users see no "
                      "difference; measure again unless the panel limits its luminance there",
                      level, last_level, std::abs(*JndIndexOfNits(last_nits) - *JndIndexOfNits(nits)), nits, last_nits);
  }
}

void CheckPlateaus(const Measured& m) {
  const std::vector<Stretch> unseen = UnseenRises(m);
  for (const auto& plateaus : {unseen, SameLuminances(m, unseen)}) {
    for (const Stretch& plateau : plateaus) {
      TellPlateau(m, plateau);
    }
  }
}

// The device stops at the first point at or above the wanted level, so only at a point above all earlier ones. It
// interpolates from a point only if it can stop at the next.
void CheckReach(const Measured& m) {
  uint32_t highest = 0;
  for (size_t i = 0; i + 1 < m.Size(); ++i) {
    const bool stops = i == 0 || m.points[i].bl > highest;
    highest = std::max(highest, m.points[i].bl);
    if (!stops && m.points[i + 1].bl <= highest) {
      m.findings->AddIn(RuleId::kUnreachablePoint, m.At(i, i, m.table.levels[i]),
                        "the device never uses this point ({}, {} nits), since an earlier point has level {}; sort the "
                        "points by level, or remove it",
                        m.points[i].bl, m.points[i].nits, highest);
    }
  }
}

double Slope(const zarn::BlNitsPoint& from, const zarn::BlNitsPoint& to) {
  return (to.nits - from.nits) / (static_cast<double>(to.bl) - from.bl);
}

// Level 0 is dark by definition, so a table that begins at level 1 is complete.
void CheckFirstLevel(const Measured& m) {
  const auto& first = m.points.front();
  if (first.bl <= 1 || m.Size() < 2 || m.points[1].bl <= first.bl) {
    return;
  }
  m.findings->AddIn(RuleId::kFirstLevel, m.At(0, 0, m.table.levels.front()),
                    "the first level is {}: below it the device follows the line from the origin, {:.4g} nits a level, "
                    "but the slope of the first two points is {:.4g}; measure lower levels if they matter",
                    first.bl, Slope({0, 0.0}, first), Slope(first, m.points[1]));
}

void CheckLastLevel(const Measured& m) {
  const auto& last = m.points.back();
  const uint32_t top = m.subject.range.max_os_bl;
  const auto nits = m.subject.panel->TryToNits(top, m.table.table->coverage, m.table.table->hdr);
  if (m.Size() < 2 || last.bl >= top || !nits) {
    return;
  }
  std::string slope;
  if (m.points[m.Size() - 2].bl < last.bl) {
    const double rise = Slope(m.points[m.Size() - 2], last) * (static_cast<double>(top) - last.bl);
    slope = fmt::format(", but the slope of the last two points leads to {:.6g}", last.nits + rise);
  }
  m.findings->AddIn(
      RuleId::kLastLevel, m.At(m.Size() - 1, m.Size() - 1, m.table.levels.back()),
      "the last level is {}, but max_os_bl is {}: above it the device follows the line from the origin, to "
      "{:.6g} nits at level {}{}; measure level {}",
      last.bl, top, *nits, top, slope, top);
}

/// \return whether the levels seem to belong to another scale.
bool CheckScale(const Measured& m, size_t highest) {
  const uint32_t top = m.subject.range.max_os_bl;
  const uint32_t level = m.points[highest].bl;
  const bool above = level / 2 >= top;
  if (!above && (m.Size() == 1 || level > top / 2)) {
    return false;
  }
  m.findings->AddIn(
      RuleId::kScale, m.At(highest, highest, m.table.levels[highest]),
      "levels run to {}, but max_os_bl is {}: these look like {}, but the device uses them as client levels; give "
      "client levels, 0 to max_os_bl",
      level, top, above && level / 2 < m.subject.range.max_bl ? "panel levels" : "levels of another scale");
  return true;
}

void CheckRange(const Measured& m) {
  const uint32_t top = m.subject.range.max_os_bl;
  const auto beyond =
      std::count_if(m.points.begin(), m.points.end(), [&](const auto& point) { return point.bl > top; });
  const auto highest = static_cast<size_t>(
      std::max_element(m.points.begin(), m.points.end(), [](const auto& a, const auto& b) { return a.bl < b.bl; }) -
      m.points.begin());
  if (top == 0 || CheckScale(m, highest)) {
    return;
  }
  CheckLastLevel(m);
  if (beyond > 0) {
    m.findings->AddIn(
        RuleId::kBeyondRange, m.At(highest, highest, m.table.levels[highest]),
        "levels are measured up to {}, but max_os_bl is {} (points above it: {}): the device refuses levels above "
        "max_os_bl; raise it, or remove the points",
        m.points[highest].bl, top, beyond);
  }
}

// The device interpolates linearly between two points. A panel's curve bends over so long a stretch.
void CheckGaps(const Measured& m) {
  constexpr double kMostTimes = 4.0;
  constexpr double kDark = 1.0;  // In nits. Below this, a meter is slow and points are few.
  if (!std::is_sorted(m.points.begin(), m.points.end(), [](const auto& a, const auto& b) { return a.bl < b.bl; })) {
    return;
  }
  for (size_t i = 1; i < m.Size(); ++i) {
    const auto& [before, nits_before] = m.points[i - 1];
    const auto& [level, nits] = m.points[i];
    if (level > before && level - before > 1 && nits_before > kDark && nits > kMostTimes * nits_before) {
      m.findings->AddIn(
          RuleId::kCoarse, m.At(i - 1, i, m.table.luminances[i]),
          "no level is measured between {} ({} nits) and {} ({} nits), {:.3g} times as bright: the device "
          "follows a straight line there; measure levels between them",
          before, nits_before, level, nits, nits / nits_before);
    }
  }
}

/// A point at which the slope changes by more than kMostChange.
struct Knee {
  size_t point;
  double before;
  double after;

  bool Rises() const { return after > before; }
};

constexpr double kMostChange = 4.0;

bool IsFarFrom(double a, double b) { return a > kMostChange * b || b > kMostChange * a; }

// Skips falling and flat stretches: other rules report them.
std::vector<Knee> KneesOf(const Measured& m) {
  std::vector<Knee> knees;
  for (size_t i = 1; i + 1 < m.Size(); ++i) {
    const auto& a = m.points[i - 1];
    const auto& b = m.points[i];
    const auto& c = m.points[i + 1];
    if (a.bl >= b.bl || b.bl >= c.bl) {
      continue;
    }
    const Knee knee = {i, Slope(a, b), Slope(b, c)};
    if (knee.before > 0.0 && knee.after > 0.0 && IsFarFrom(knee.before, knee.after)) {
      knees.push_back(knee);
    }
  }
  return knees;
}

void TellSpike(const Measured& m, const Knee& into, const Knee& out) {
  const auto& first = m.points[into.point];
  const auto& last = m.points[out.point];
  m.findings->AddIn(
      RuleId::kSlope, m.At(into.point, out.point, m.table.luminances[into.point + 1]),
      "the slope from level {} to {} is {:.4g} nits a level, {:.4g} before and {:.4g} after: luminance steps there "
      "{}; measure {} to {} again",
      first.bl, last.bl, Slope(first, last), into.before, out.after,
      into.Rises() ? "are much larger than beside them" : "are much smaller than beside them",
      m.points[into.point - 1].bl, m.points[out.point + 1].bl);
}

void TellKnee(const Measured& m, const Knee& knee) {
  m.findings->AddIn(
      RuleId::kSlope, m.At(knee.point, knee.point, m.table.luminances[knee.point + 1]),
      "the slope changes from {:.4g} to {:.4g} nits a level at level {}: luminance steps above it {}; measure "
      "{} to {} again",
      knee.before, knee.after, m.points[knee.point].bl,
      knee.Rises() ? "are much larger than below it" : "are much smaller than below it", m.points[knee.point - 1].bl,
      m.points[knee.point + 1].bl);
}

// If the slope returns to its earlier value after a stretch, the whole stretch is one finding.
void CheckSlopes(const Measured& m) {
  const std::vector<Knee> knees = KneesOf(m);
  for (size_t i = 0; i < knees.size(); ++i) {
    const bool returns = i + 1 < knees.size() && knees[i + 1].Rises() != knees[i].Rises() &&
                         !IsFarFrom(knees[i].before, knees[i + 1].after);
    if (returns) {
      TellSpike(m, knees[i], knees[i + 1]);
      ++i;
    } else {
      TellKnee(m, knees[i]);
    }
  }
}

void CheckTable(const Measured& m) {
  if (m.points.empty()) {
    m.findings->AddIn(RuleId::kEmptyTable, {m.table.table->name, 0, 0, m.table.line},
                      "the table has no points: the device refuses every conversion that needs it; add measurements");
    return;
  }
  if (m.Size() == 1) {
    m.findings->AddIn(
        RuleId::kSinglePoint, m.At(0, 0, m.table.levels.front()),
        "the only point is level {}, {} nits: the device follows the line from the origin through this point; "
        "measure more levels",
        m.points.front().bl, m.points.front().nits);
  }
  CheckOrder(m);
  CheckPlateaus(m);
  CheckReach(m);
  CheckFirstLevel(m);
  CheckRange(m);
  CheckGaps(m);
  CheckSlopes(m);
}

}  // namespace

void CheckMeasuredTables(const Subject& subject, Findings* findings) {
  for (const TableInFile& table : subject.tables) {
    if (!table.has_fractions) {
      CheckTable({subject, table, findings});
    }
  }
}

}  // namespace blnits
