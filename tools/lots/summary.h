#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "lots/extremes.h"
#include "lots/moments.h"
#include "lots/sketch.h"
#include "lots/unit.h"

namespace blnits {

/// The luminances of all units of a lot at one level of one table. One thread at a time.
struct LevelFigures {
  Moments nits;
  Moments jnd;  ///< JND indices of the units that have one.
  double least = std::numeric_limits<double>::infinity();
  double greatest = -std::numeric_limits<double>::infinity();
  Sketch sketch;
  Extremes darkest{Extremes::Side::kDarkest};
  Extremes brightest{Extremes::Side::kBrightest};

  /// \param its_jnd NaN if the luminance has no JND index.
  void Add(double its_nits, double its_jnd, const std::string& unit);
  void Merge(const LevelFigures& other);

  /// Within Sketch::kError of the luminance of that rank. \param share 0 to 1. \return NaN without a unit.
  double Percentile(double share) const;

  /// The standard deviation of a normal distribution with this median deviation from the median, in nits. Outliers do
  /// not change it. Never below what a sketch resolves.
  double RobustDeviation() const;
};

/// The units that are not part of the figures.
struct Rejections {
  static constexpr size_t kMostTold = 100;

  uint64_t count = 0;
  /// The reasons of the first kMostTold, by the bytes of their files' names.
  std::map<std::string, std::string> first;

  void Add(const std::string& file, const std::string& reason);
  void Merge(const Rejections& other);
};

/// The figures of a lot. Parts of a lot, merged in any order, give the figures of the whole one: counts, sums, extremes
/// and sketches exactly, the scatter to about 1e-14. Memory grows with levels, not with units. One thread at a time.
struct LotSummary {
  /// A lot without units.
  explicit LotSummary(LotShape its_shape);

  /// \param unit read with this shape.
  void Add(const Unit& unit);

  /// \param other not this one. \throws Failure if the shapes differ; then nothing changes.
  void Merge(const LotSummary& other);

  LotShape shape;
  uint64_t units = 0;
  Rejections rejected;
  ExactSum gamma;
  ExactSum pcc_thresh;
  std::vector<uint64_t> panel_levels;              ///< Sums: of each linearized level.
  ForEachTable<std::vector<LevelFigures>> tables;  ///< At the levels of the shape.
};

}  // namespace blnits
