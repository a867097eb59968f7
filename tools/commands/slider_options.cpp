#include "commands/slider_options.h"

namespace blnits {

SliderOptions AddSliderOptions(const Subcommand& command, Slider* slider) {
  const Option count = command.Add("--count", &slider->count, "Number of positions, 2 to 65,536")
                           .Between(2, 65536)
                           .Takes("COUNT")
                           .ShowDefault();
  const Option metric =
      command
          .Add("--metric", &slider->metric,
               "Scale on which the steps are equal: gsdf (JND of DICOM), pq (SMPTE ST 2084), lstar (CIE lightness)\n"
               "or linear (nits)")
          .OneOf(SliderMetrics())
          .Takes("METRIC")
          .ShowDefault();
  const Option min_nits =
      command.Add("--min-nits", &slider->min_nits, "Luminance of the first position; default: the darkest level")
          .NotNegative()
          .Takes("NITS");
  command.Add("-c,--coverage", &slider->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  const Option hdr = command.AddFlag("--hdr", &slider->hdr, "Use the high-brightness curves");
  return {count, metric, min_nits, hdr};
}

}  // namespace blnits
