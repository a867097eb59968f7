#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "backlight_nits_records.h"
#include "panel/panel.h"

namespace blnits {

/// When a device may use high brightness. A calibration does not tell it.
struct HighBrightnessUse {
  double minimum_lux;            ///< The least ambient light.
  std::vector<uint32_t> timing;  ///< In seconds: the window, the longest use within it, the shortest use.
};

/// The choices of a display configuration.
struct DisplayConfigOptions {
  uint32_t coverage = 100;  ///< In per cent, 1 to 100.
  bool hdr = false;         ///< The curve of high brightness.
  std::optional<HighBrightnessUse> use;
};

/// What a display configuration holds.
struct DisplayConfigMap {
  std::string curve;                            ///< "standard, full screen".
  uint32_t top_level;                           ///< The client level of value 1.
  std::vector<zarn::BlNitsPoint> points;        ///< Both numbers rise strictly, also as 32-bit floats.
  std::optional<zarn::BlNitsPoint> transition;  ///< One of the points: the last one of standard operation.
  std::vector<std::string> warnings;            ///< Printable, a sentence each.
};

/// The measured points of a panel's curve, with points at level 0 and at the last level. Straight lines between them give
/// the luminance that the library computes. With `hdr`, the point at which the standard tables end is the transition if
/// both curves agree up to it and differ above it.
/// \throws Failure with the line of each luminance or level that such a map cannot hold; if there is a transition without
/// options.use, or the other way round.
DisplayConfigMap DisplayConfigOf(Panel* panel, const DisplayConfigOptions& options);

/// Writes the file. Its numbers have no exponent and read back as the same doubles. \param panel its origin.
void WriteDisplayConfig(const Panel& panel, const DisplayConfigMap& map, const std::optional<HighBrightnessUse>& use,
                        std::ostream& file);

}  // namespace blnits
