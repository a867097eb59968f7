#include <algorithm>
#include <cmath>

#include "check/rules.h"

namespace blnits {
namespace {

using Levels = std::vector<uint32_t>;

/// Finds lines for levels.
class Lines {
 public:
  Lines(const CalibrationSource& source, Panel* panel) {
    for (const MeasuredTable& table : kMeasuredTables) {
      tables_.push_back({table, PointsOf(panel, table), source.Values(LuminancesOf(table))});
    }
  }

  /// The line of the point at or next below `level`, else of the first, in the table that belongs to the curve.
  int At(const Curve& curve, uint32_t level) const {
    const Table& table = Of(curve.hdr, curve.coverage);
    const auto above = std::find_if(table.points.begin(), table.points.end(),
                                    [&](const zarn::BlNitsPoint& point) { return point.bl > level; });
    const auto count = static_cast<size_t>(above - table.points.begin());
    return table.values.at(count == 0 ? 0 : count - 1).line;
  }

  /// Whether every table that the curve needs has points.
  bool Exist(const Curve& curve) const {
    return !Of(curve.hdr, curve.coverage).points.empty() &&
           (curve.coverage == 100 || !Of(curve.hdr, 10).points.empty());
  }

 private:
  struct Table {
    const MeasuredTable& table;
    std::vector<zarn::BlNitsPoint> points;
    std::vector<SourceValue> values;
  };

  const Table& Of(bool hdr, uint32_t coverage) const {
    return *std::find_if(tables_.begin(), tables_.end(), [&](const Table& each) {
      return each.table.hdr == hdr && (each.table.coverage == 10) == (coverage <= 10);
    });
  }

  std::vector<Table> tables_;
};

std::string Span(uint32_t first, uint32_t last) {
  return first == last ? fmt::format("level {}", first) : fmt::format("levels {} to {}", first, last);
}

void CheckLevels(const Curve& curve, const Levels& levels, const Lines& lines, Panel* panel, CapturedLog* log,
                 Findings* findings) {
  const auto garbage = [&](size_t i) { return !std::isfinite(curve.nits[i]) || curve.nits[i] < 0.0; };
  ForEachRun(levels.size(), garbage, [&](size_t first, size_t last) {
    const auto nits = panel->TryToNits(levels[first], curve.coverage, curve.hdr);
    const std::string answer = nits ? fmt::format("the first has {} nits", *nits) : "refused, " + log->Reason();
    findings->Add("request", lines.At(curve, levels[first]), "{}: {}: {}; measure them", NameOf(curve),
                  Span(levels[first], levels[last]), answer);
  });
}

// From dark to the top of the curve.
void CheckLuminances(const Curve& curve, const Levels& levels, const Lines& lines, Panel* panel, CapturedLog* log,
                     Findings* findings) {
  constexpr int kSteps = 256;
  double top = 0.0;
  for (const double nits : curve.nits) {
    top = std::isfinite(nits) ? std::max(top, nits) : top;
  }
  for (int step = 0; step <= kSteps; ++step) {
    const double nits = top * step / kSteps;
    if (!panel->TryToLevel(nits, curve.coverage, curve.hdr)) {
      findings->Add("request", lines.At(curve, levels.back()),
                    "{}: {:.6g} of up to {:.6g} nits have no level: {}; measure more levels", NameOf(curve), nits, top,
                    log->Reason());
      return;
    }
  }
}

void CheckJumps(const Curve& curve, const Levels& levels, const Lines& lines, Findings* findings) {
  constexpr double kVisible = 0.25;
  const auto ratio = [&](size_t i) { return curve.nits[i + 1] / curve.nits[i] - 1.0; };
  const auto jumps = [&](size_t i) {
    return levels[i] >= kFirstJumpLevel && levels[i + 1] == levels[i] + 1 && curve.nits[i] > 0.0 && ratio(i) > kVisible;
  };
  ForEachRun(levels.size() - 1, jumps, [&](size_t first, size_t last) {
    findings->Add(
        "jump", lines.At(curve, levels[first]),
        "{}: from level {} to {} the luminance jumps by {:.1f} %, from {:.6g} to {:.6g} nits{}; users see the "
        "step, measure there again",
        NameOf(curve), levels[first], levels[first] + 1, 100.0 * ratio(first), curve.nits[first], curve.nits[first + 1],
        last > first ? fmt::format(", and so on up to level {}", levels[last] + 1) : "");
  });
}

// By more than one per cent: measurements have that much noise.
void CheckDarker(const char* rule, const Curve& curve, const Curve& darker, const char* remedy, const Levels& levels,
                 const Lines& lines, Findings* findings) {
  const auto wrong = [&](size_t i) { return darker.nits[i] > 0.0 && curve.nits[i] < 0.99 * darker.nits[i]; };
  ForEachRun(levels.size(), wrong, [&](size_t first, size_t last) {
    const auto share = [&](size_t i) { return curve.nits[i] / darker.nits[i]; };
    size_t worst = first;
    for (size_t i = first; i <= last; ++i) {
      worst = share(i) < share(worst) ? i : worst;
    }
    findings->Add(rule, lines.At(curve, levels[worst]),
                  "{} is darker than {} at {}: {:.6g} instead of {:.6g} nits at "
                  "level {}; {}",
                  NameOf(curve), NameOf(darker), Span(levels[first], levels[last]), curve.nits[worst],
                  darker.nits[worst], levels[worst], remedy);
  });
}

}  // namespace

void CheckConversions(const CalibrationSource& source, Panel* panel, CapturedLog* log, Findings* findings) {
  const Lines lines(source, panel);
  const Levels levels = SurveyLevels(panel);
  const std::vector<Curve> curves = SurveyCurves(panel, {10, 55, 100}, levels);
  for (const Curve& curve : curves) {
    if (lines.Exist(curve)) {
      CheckLevels(curve, levels, lines, panel, log, findings);
      CheckLuminances(curve, levels, lines, panel, log, findings);
      CheckJumps(curve, levels, lines, findings);
    }
  }
  for (const size_t standard : {0U, 2U}) {
    CheckDarker("dark-hbm", curves[standard + 3], curves[standard], "were the two exchanged?", levels, lines, findings);
  }
  for (const size_t tenth : {0U, 3U}) {
    CheckDarker("dark-window", curves[tenth], curves[tenth + 2], "were nits_10 and nits_100 exchanged?", levels, lines,
                findings);
  }
}

}  // namespace blnits
