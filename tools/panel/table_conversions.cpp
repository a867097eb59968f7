#include "panel/table_conversions.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "interpolation.h"

namespace blnits {
namespace {

using zarn::BlNitsPoint;

// The indices of the points above all earlier points. Comparisons with NaN are false.
template <class Value>
std::vector<size_t> RisingPlaces(const std::vector<BlNitsPoint>& points, Value BlNitsPoint::*value) {
  std::vector<size_t> places;
  places.reserve(points.size());
  for (size_t i = 0; i < points.size(); ++i) {
    const bool first = places.empty() && !std::isnan(static_cast<double>(points[i].*value));
    if (first || (!places.empty() && points[i].*value > points[places.back()].*value)) {
      places.push_back(i);
    }
  }
  return places;
}

// The index at which the engine's linear search ends: the first point that is at least `wanted`, or the number of
// points. Searches from `*from` on, in stretches that double, and sets it to the end.
template <class Value>
size_t EndOfWalk(const std::vector<BlNitsPoint>& points, const std::vector<size_t>& rising, Value BlNitsPoint::*value,
                 Value wanted, size_t* from) {
  const auto is_before = [&](size_t place) { return !(points[place].*value >= wanted); };
  size_t first = *from <= rising.size() && (*from == 0 || is_before(rising[*from - 1])) ? *from : 0;
  size_t stretch = 1;
  while (rising.size() - first > stretch && is_before(rising[first + stretch - 1])) {
    first += stretch;
    stretch *= 2;
  }
  const auto begin = rising.begin() + static_cast<ptrdiff_t>(first);
  const auto end =
      std::partition_point(begin, begin + static_cast<ptrdiff_t>(std::min(stretch, rising.size() - first)), is_before);
  *from = static_cast<size_t>(end - rising.begin());
  return end != rising.end() ? *end : points.size();
}

}  // namespace

SearchedTable::SearchedTable(zarn::BackLightToNitsTable table)
    : table_(std::move(table)),
      rising_levels_(RisingPlaces(table_.points, &BlNitsPoint::bl)),
      rising_nits_(RisingPlaces(table_.points, &BlNitsPoint::nits)) {}

int SearchedTable::Nits(uint32_t level, double* nits, size_t* place) const {
  return zarn::NitsAt(table_, EndOfWalk(table_.points, rising_levels_, &BlNitsPoint::bl, level, place), level, nits);
}

int SearchedTable::Level(double nits, uint32_t* level) const {
  size_t place = 0;
  return zarn::LevelAt(table_, EndOfWalk(table_.points, rising_nits_, &BlNitsPoint::nits, nits, &place), nits, level);
}

TableConversions::TableConversions(zarn::BackLightToNitsTable table_10, zarn::BackLightToNitsTable table_100)
    : table_10_(std::move(table_10)), table_100_(std::move(table_100)) {}

int TableConversions::ToNits(uint32_t level, uint32_t coverage, double* nits, Place* place) const {
  double at_10 = 0.0;
  double at_100 = 0.0;
  int ret = zarn::NeedsTenth(coverage) ? table_10_.Nits(level, &at_10, &place->in_10) : 0;
  if (ret == 0 && zarn::NeedsFull(coverage)) {
    ret = table_100_.Nits(level, &at_100, &place->in_100);
  }
  if (ret == 0) {
    *nits = zarn::ValueAtCoverage(coverage, at_10, at_100);
  }
  return ret;
}

int TableConversions::ToLevel(double nits, uint32_t coverage, uint32_t* level) const {
  uint32_t at_10 = 0;
  uint32_t at_100 = 0;
  int ret = zarn::NeedsTenth(coverage) ? table_10_.Level(nits, &at_10) : 0;
  if (ret == 0 && zarn::NeedsFull(coverage)) {
    ret = table_100_.Level(nits, &at_100);
  }
  if (ret == 0) {
    *level = zarn::LevelAtCoverage(coverage, at_10, at_100);
  }
  return ret;
}

}  // namespace blnits
