#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "support/axis.h"

namespace blnits {

/// Values on the two axes of a picture.
using PlotPoints = std::vector<std::pair<double, double>>;

/// The points of a line, by rising x, that decide how it looks: of each of `columns` beside each other the first, the
/// lowest, the highest and the last.
PlotPoints DrawnLine(const PlotPoints& points, const Axis& x, size_t columns);

/// One mark for each of `columns` times `rows` cells of the picture that has any, in the order of `points`. Marks that
/// an axis cannot show are left out.
PlotPoints DrawnMarks(const PlotPoints& points, const Axis& x, const Axis& y, size_t columns, size_t rows);

}  // namespace blnits
