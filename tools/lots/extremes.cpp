#include "lots/extremes.h"

#include <algorithm>

namespace blnits {

void Extremes::Add(double nits, const std::string& unit) {
  if (units_.size() == kMost && !Precedes(nits, unit, units_.back())) {
    return;
  }
  const auto place =
      std::find_if(units_.begin(), units_.end(), [&](const UnitNits& each) { return Precedes(nits, unit, each); });
  units_.insert(place, {nits, unit});
  if (units_.size() > kMost) {
    units_.pop_back();
  }
}

void Extremes::Merge(const Extremes& other) {
  for (const auto& [nits, unit] : other.units_) {
    Add(nits, unit);
  }
}

bool Extremes::Precedes(double nits, const std::string& unit, const UnitNits& other) const {
  if (nits != other.nits) {
    return (side_ == Side::kDarkest) == (nits < other.nits);
  }
  return unit < other.unit;
}

}  // namespace blnits
