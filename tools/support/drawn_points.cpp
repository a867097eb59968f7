#include "support/drawn_points.h"

#include <algorithm>
#include <cstdint>
#include <unordered_set>

namespace blnits {
namespace {

uint64_t CellOf(double value, const Axis& axis, size_t cells) {
  return static_cast<uint64_t>(axis.ShareOf(value) * static_cast<double>(cells));
}

using Place = PlotPoints::const_iterator;

void AddColumn(Place first, Place end, PlotPoints* drawn) {
  const auto lower = [](const auto& a, const auto& b) { return a.second < b.second; };
  const auto [lowest, highest] = std::minmax_element(first, end, lower);
  Place places[] = {first, lowest, highest, end - 1};
  std::sort(std::begin(places), std::end(places));
  std::for_each(std::begin(places), std::unique(std::begin(places), std::end(places)),
                [&](Place place) { drawn->push_back(*place); });
}

}  // namespace

PlotPoints DrawnLine(const PlotPoints& points, const Axis& x, size_t columns) {
  PlotPoints drawn;
  for (auto first = points.begin(); first != points.end();) {
    const uint64_t column = CellOf(first->first, x, columns);
    const auto end =
        std::find_if(first, points.end(), [&](const auto& point) { return CellOf(point.first, x, columns) != column; });
    AddColumn(first, end, &drawn);
    first = end;
  }
  return drawn;
}

PlotPoints DrawnMarks(const PlotPoints& points, const Axis& x, const Axis& y, size_t columns, size_t rows) {
  PlotPoints drawn;
  std::unordered_set<uint64_t> cells;
  for (const auto& point : points) {
    if (x.Shows(point.first) && y.Shows(point.second) &&
        cells.insert(CellOf(point.first, x, columns) * (rows + 1) + CellOf(point.second, y, rows)).second) {
      drawn.push_back(point);
    }
  }
  return drawn;
}

}  // namespace blnits
