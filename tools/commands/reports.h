#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "commands/subcommand.h"
#include "panel/panel.h"
#include "panel/slider.h"
#include "readings/readings.h"
#include "support/plot.h"

namespace blnits {

// What the subcommands say, for a report that holds several of them. Each object is the one that the subcommand prints
// with "--format json"; docs/schemas/ describes it.

/// \throws Failure if the device refuses a parameter.
nlohmann::ordered_json QualityReportOn(Panel* panel);

/// \throws as StepsOf.
nlohmann::ordered_json StepsReportOn(Panel* panel, const Slider& slider);

/// \throws Failure if the device refuses to return the dense table.
nlohmann::ordered_json LinearReportOn(Panel* panel);

/// \throws Failure if the device refuses a parameter.
nlohmann::ordered_json ShowReportOn(Panel* panel);

/// The largest differences that two calibrations may have.
struct DiffLimits {
  double max_nits = std::numeric_limits<double>::infinity();
  double max_percent = std::numeric_limits<double>::infinity();  ///< Where the first one is not dark.
};

/// \throws Failure if the device refuses a parameter.
nlohmann::ordered_json DiffReportOn(Panel* a, Panel* b, const DiffLimits& limits);

/// How readings are compared with a calibration.
struct VerifyRules {
  std::string file;  ///< Of the readings.
  ReadingsOptions readings;
  uint32_t coverage = 100;  ///< In per cent, of readings whose file does not tell it.
  bool hdr = false;         ///< The same.
  std::optional<double> max_nits;
  std::optional<double> max_percent;
  std::optional<double> max_jnd;
};

/// Adds the options that fill `rules`, but for the file.
void AddVerifyOptions(const Subcommand& command, VerifyRules* rules);

/// Gives `picture` the picture of the errors. \throws Failure that names each line that cannot be read.
nlohmann::ordered_json VerifyReportOn(Panel* panel, const VerifyRules& rules, Plot* picture);

/// The picture that curve draws of one or two panels, with levels in per cent if their ranges differ. \throws Failure if there is nothing to draw.
Plot CurvePicture(const std::vector<std::string>& panels, CapturedLog* log);

}  // namespace blnits
