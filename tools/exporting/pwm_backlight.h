#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "panel/panel.h"
#include "panel/slider.h"

namespace blnits {

/// What the index of a brightness level counts.
enum class PwmIndex {
  kClient,  ///< Client levels.
  kLinear,  ///< Linearized levels.
  kSteps,   ///< 0: off; from 1 on, the positions of a slider.
};

/// The choices of a PWM backlight.
struct PwmOptions {
  PwmIndex index = PwmIndex::kClient;
  Slider slider;                          ///< With kSteps; its curve also with kClient.
  std::optional<uint32_t> default_level;  ///< An index; empty: the middle one.
  std::string label = "backlight";        ///< Of the node: letters, digits and underscores.
};

/// The brightness levels of a PWM backlight.
struct PwmBacklight {
  std::vector<uint32_t> panel_levels;  ///< One for each index; max_bl, which is the greatest, is a duty of 100 %.
  uint32_t default_level;              ///< An index.
  std::vector<std::string> warnings;   ///< Printable, a sentence each.
};

/// \throws Failure if the greatest panel level is not max_bl, if there are too many levels or too few, or if the default
/// level is not an index.
PwmBacklight PwmBacklightOf(Panel* panel, const PwmOptions& options);

/// Writes a device-tree overlay of the node that has the label. \param panel the origin.
void WritePwmBacklight(const Panel& panel, const PwmBacklight& backlight, const PwmOptions& options,
                       std::ostream& file);

}  // namespace blnits
