#include "readings/levels.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <system_error>

#include "foreign_text.h"
#include "support/csv.h"
#include "support/failure.h"
#include "support/numbers.h"
#include "support/troubles.h"

namespace blnits {
namespace {

struct Range {
  double first;
  double last;
  double step;
};

// Empty if `text` is not a range.
std::optional<Range> RangeIn(const std::string& text, bool scaled) {
  const size_t dots = text.find("..");
  if (dots == std::string::npos) {
    return std::nullopt;
  }
  const size_t colon = std::min(text.find(':', dots), text.size());
  const auto first = LevelIn(text.substr(0, dots), scaled);
  const auto last = LevelIn(text.substr(dots + 2, colon - dots - 2), scaled);
  const auto step = colon == text.size() ? 1.0 : LevelIn(text.substr(colon + 1), scaled);
  return first && last && step && *step > 0.0 ? std::optional<Range>({*first, *last, *step}) : std::nullopt;
}

std::vector<double> LevelsIn(const Range& range, const std::string& text, size_t most) {
  // A decimal step such as 0.1 may miss the last level by a rounding error.
  constexpr double kRounding = 1e-9;
  const double steps = std::floor(std::abs(range.last - range.first) / range.step + kRounding);
  if (!(steps < static_cast<double>(most))) {
    throw Failure(
        fmt::format("--levels: found more than {} levels in \"{}\", expected at most that", most, Shown(text)));
  }
  const double step = range.last < range.first ? -range.step : range.step;
  std::vector<double> levels;
  for (size_t i = 0; i <= static_cast<size_t>(steps); ++i) {
    levels.push_back(range.first + static_cast<double>(i) * step);
  }
  return levels;
}

std::vector<double> LevelsInFile(const std::string& path, bool scaled, size_t most) {
  std::vector<double> levels;
  Troubles troubles(path);
  LineReader lines(path);
  for (CsvReader rows(&lines, ";\t, "); rows.Next() && levels.size() <= most;) {
    const bool one = rows.Fault() == nullptr && rows.Fields().size() == 1;
    const auto level = one ? LevelIn(rows.Fields().front(), scaled) : std::nullopt;
    if (level) {
      levels.push_back(*level);
    } else if (!rows.IsHeader()) {
      troubles.Add(rows.Line(), fmt::format("found \"{}\", expected one level on each line", Shown(lines.Text())));
    }
  }
  troubles.Check();
  if (levels.empty() || levels.size() > most) {
    throw Failure(fmt::format("{}: found {} levels, expected 1 to {}", path, levels.empty() ? "no" : "more", most));
  }
  return levels;
}

}  // namespace

std::optional<double> LevelIn(const std::string& text, bool scaled) {
  uint32_t whole = 0;
  double number = 0.0;
  if (scaled) {
    return ParseNumber(text, &number) && number >= 0.0 ? std::optional<double>(number) : std::nullopt;
  }
  return ParseNumber(text, &whole) ? std::optional<double>(whole) : std::nullopt;
}

std::string WhatLevelsAre(const std::string& text, bool scaled) {
  if (scaled) {
    return "a level that is not negative";
  }
  const bool decimal = text.find('.') != std::string::npos && IsNumber(text);
  return decimal ? "a whole level; for levels of another scale give --scale" : "a level";
}

RangeOfLevels RangeOf(const std::string& text, const char* option) {
  const auto range = RangeIn(text, false);
  if (!range) {
    throw Failure(
        fmt::format("{}: found \"{}\", expected FIRST..LAST or FIRST..LAST:STEP, whole levels", option, Shown(text)));
  }
  const auto from = static_cast<uint32_t>(range->first);
  const auto to = static_cast<uint32_t>(range->last);
  const auto step = static_cast<uint32_t>(range->step);
  if (from > to) {
    return {from - (from - to) / step * step, from, step, true};
  }
  return {from, from + (to - from) / step * step, step, false};
}

std::vector<double> LevelsOf(const std::string& text, bool scaled, size_t most) {
  const auto range = RangeIn(text, scaled);
  std::error_code error;
  if (!range && text.find("..") != std::string::npos && !std::filesystem::exists(text, error)) {
    throw Failure(fmt::format("--levels: found \"{}\", expected FIRST..LAST, FIRST..LAST:STEP or a file", Shown(text)));
  }
  return range ? LevelsIn(*range, text, most) : LevelsInFile(text, scaled, most);
}

}  // namespace blnits
