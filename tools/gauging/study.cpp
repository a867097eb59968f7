#include "gauging/study.h"

#include <fmt/format.h>

#include <set>
#include <tuple>

#include "foreign_text.h"
#include "readings/csv_table.h"
#include "support/failure.h"
#include "support/numbers.h"
#include "support/troubles.h"

namespace blnits {
namespace {

enum Place : size_t { kPart, kOperator, kTrial, kNits, kLevel };

struct Reading {
  size_t line;
  double nits;
};

/// A part, an operator and a trial.
using Cell = std::tuple<std::string, std::string, std::string>;

class StudyReader {
 public:
  explicit StudyReader(const std::string& path)
      : path_(path),
        lines_(path),
        troubles_(path),
        rows_(&lines_,
              {{"the part", {"part", "panel", "unit"}},
               {"the operator", {"operator", "appraiser"}},
               {"the trial", {"trial", "replicate"}},
               {"the luminance", {"nits", "luminance", "lv", "y", "cd/m2"}},
               {"the level", {"level", "backlight level", "client level"}, false}},
              [this](size_t line, const std::string& text) { troubles_.Add(line, text); }) {}

  GaugeStudy Read() {
    while (rows_.Next()) {
      TakeRow();
    }
    troubles_.Check();
    CheckDesign();
    CheckComplete();
    GaugeStudy study = {{parts_.size(), operators_.size(), trials_.size()}, {}};
    for (const auto& [level, readings] : levels_) {
      for (const auto& [cell, reading] : readings) {  // In the order of the cells.
        study.readings[level].push_back(reading.nits);
      }
    }
    return study;
  }

 private:
  void TakeRow() {
    uint32_t level = 0;
    double nits = 0.0;
    if (rows_.Has(kLevel) && !ParseNumber(rows_.Field(kLevel), &level)) {
      Refuse(kLevel, "a level");
    } else if (!ParseNumber(rows_.HasDecimalComma() ? WithDecimalPoint(rows_.Field(kNits)) : rows_.Field(kNits),
                            &nits)) {
      Refuse(kNits, "a luminance in nits");
    } else {
      const Cell cell = {rows_.Field(kPart), rows_.Field(kOperator), rows_.Field(kTrial)};
      const auto [known, is_new] = levels_[level].try_emplace(cell, Reading{rows_.Line(), nits});
      if (!is_new) {
        troubles_.Add(rows_.Line(), fmt::format("found a second reading of {}, expected one; the first is in line {}",
                                                NameOf(level, cell), known->second.line));
      }
      parts_.insert(rows_.Field(kPart));
      operators_.insert(rows_.Field(kOperator));
      trials_.insert(rows_.Field(kTrial));
    }
  }

  void Refuse(Place place, const char* expected) {
    troubles_.Add(rows_.Line(), fmt::format("found \"{}\", expected {}", Shown(rows_.Field(place)), expected));
  }

  void CheckDesign() const {
    if (parts_.size() < 2 || operators_.size() < 2 || trials_.size() < 2) {
      throw Failure(fmt::format(
          "{}: found {} parts, {} operators and {} trials, expected two or more of each: without them there "
          "is nothing to compare",
          path_, parts_.size(), operators_.size(), trials_.size()));
    }
  }

  std::string NameOf(uint32_t level, const Cell& cell) const {
    const auto& [part, by, trial] = cell;
    return fmt::format(R"(part "{}", operator "{}", trial "{}"{})", Shown(part), Shown(by), Shown(trial),
                       rows_.Has(kLevel) ? fmt::format(" at level {}", level) : "");
  }

  // The method needs each part, operator and trial together once at each level.
  void CheckComplete() const {
    constexpr size_t kMostTold = 10;
    std::vector<std::string> missing;
    const auto check = [&](uint32_t level, const std::map<Cell, Reading>& readings, const Cell& cell) {
      if (missing.size() <= kMostTold && readings.count(cell) == 0) {
        missing.push_back(fmt::format("{}: expected a reading of {}", path_, NameOf(level, cell)));
      }
    };
    for (const auto& [level, readings] : levels_) {
      for (const std::string& part : parts_) {
        for (const std::string& by : operators_) {
          for (const std::string& trial : trials_) {
            check(level, readings, {part, by, trial});
          }
        }
      }
    }
    if (missing.size() > kMostTold) {
      missing.back() = fmt::format("{}: more readings are missing", path_);
    }
    if (!missing.empty()) {
      throw Failure(missing.front(), {missing.begin() + 1, missing.end()});
    }
  }

  std::string path_;
  LineReader lines_;
  Troubles troubles_;
  CsvTable rows_;
  std::map<uint32_t, std::map<Cell, Reading>> levels_;
  std::set<std::string> parts_;
  std::set<std::string> operators_;
  std::set<std::string> trials_;
};

}  // namespace

GaugeStudy ReadGaugeStudy(const std::string& path) { return StudyReader(path).Read(); }

}  // namespace blnits
