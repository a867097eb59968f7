#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// A line in a picture, of luminance in nits against the client level.
struct PlotLine {
  std::string name;
  std::string colour;              ///< "#rrggbb".
  bool second_panel;               ///< Its measured points have marks of their own.
  std::vector<uint32_t> levels;    ///< Empty: no line, its name stands in the key alone.
  std::vector<double> nits;        ///< One for each level; the line has a gap where it is not a number.
  std::vector<bool> extrapolated;  ///< One for each level: the line is dashed or dotted there.
  std::vector<zarn::BlNitsPoint> measured;
};

/// A picture for gnuplot, which draws it.
struct Plot {
  std::string title;
  bool logarithmic = false;  ///< The axis of luminances.
  std::vector<PlotLine> lines;
};

/// Draws on standard output in characters, or into a file whose name ends with ".svg" or ".png".
/// \param path of the file; empty: standard output.
/// \throws Failure when the name ends otherwise, gnuplot is missing or the file cannot be written.
void Draw(const Plot& plot, const std::string& path);

}  // namespace blnits
