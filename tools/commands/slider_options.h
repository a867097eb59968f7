#pragma once

#include "commands/subcommand.h"
#include "panel/slider.h"

namespace blnits {

/// Options that AddSliderOptions has added.
struct SliderOptions {
  Option count;
  Option metric;
  Option min_nits;
  Option hdr;
};

/// Adds the options of a slider but its end: --count, --metric, --min-nits, --coverage and --hdr. `slider` must live
/// until the action has run.
SliderOptions AddSliderOptions(const Subcommand& command, Slider* slider);

}  // namespace blnits
