#pragma once

#include <string>
#include <vector>

#include "support/drawn_points.h"

namespace blnits {

/// A line of values against the picture's axis of levels.
struct PlotLine {
  std::string name;                ///< In the key.
  std::string colour;              ///< "#rrggbb".
  bool second_panel = false;       ///< Its measured points have marks of their own.
  PlotPoints points;               ///< By rising level. The line has a gap where a value is not finite.
  std::vector<bool> extrapolated;  ///< One for each point: what leads to it and from it is dashed or dotted.
  PlotPoints measured;             ///< Marks.
};

/// Lines in one pair of axes, with their key below it.
struct PlotPane {
  std::string what;  ///< Of the axis of values: "luminance".
  std::string unit;  ///< "nits".
  bool logarithmic = false;
  std::vector<PlotLine> lines;
};

/// A picture for gnuplot, which draws it. Its texts are printable.
struct Plot {
  std::string title;
  std::string levels;           ///< Of the axis of levels: "client level".
  std::vector<PlotPane> panes;  ///< One or two, the second one smaller and below the first.
};

enum class PictureFormat { kText, kSvg, kPng };

/// The picture as the bytes of a file; kText is for this process's terminal, with its size and colours.
/// \throws Failure when gnuplot is missing or fails.
std::string Drawn(const Plot& plot, PictureFormat format);

}  // namespace blnits
