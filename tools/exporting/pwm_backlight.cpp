#include "exporting/pwm_backlight.h"

#include <fmt/format.h>

#include <algorithm>

#include "calibration_format.h"
#include "support/comment.h"
#include "support/failure.h"

namespace blnits {
namespace {

/// The panel level of a client level, as the library's dimming computes it: rounded down.
uint32_t PanelLevelOf(uint32_t level, const zarn::BLRange& range) {
  return range.max_os_bl != 0 ? static_cast<uint32_t>(uint64_t{level} * range.max_bl / range.max_os_bl) : 0;
}

std::vector<uint32_t> LevelsOfClients(const Panel& panel, const zarn::BLRange& range) {
  if (range.max_os_bl > zarn::format::kLastLinearizedLevel) {
    throw Failure(fmt::format("{}: max_os_bl is {}, expected at most {} for a device tree", panel.File(),
                              range.max_os_bl, zarn::format::kLastLinearizedLevel));
  }
  std::vector<uint32_t> levels;
  levels.reserve(size_t{range.max_os_bl} + 1);
  for (uint32_t level = 0; level <= range.max_os_bl; ++level) {
    levels.push_back(PanelLevelOf(level, range));
  }
  return levels;
}

std::vector<uint32_t> LevelsOfTable(Panel* panel) {
  const auto pairs = panel->Get<zarn::BLLinearTable>(zarn::kBLLinearTable).entries;
  std::vector<uint32_t> levels(pairs.size());
  std::transform(pairs.begin(), pairs.end(), levels.begin(), [](const auto& pair) { return pair.second; });
  return levels;
}

std::vector<uint32_t> LevelsOfSteps(Panel* panel, const Slider& slider, const zarn::BLRange& range) {
  std::vector<uint32_t> levels = {0};
  for (const SliderStep& step : StepsOf(panel, slider)) {
    levels.push_back(PanelLevelOf(step.level, range));
  }
  return levels;
}

std::vector<uint32_t> LevelsOf(Panel* panel, const PwmOptions& options, const zarn::BLRange& range) {
  switch (options.index) {
    case PwmIndex::kLinear:
      return LevelsOfTable(panel);
    case PwmIndex::kSteps:
      return LevelsOfSteps(panel, options.slider, range);
    default:
      return LevelsOfClients(*panel, range);
  }
}

// The driver takes the greatest entry for a duty of 100 %, whatever the panel's range is.
void CheckGreatest(const Panel& panel, const std::vector<uint32_t>& levels, uint32_t max_bl) {
  const uint32_t greatest = *std::max_element(levels.begin(), levels.end());
  if (greatest != max_bl || greatest == 0) {
    throw Failure(
        fmt::format("{}: the greatest panel level of the brightness levels is {}, expected max_bl {} above 0: a PWM "
                    "backlight takes the greatest entry for a duty of 100 %",
                    panel.File(), greatest, max_bl));
  }
}

uint32_t DefaultLevel(const Panel& panel, size_t count, const std::optional<uint32_t>& wanted) {
  const auto last = static_cast<uint32_t>(count - 1);
  const uint32_t level = wanted.value_or(last - last / 2);
  if (level > last) {
    throw Failure(fmt::format("{}: found default level {}, expected an index from 0 to {}", panel.File(), level, last));
  }
  return level;
}

std::vector<std::string> WarningsOf(Panel* panel, const std::vector<uint32_t>& levels, const PwmOptions& options,
                                    const zarn::BLRange& range) {
  std::vector<std::string> warnings;
  const auto nits = panel->TryToNits(0, options.slider.coverage, options.slider.hdr);
  if (options.index == PwmIndex::kClient && nits && *nits > 0.0) {
    warnings.push_back(fmt::format("client level 0 has {} nits, but index 0 switches a PWM backlight off", *nits));
  } else if (options.index == PwmIndex::kLinear && levels.front() > 0) {
    warnings.push_back(
        fmt::format("linearized level 0 has panel level {}, but index 0 switches a PWM backlight off", levels.front()));
  }
  const auto low =
      std::count_if(levels.begin() + 1, levels.end(), [&](uint32_t level) { return level < range.minimum_bl; });
  if (low > 0) {
    warnings.push_back(
        fmt::format("indices other than 0 with a panel level below minimum_bl {}: {}", range.minimum_bl, low));
  }
  size_t repeated = 0;
  for (size_t i = 1; i < levels.size(); ++i) {
    repeated += levels[i] == levels[i - 1] ? 1 : 0;
  }
  if (repeated > 0) {
    warnings.push_back(fmt::format("indices with the panel level of the index before: {}", repeated));
  }
  return warnings;
}

std::string MeaningOf(const PwmOptions& options, size_t count) {
  switch (options.index) {
    case PwmIndex::kLinear:
      return "Index: linearized level.";
    case PwmIndex::kSteps:
      return fmt::format("Index: 0 is off, 1 to {} are equal steps of luminance (metric {}).", count - 1,
                         options.slider.metric);
    default:
      return "Index: client level.";
  }
}

}  // namespace

PwmBacklight PwmBacklightOf(Panel* panel, const PwmOptions& options) {
  const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
  std::vector<uint32_t> levels = LevelsOf(panel, options, range);
  CheckGreatest(*panel, levels, range.max_bl);
  const uint32_t default_level = DefaultLevel(*panel, levels.size(), options.default_level);
  std::vector<std::string> warnings = WarningsOf(panel, levels, options, range);
  return {std::move(levels), default_level, std::move(warnings)};
}

void WritePwmBacklight(const Panel& panel, const PwmBacklight& backlight, const PwmOptions& options,
                       std::ostream& file) {
  const std::vector<uint32_t>& levels = backlight.panel_levels;
  file << fmt::format(
      "/dts-v1/;\n"
      "/plugin/;\n"
      "\n"
      "/*\n"
      " * Made by blnits export from the calibration of panel {}.\n"
      " * {} Entry: panel level; {} is a duty of 100 %.\n"
      " */\n"
      "&{} {{\n"
      "\tbrightness-levels = <",
      InCComment(panel.Name()), MeaningOf(options, levels.size()), *std::max_element(levels.begin(), levels.end()),
      options.label);
  constexpr size_t kEntriesInLine = 16;
  for (size_t i = 0; i < levels.size(); ++i) {
    file << (i % kEntriesInLine == 0 ? "\n\t\t" : " ") << levels[i];
  }
  file << fmt::format("\n\t>;\n\tdefault-brightness-level = <{}>;\n}};\n", backlight.default_level);
}

}  // namespace blnits
