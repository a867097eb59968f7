#pragma once

#include <cstddef>
#include <vector>

namespace blnits {

/// An axis of a picture. Its tics include both ends.
struct Axis {
  double low = 0.0;
  double high = 1.0;
  bool logarithmic = false;
  std::vector<double> tics;

  /// Whether the axis can show a value.
  bool Shows(double value) const;

  /// The position of a value that the axis shows: 0 at the low end, 1 at the high end.
  double ShareOf(double value) const;
};

/// An axis from 0 to exactly `last`, with about `tics` tics at round whole values. \param last at least 0; 0 gives 1.
Axis AxisTo(double last, size_t tics);

/// An axis between two round values, with about `tics` tics that include 0.
Axis LinearAxis(double least, double most, size_t tics);

/// An axis between two values of 1, 2 or 5 times a power of ten. Both arguments must be above 0.
Axis LogarithmicAxis(double least, double most);

}  // namespace blnits
