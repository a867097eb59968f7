#include "lots/limits.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "foreign_text.h"
#include "readings/csv_table.h"
#include "support/numbers.h"
#include "support/troubles.h"

namespace blnits {
namespace {

enum Place { kLevel, kLimit, kCoverage, kMode };

/// The text of a number, with a point.
std::string Plain(const std::string& field, const CsvTable& table) {
  return table.HasDecimalComma() ? WithDecimalPoint(field) : field;
}

}  // namespace

Limits::Limits(const std::string& path, const char* name) {
  LineReader lines(path);
  Troubles troubles(path);
  CsvTable rows(&lines,
                {{"the level", {"level"}},
                 {"the limit", {name}},
                 {"the coverage", {"coverage"}, false},
                 {"the mode", {"mode"}, false}},
                [&](size_t line, const std::string& text) { troubles.Add(line, text); });
  while (rows.Next()) {
    const auto refuse = [&](Place place, const char* expected) {
      troubles.Add(rows.Line(), fmt::format("found \"{}\", expected {}", Shown(rows.Field(place)), expected));
    };
    uint32_t level = 0;
    double nits = 0.0;
    uint32_t coverage = 0;
    if (!ParseNumber(rows.Field(kLevel), &level)) {
      refuse(kLevel, "a level");
    } else if (!ParseNumber(Plain(rows.Field(kLimit), rows), &nits) || nits < 0.0) {
      refuse(kLimit, "a luminance in nits");
    } else if (rows.Has(kCoverage) &&
               (!ParseNumber(rows.Field(kCoverage), &coverage) || (coverage != 10 && coverage != 100))) {
      refuse(kCoverage, "a coverage of 10 or 100");
    } else if (rows.Has(kMode) && rows.Field(kMode) != "standard" && rows.Field(kMode) != "hbm") {
      refuse(kMode, "the mode standard or hbm");
    } else {
      for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
        const MeasuredTable& table = kMeasuredTables[i];
        const bool holds = (!rows.Has(kCoverage) || table.coverage == coverage) &&
                           (!rows.Has(kMode) || table.hdr == (rows.Field(kMode) == "hbm"));
        if (holds && !limits_[i].emplace(level, nits).second) {
          refuse(kLevel, "each level once for each table");
          break;
        }
      }
    }
  }
  troubles.Check();
}

std::optional<double> Limits::At(size_t table, uint32_t level) const {
  const auto& limits = limits_[table];
  const auto above = limits.lower_bound(level);
  if (above == limits.end() || (above == limits.begin() && above->first != level)) {
    return std::nullopt;
  }
  if (above->first == level) {
    return above->second;
  }
  const auto below = std::prev(above);
  const double share = (static_cast<double>(level) - below->first) / (static_cast<double>(above->first) - below->first);
  return below->second + share * (above->second - below->second);
}

Capability CapabilityOf(double mean, double deviation, std::optional<double> lower, std::optional<double> upper) {
  if (!(deviation > 0.0) || (!lower && !upper)) {
    return {};
  }
  Capability capability;
  if (lower && upper) {
    capability.cp = (*upper - *lower) / (6.0 * deviation);
  }
  const double above = lower ? mean - *lower : *upper - mean;
  const double below = upper ? *upper - mean : above;
  capability.cpk = std::min(above, below) / (3.0 * deviation);
  return capability;
}

}  // namespace blnits
