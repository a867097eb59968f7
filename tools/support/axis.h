#pragma once

#include <cstddef>
#include <vector>

namespace blnits {

/// An axis of a picture. Its ends are among its tics.
struct Axis {
  double low = 0.0;
  double high = 1.0;
  bool logarithmic = false;
  std::vector<double> tics;

  /// Whether the axis can show a value.
  bool Shows(double value) const;

  /// Where a value that it can show stands: 0 at the low end, 1 at the high end.
  double ShareOf(double value) const;
};

/// From 0 to exactly `last`, with about `tics` tics at whole, round values. \param last at least 0; 0 makes it 1.
Axis AxisTo(double last, size_t tics);

/// From a round value to a round value, with about `tics` tics, 0 among them.
Axis LinearAxis(double least, double most, size_t tics);

/// From 1, 2 or 5 times a power of ten to the same; both arguments above 0.
Axis LogarithmicAxis(double least, double most);

}  // namespace blnits
