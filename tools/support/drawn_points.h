#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "support/axis.h"

namespace blnits {

/// Values on the two axes of a picture.
using PlotPoints = std::vector<std::pair<double, double>>;

/// The points that decide how a line looks: the first, lowest, highest and last in each of `columns`. \param points by
/// rising x.
PlotPoints DrawnLine(const PlotPoints& points, const Axis& x, size_t columns);

/// One mark for each of `columns` times `rows` cells of the picture that contains any, in the order of `points`. Leaves
/// out marks that an axis cannot show.
PlotPoints DrawnMarks(const PlotPoints& points, const Axis& x, const Axis& y, size_t columns, size_t rows);

}  // namespace blnits
