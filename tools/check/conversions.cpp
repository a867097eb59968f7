#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>

#include "check/rules.h"
#include "figures/gsdf.h"

namespace blnits {
namespace {

using Levels = std::vector<uint32_t>;

/// Finds lines for levels in one table.
class Lines {
 public:
  explicit Lines(const TableInFile& table) : table_(table) {
    for (const auto& point : table.points) {
      highest_.push_back(highest_.empty() ? point.bl : std::max(highest_.back(), point.bl));
    }
  }

  const TableInFile& Table() const { return table_; }

  /// The line of the last point before the first point above `level`. If the first point is above it: that point's
  /// line.
  int At(uint32_t level) const {
    const auto above = std::upper_bound(highest_.begin(), highest_.end(), level);
    const auto count = static_cast<size_t>(above - highest_.begin());
    return table_.luminances.at(count == 0 ? 0 : count - 1).line;
  }

 private:
  const TableInFile& table_;
  std::vector<uint32_t> highest_;  // For each point, the highest level up to and including it.
};

/// The luminances of one operation at one coverage.
struct Served {
  Curve curve;
  std::string name;
  const Lines* lines;  ///< Lines of the table that the curve belongs to.
  bool is_checked;     ///< Whether every table of the curve has points, and no levels that are fractions.

  TablePlace At(uint32_t first, uint32_t last, uint32_t line_of) const {
    return {name, first, last, lines->At(line_of)};
  }
};

/// The curves that all rules of this group examine.
struct Survey {
  const Subject& subject;
  Levels levels;
  std::vector<Lines> lines;
  std::vector<Served> curves;  ///< In the order of the file; the curve at 55 % precedes the one of the full screen.
  CapturedLog* log;
  Findings* findings;

  const Served& Of(bool hdr, uint32_t coverage) const {
    return *std::find_if(curves.begin(), curves.end(),
                         [&](const Served& each) { return each.curve.hdr == hdr && each.curve.coverage == coverage; });
  }
};

/// How many client levels one step of an 8-bit range spans: 1/255 of the range, at least 1.
uint32_t StepOf(const Subject& subject) {
  return std::max<uint32_t>(1, static_cast<uint32_t>(std::lround(subject.range.max_os_bl / 255.0)));
}

/// Adds levels so that each level of the survey has another one a step above it and below it. Between survey levels a
/// curve is straight, so its relative steps are largest at the ends.
Levels WithSteps(const Levels& levels, uint32_t step) {
  Levels more = {levels.front()};
  for (size_t i = 1; i < levels.size(); ++i) {
    const uint32_t gap = levels[i] - levels[i - 1];
    if (gap > step) {
      more.push_back(levels[i - 1] + step);
    }
    if (gap > step && gap != 2 * step) {
      more.push_back(levels[i] - step);
    }
    more.push_back(levels[i]);
  }
  if (more.size() > levels.size()) {
    std::sort(more.begin(), more.end());
  }
  return more;
}

Survey Look(const Subject& subject, CapturedLog* log, Findings* findings) {
  Survey survey = {subject, WithSteps(SurveyLevels(subject.panel), StepOf(subject)), {}, {}, log, findings};
  for (const TableInFile& table : subject.tables) {
    survey.lines.emplace_back(table);
  }
  std::vector<Curve> curves = SurveyCurves(subject.panel, {10, 100}, survey.levels);
  for (const ptrdiff_t full : {3, 1}) {  // The full screen in high brightness, in standard operation.
    const auto at_100 = curves.begin() + full;
    curves.insert(at_100, CurveBetween(*(at_100 - 1), *at_100, 55));
  }
  for (const Lines& lines : survey.lines) {
    const MeasuredTable& table = *lines.Table().table;
    for (Curve& curve : curves) {
      const TableInFile& tenth = subject.TableOf(curve.hdr, 10);
      const bool between = !curve.nits.empty() && curve.coverage == 55 && table.coverage == 100;
      if (curve.hdr == table.hdr && (curve.coverage == table.coverage || between)) {
        const bool is_checked = !lines.Table().points.empty() && !lines.Table().has_fractions &&
                                (!between || (!tenth.points.empty() && !tenth.has_fractions));
        const std::string name = NameOf(curve);
        survey.curves.push_back({std::move(curve), name, &lines, is_checked});
      }
    }
  }
  return survey;
}

std::string Span(uint32_t first, uint32_t last) {
  return first == last ? fmt::format("level {}", first) : fmt::format("levels {} to {}", first, last);
}

void CheckLevels(const Survey& survey, const Served& served) {
  const auto& [coverage, hdr, nits] = served.curve;
  const auto garbage = [&nits = nits](size_t i) { return !std::isfinite(nits[i]) || nits[i] < 0.0; };
  ForEachRun(survey.levels.size(), garbage, [&, coverage = coverage, hdr = hdr](size_t i, size_t end) {
    const uint32_t first = survey.levels[i];
    const uint32_t last = survey.levels[end];
    const auto answer = survey.subject.panel->TryToNits(first, coverage, hdr);
    const TablePlace place = served.At(first, last, first);
    if (answer) {
      survey.findings->AddIn(RuleId::kRequest, place,
                             "the device returns garbage for {}, {} nits at level {}; measure again there",
                             Span(first, last), *answer, first);
    } else {
      survey.findings->AddIn(RuleId::kRequest, place, "the device refuses {}; measure there; the device says: {}",
                             Span(first, last), Printable(survey.log->Reason()));
    }
  });
}

// The device refuses only luminances above every point of a table, and only if the table's last point has 0 nits. If it
// converts the largest luminance of a curve, it converts all smaller ones.
void CheckLuminances(const Survey& survey, const Served& served) {
  const auto& [coverage, hdr, nits] = served.curve;
  double refused = 0.0;
  for (const double each : nits) {
    refused = std::isfinite(each) ? std::max(refused, each) : refused;
  }
  const auto is_converted = [&, coverage = coverage, hdr = hdr](double luminance) {
    return survey.subject.panel->TryToLevel(luminance, coverage, hdr).has_value();
  };
  if (is_converted(refused)) {
    return;
  }
  const std::string reason = Printable(survey.log->Reason());
  double converted = 0.0;
  for (int i = 0; i < 32; ++i) {
    const double middle = converted + (refused - converted) / 2.0;
    (is_converted(middle) ? converted : refused) = middle;
  }
  survey.findings->AddIn(
      RuleId::kRequest, served.At(UINT32_MAX, 0, survey.levels.back()),
      "the device refuses to find a level for luminances above {:.4g} nits; measure brighter levels; "
      "the device says: {}",
      converted, reason);
}

/// For each level, the index of the last of `levels` that is at most a step above it.
std::vector<size_t> StepsUp(const Levels& levels, uint32_t step) {
  std::vector<size_t> up;
  size_t above = 0;
  for (const uint32_t level : levels) {
    while (above + 1 < levels.size() && levels[above + 1] - level <= step) {
      ++above;
    }
    up.push_back(above);
  }
  return up;
}

/// The indices of two levels.
struct Rise {
  size_t from;
  size_t to;
};

/// A rise of luminance, in nits.
struct Step {
  double from;
  double to;

  double Percent() const { return 100.0 * (to / from - 1.0); }

  /// Empty outside the luminances for which JND are defined.
  std::optional<double> Jnd() const {
    const auto index = RoughJndIndexOfNits(from);
    const auto next = RoughJndIndexOfNits(to);
    return index && next ? std::optional(*next - *index) : std::nullopt;
  }

  /// A jump if above 1. 25 JND are 25 % at 25 nits, 31 % at 10 nits and 20 % at 100 nits.
  double Size() const {
    constexpr double kVisiblePercent = 25.0;
    constexpr double kVisibleJnd = 25.0;
    constexpr double kNeverJump = 15.0;  // In per cent: fewer than 25 JND at any luminance.
    if (!(from > 0.0 && Percent() > kNeverJump)) {
      return 0.0;
    }
    const auto jnd = Jnd();
    return jnd ? *jnd / kVisibleJnd : Percent() / kVisiblePercent;
  }

  std::string Words() const {
    const auto jnd = Jnd();
    const std::string percent = fmt::format("{:.1f} %", Percent());
    return fmt::format("{}, from {:.6g} to {:.6g} nits", jnd ? fmt::format("{:.1f} JND ({})", *jnd, percent) : percent,
                       from, to);
  }
};

// A curve between the coverages is a weighted mean of two measured ones, so no step of it is larger in per cent than
// theirs.
void CheckJumps(const Survey& survey, const Served& served, const std::vector<size_t>& up) {
  const Levels& levels = survey.levels;
  const auto& nits = served.curve.nits;
  const uint32_t lowest = kFirstJumpLevel * StepOf(survey.subject);
  const auto step = [&](Rise rise) { return Step{nits[rise.from], nits[rise.to]}; };
  const auto jumps = [&](size_t i) { return levels[i] >= lowest && step({i, up[i]}).Size() > 1.0; };
  ForEachRun(levels.size(), jumps, [&](size_t first, size_t last) {
    Rise worst = {first, up[first]};
    for (size_t i = first; i <= last; ++i) {
      worst = step({i, up[i]}).Size() > step(worst).Size() ? Rise{i, up[i]} : worst;
    }
    // If a single step between neighbours is a jump by itself, report that step.
    Rise steepest = worst;
    for (size_t i = worst.from; i < worst.to; ++i) {
      const bool is_first = steepest.to - steepest.from > 1;
      steepest = step({i, i + 1}).Size() > (is_first ? 1.0 : step(steepest).Size()) ? Rise{i, i + 1} : steepest;
    }
    const uint32_t from = levels[steepest.from];
    const uint32_t to = levels[steepest.to];
    const bool more = up[last] > worst.to || first < worst.from - (worst.to - worst.from);
    survey.findings->AddIn(
        RuleId::kJump, served.At(from, to, from),
        "from level {} to {} the luminance jumps by {}{}: users see the step; measure these levels again", from, to,
        step(steepest).Words(),
        more ? fmt::format(" (more such steps between levels {} and {})", levels[first], levels[up[last]]) : "");
  });
}

// Tolerates one per cent: measurements have that much noise.
void CheckDarker(const Survey& survey, RuleId rule, const Served& served, const Served& darker, const char* than,
                 const char* exchanged) {
  if (!served.is_checked || !darker.is_checked) {
    return;
  }
  const auto share = [&](size_t i) { return served.curve.nits[i] / darker.curve.nits[i]; };
  const auto wrong = [&](size_t i) { return darker.curve.nits[i] > 0.0 && share(i) < 0.99; };
  ForEachRun(survey.levels.size(), wrong, [&](size_t first, size_t last) {
    size_t worst = first;
    for (size_t i = first; i <= last; ++i) {
      worst = share(i) < share(worst) ? i : worst;
    }
    const uint32_t from = survey.levels[first];
    const uint32_t to = survey.levels[last];
    const bool mostly = to - from > survey.levels.back() / 2;
    survey.findings->AddIn(
        rule, served.At(from, to, survey.levels[worst]),
        "darker than {} at {}, {:.6g} instead of {:.6g} nits at level {}: the device returns these values; {}", than,
        Span(from, to), served.curve.nits[worst], darker.curve.nits[worst], survey.levels[worst],
        mostly ? exchanged : "measure both again there");
  });
}

// Only for tables whose measured points are all plausible but whose extrapolation is too bright.
void CheckBrightness(const Survey& survey, const Served& served) {
  const auto& points = served.lines->Table().points;
  const auto& nits = served.curve.nits;
  const bool told =
      std::any_of(points.begin(), points.end(), [&](const auto& point) { return IsTooBright(point.nits); });
  const auto brightest = std::max_element(nits.begin(), nits.end());
  if (!told && IsTooBright(*brightest)) {
    const uint32_t level = survey.levels[static_cast<size_t>(brightest - nits.begin())];
    survey.findings->AddIn(
        RuleId::kTooBright, served.At(level, 0, level),
        "the device extrapolates to {:.6g} nits at level {}: no panel is so bright; measure up to that level",
        *brightest, level);
  }
}

void TellSample(const Survey& survey) {
  const uint32_t last = survey.subject.range.max_os_bl;
  if (survey.levels.size() <= last) {
    survey.findings->Add(
        RuleId::kSampled, survey.subject.source.LineOfAttribute(zarn::format::kMaxOsBl.name),
        "max_os_bl is {}: request, jump, dark-window, dark-hbm and too-bright examine only a sample of the "
        "levels and can miss a fault between them; convert important levels with blnits nits",
        last);
  }
}

}  // namespace

void CheckConversions(const Subject& subject, CapturedLog* log, Findings* findings) {
  const Survey survey = Look(subject, log, findings);
  const std::vector<size_t> up = StepsUp(survey.levels, StepOf(subject));
  TellSample(survey);
  for (const Served& served : survey.curves) {
    if (served.is_checked) {
      CheckLevels(survey, served);
      CheckLuminances(survey, served);
    }
    if (served.is_checked && served.curve.coverage != 55) {
      CheckJumps(survey, served, up);
      CheckBrightness(survey, served);
    }
  }
  for (const uint32_t coverage : {100U, 10U}) {
    CheckDarker(survey, RuleId::kDarkHbm, survey.Of(true, coverage), survey.Of(false, coverage), "standard operation",
                "were standard and hbm exchanged?");
  }
  for (const bool hdr : {false, true}) {
    CheckDarker(survey, RuleId::kDarkWindow, survey.Of(hdr, 10), survey.Of(hdr, 100), "the full screen",
                "were nits_10 and nits_100 exchanged?");
  }
}

}  // namespace blnits
