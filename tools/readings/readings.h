#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// One reading of an instrument, or one point of another device's file.
struct RawReading {
  uint32_t level;                    ///< Client level, at most INT32_MAX: after the scale, rounded to a whole one.
  std::optional<uint32_t> coverage;  ///< In per cent, 1 to 100; empty if the file does not tell it.
  std::optional<bool> hbm;           ///< Whether it is high brightness; empty if the file does not tell it.
  double nits;                       ///< Finite.
  size_t line;                       ///< In the file, from 1.
};

/// Levels of another scale: level = number * to / from.
struct Scale {
  double from;
  double to;
};

/// A factor, or "FROM:TO"; empty if the text is neither, or a number in it is not above 0.
std::optional<Scale> ParseScale(const std::string& text);

struct ReadingsOptions {
  std::string kind;            ///< One of ReadingKinds(); empty: recognised by content.
  std::string level_column;    ///< Name or number (from 1) of a CSV file's column; empty: by its name.
  std::string nits_column;     ///< The same for the luminance.
  std::string levels;          ///< The levels of readings without one, in their order: "0..255", "0..255:5" or a file.
  size_t repeats = 1;          ///< Readings in a row at each of these levels.
  std::optional<Scale> scale;  ///< The scale of the file's levels; empty: client levels, or fractions of `top_level`.
  std::optional<uint32_t> top_level;  ///< max_os_bl, the level of fraction 1; needed for fractions without `scale`.
  std::optional<uint32_t> hbm_from;   ///< The first level of high brightness in a file of one series.
};

struct ReadingsFile {
  std::string kind;                  ///< One of ReadingKinds().
  std::vector<RawReading> readings;  ///< In the order of the file; at least one.
  std::vector<std::string> notes;    ///< What the user must know about the readings, a sentence each. Printable.
  std::optional<double> transition;  ///< Where high brightness begins, if the file tells it, in the file's scale.
  /// One series of levels is split into both modes: below the seam, its standard readings also hold in high brightness.
  bool split = false;
};

/// The kinds of files, each with a description for --help.
const std::vector<std::pair<std::string, std::string>>& ReadingKinds();

/// Reads a file of measurements. Time grows with the size of the file; text files are read as streams, XML files within
/// the bounds of calibration files.
/// \throws Failure that names file and line, what was found and what was expected, for each fault up to a limit.
ReadingsFile ReadReadings(const std::string& path, const ReadingsOptions& options);

/// The rows "linearized level,panel level" of a CSV file, sorted. \throws as ReadReadings.
std::vector<std::pair<uint32_t, uint32_t>> ReadLevelPairs(const std::string& path);

}  // namespace blnits
