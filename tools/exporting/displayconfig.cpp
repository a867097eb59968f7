#include "exporting/displayconfig.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <map>

#include "check/rules.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "support/comment.h"
#include "support/numbers.h"
#include "support/troubles.h"

namespace blnits {
namespace {

/// The share of the last level, as a display configuration counts levels.
double ValueOf(uint32_t level, uint32_t top_level) { return static_cast<double>(level) / top_level; }

/// The client levels at which a curve may bend, each with the line of a luminance in the calibration. Level 0 and the
/// last level have the line of their neighbour if they are not measured.
using Bends = std::map<uint32_t, size_t>;

void AddBends(const TableInFile& table, uint32_t last, Troubles* troubles, Bends* bends) {
  for (size_t i = 0; i < table.points.size(); ++i) {
    const uint32_t level = table.points[i].bl;
    if (i > 0 && level <= table.points[i - 1].bl) {
      troubles->Add(static_cast<size_t>(table.levels[i].line),
                    fmt::format("found level {} after {}, expected levels that rise", level, table.points[i - 1].bl));
    }
    if (level <= last) {
      bends->emplace(level, table.luminances[i].line);
    }
  }
}

Bends BendsOf(const Subject& subject, const DisplayConfigOptions& options, Troubles* troubles) {
  const uint32_t last = subject.range.max_os_bl;
  Bends bends;
  const auto add = [&](bool hdr) {
    for (const TableInFile& table : subject.tables) {
      if (IsRead(*table.table, options.coverage, hdr)) {
        AddBends(table, last, troubles, &bends);
      }
    }
  };
  add(options.hdr);
  if (options.hdr) {
    add(false);  // A transition point may be where the standard table ends.
  }
  const auto fallback = static_cast<size_t>(subject.TableOf(options.hdr, options.coverage).line);
  bends.emplace(0, bends.empty() ? fallback : bends.begin()->second);
  bends.emplace(last, bends.rbegin()->second);
  return bends;
}

// The loader computes with 32-bit floats: numbers that differ only as doubles are equal there.
bool Rises(double before, double number) { return static_cast<float>(number) > static_cast<float>(before); }

bool IsLuminance(double nits) { return nits >= 0.0 && nits <= std::numeric_limits<float>::max(); }

class MapMaker {
 public:
  MapMaker(Panel* panel, const DisplayConfigOptions& options)
      : panel_(*panel),
        options_(options),
        source_(panel->File()),
        subject_(&source_, panel),
        last_(subject_.range.max_os_bl) {}

  DisplayConfigMap Make() {
    if (last_ == 0) {
      throw Failure(fmt::format("{}:{}: found max_os_bl 0, expected a last client level above 0", panel_.File(),
                                source_.LineOfAttribute(zarn::format::kMaxOsBl.name)));
    }
    Troubles troubles(panel_.File());
    const Bends bends = BendsOf(subject_, options_, &troubles);
    troubles.Check();
    DisplayConfigMap map = {NameOf(Curve{options_.coverage, options_.hdr, {}}), last_, {}, {}, {}};
    for (const auto& [level, line] : bends) {
      const zarn::BlNitsPoint point = {level, Nits(level, options_.hdr)};
      CheckPoint(map.points, point, line, &troubles);
      map.points.push_back(point);
    }
    troubles.Check();
    if (options_.hdr) {
      SetTransition(&map);
    }
    return map;
  }

 private:
  double Nits(uint32_t level, bool hdr) { return panel_.ToNits(level, options_.coverage, hdr); }

  void CheckPoint(const std::vector<zarn::BlNitsPoint>& before, const zarn::BlNitsPoint& point, size_t line,
                  Troubles* troubles) const {
    if (!IsLuminance(point.nits)) {
      troubles->Add(line, fmt::format("found {} nits at level {}, expected 0 or more, and less than 3.4e38", point.nits,
                                      point.bl));
    } else if (!before.empty() && IsLuminance(before.back().nits) && !Rises(before.back().nits, point.nits)) {
      troubles->Add(line, fmt::format("found {} nits at level {} after {} nits at level {}, expected more: a display "
                                      "configuration cannot hold equal or falling luminances",
                                      point.nits, point.bl, before.back().nits, before.back().bl));
    } else if (!before.empty() && !Rises(ValueOf(before.back().bl, last_), ValueOf(point.bl, last_))) {
      troubles->Add(line, fmt::format("found level {} after {} of {}, expected levels that differ as shares in 32-bit "
                                      "floats",
                                      point.bl, before.back().bl, last_));
    }
  }

  void SetTransition(DisplayConfigMap* map) {
    const auto& points = map->points;
    const auto differs = std::find_if(points.begin(), points.end(), [&](const zarn::BlNitsPoint& point) {
      return !IsSame(point.nits, Nits(point.bl, false));
    });
    const uint32_t end = EndOfStandard();
    if (differs == points.end()) {
      SayNoTransition("high brightness is the same as standard operation", map);
    } else if (differs->bl <= end) {
      SayNoTransition(fmt::format("level {} has {} nits in high brightness and {} in standard operation, which has its "
                                  "own points up to level {}",
                                  differs->bl, differs->nits, Nits(differs->bl, false), end),
                      map);
    } else if (!options_.use) {
      throw Failure(
          fmt::format("{}: high brightness begins above level {}; expected --minimum-lux and --hbm-timing, which a "
                      "display configuration needs and a calibration does not tell",
                      panel_.File(), end));
    } else {
      map->transition = *std::find_if(points.begin(), points.end(), [&](const auto& point) { return point.bl == end; });
    }
  }

  /// The last measured level in standard operation. Both curves have a bend there if it is not above the last level.
  uint32_t EndOfStandard() const {
    uint32_t end = 0;
    for (const TableInFile& table : subject_.tables) {
      if (IsRead(*table.table, options_.coverage, false)) {
        end = std::max(end, HighestLevel(table.points));
      }
    }
    return end;
  }

  void SayNoTransition(const std::string& reason, DisplayConfigMap* map) const {
    const std::string text = fmt::format("no transition point: {}", reason);
    if (options_.use) {
      throw Failure(fmt::format("{}: {}; expected no --minimum-lux and --hbm-timing", panel_.File(), text));
    }
    map->warnings.push_back(text);
  }

  Panel& panel_;
  const DisplayConfigOptions& options_;
  CalibrationSource source_;
  Subject subject_;
  uint32_t last_;
};

void WriteUse(const zarn::BlNitsPoint& transition, uint32_t top_level, const HighBrightnessUse& use,
              std::ostream& file) {
  file << fmt::format(
      "  <highBrightnessMode enabled=\"true\">\n"
      "    <transitionPoint>{}</transitionPoint>\n"
      "    <minimumLux>{}</minimumLux>\n"
      "    <timing>\n"
      "      <timeWindowSecs>{}</timeWindowSecs>\n"
      "      <timeMaxSecs>{}</timeMaxSecs>\n"
      "      <timeMinSecs>{}</timeMinSecs>\n"
      "    </timing>\n"
      "  </highBrightnessMode>\n",
      DecimalText(ValueOf(transition.bl, top_level)), DecimalText(use.minimum_lux), use.timing[0], use.timing[1],
      use.timing[2]);
}

}  // namespace

DisplayConfigMap DisplayConfigOf(Panel* panel, const DisplayConfigOptions& options) {
  return MapMaker(panel, options).Make();
}

void WriteDisplayConfig(const Panel& panel, const DisplayConfigMap& map, const std::optional<HighBrightnessUse>& use,
                        std::ostream& file) {
  file << fmt::format(
      "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
      "<!--\n"
      "  Made by blnits export from the calibration of panel {}: {}.\n"
      "  Value 1 is client level {}.\n"
      "-->\n"
      "<displayConfiguration>\n"
      "  <screenBrightnessMap interpolation=\"linear\">\n",
      InXmlComment(panel.Name()), map.curve, map.top_level);
  for (const auto& [level, nits] : map.points) {
    file << fmt::format("    <point><value>{}</value><nits>{}</nits></point>\n",
                        DecimalText(ValueOf(level, map.top_level)), DecimalText(nits));
  }
  file << "  </screenBrightnessMap>\n";
  if (map.transition && use) {
    WriteUse(*map.transition, map.top_level, *use, file);
  }
  file << "</displayConfiguration>\n";
}

}  // namespace blnits
