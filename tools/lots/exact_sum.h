#pragma once

#include <cstdint>
#include <vector>

namespace blnits {

/// A sum of doubles without rounding: the same for any order of adding and merging. Its memory does not grow with the
/// number of summands. A sum that overflows is of no use. One thread at a time.
class ExactSum {
 public:
  ExactSum() = default;

  /// \param terms numbers whose sum this is, in any order; none for 0.
  explicit ExactSum(const std::vector<double>& terms);

  void Add(double value);
  /// \param other not this one.
  void Add(const ExactSum& other);

  /// The double nearest to the sum.
  double Value() const;

  /// The mean of so many summands: of equal ones, exactly their value. \param count above 0.
  double Mean(uint64_t count) const;

  /// The sum as few doubles: the nearest one, the nearest one to the rest, and so on. None for 0. Equal sums have equal
  /// terms.
  std::vector<double> Terms() const;

 private:
  std::vector<double> terms_;  ///< By rising magnitude. Their bits do not overlap.
};

}  // namespace blnits
