#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace blnits {

/// A unit and its luminance at one level.
struct UnitNits {
  double nits;
  std::string unit;  ///< Foreign text.
};

/// The units with the least or the greatest luminances. Merging gives the same ones in any order. One thread at a time.
class Extremes {
 public:
  static constexpr size_t kMost = 32;

  enum class Side { kDarkest, kBrightest };
  explicit Extremes(Side side) : side_(side) {}

  void Add(double nits, const std::string& unit);
  void Merge(const Extremes& other);

  /// The extreme units, the most extreme one first. Equal luminances are in the order of their names' bytes.
  const std::vector<UnitNits>& All() const { return units_; }

 private:
  bool Precedes(double nits, const std::string& unit, const UnitNits& other) const;

  Side side_;
  std::vector<UnitNits> units_;
};

}  // namespace blnits
