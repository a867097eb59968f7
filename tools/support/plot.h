#pragma once

#include <string>
#include <vector>

#include "support/drawn_points.h"

namespace blnits {

/// One line of a picture: values by level.
struct PlotLine {
  std::string name;                ///< In the key.
  std::string colour;              ///< "#rrggbb".
  bool second_panel = false;       ///< Selects other marks for its measured points.
  PlotPoints points;               ///< By rising level. A value that is not finite makes a gap.
  std::vector<bool> extrapolated;  ///< One for each point: the segments on both sides of it are dashed or dotted.
  PlotPoints measured;             ///< Points to mark.
};

/// An area between two values by level, behind the lines. Not in PictureFormat::kText.
struct PlotBand {
  std::string name;    ///< In the key.
  std::string colour;  ///< "#rrggbb".
  PlotPoints low;      ///< By rising level.
  PlotPoints high;     ///< At the same levels.
};

/// Lines that share a pair of axes, with the key below.
struct PlotPane {
  std::string what;  ///< Quantity on the vertical axis: "luminance".
  std::string unit;  ///< Its unit: "nits".
  bool logarithmic = false;
  std::vector<PlotLine> lines;
  std::vector<PlotBand> bands = {};
};

/// A picture for gnuplot. All its texts must be printable.
struct Plot {
  std::string title;
  std::string levels;           ///< Label of the horizontal axis: "client level".
  std::vector<PlotPane> panes;  ///< One or two. The second is smaller and below the first.
  bool legend = true;           ///< The title explains marks and dashes.
};

enum class PictureFormat { kText, kSvg, kPng };

/// The format of a picture file by its name or by `format` ("svg", "png" or empty). Without both: kText.
/// \throws Failure if neither tells.
PictureFormat PictureFormatOf(const std::string& output, const std::string& format);

/// The bytes of a picture file; for kText the characters for this process's terminal, in its size and colours.
/// \throws Failure if gnuplot is missing or fails.
std::string Drawn(const Plot& plot, PictureFormat format);

}  // namespace blnits
