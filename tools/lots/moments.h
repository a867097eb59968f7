#pragma once

#include <cmath>
#include <cstdint>
#include <utility>

#include "lots/exact_sum.h"

namespace blnits {

/// Count, mean and scatter of numbers, in one pass. Merging in any order gives the same count and sum, and the same
/// scatter to about 1e-14 of its value. One thread at a time.
class Moments {
 public:
  Moments() = default;

  /// \param squares as Squares().
  Moments(uint64_t count, ExactSum sum, double squares) : count_(count), sum_(std::move(sum)), squares_(squares) {
    mean_ = count > 0 ? Mean() : 0.0;
  }

  void Add(double value) {
    ++count_;
    sum_.Add(value);
    const double before = value - mean_;
    mean_ += before / static_cast<double>(count_);
    squares_ += before * (value - mean_);
  }

  void Merge(const Moments& other) {
    if (other.count_ == 0) {
      return;
    }
    const double distance = count_ > 0 ? other.Mean() - Mean() : 0.0;
    const auto count = static_cast<double>(count_);
    const auto others = static_cast<double>(other.count_);
    squares_ += other.squares_ + distance * distance * (count * others / (count + others));
    count_ += other.count_;
    sum_.Add(other.sum_);
    mean_ = Mean();
  }

  uint64_t Count() const { return count_; }
  const ExactSum& Sum() const { return sum_; }

  /// The sum of the squares of all deviations from the mean.
  double Squares() const { return squares_; }

  /// NaN without a number.
  double Mean() const { return count_ > 0 ? sum_.Mean(count_) : std::nan(""); }

  /// The standard deviation of the population that the numbers are a sample of. NaN with fewer than two.
  double Deviation() const { return count_ > 1 ? std::sqrt(squares_ / static_cast<double>(count_ - 1)) : std::nan(""); }

 private:
  uint64_t count_ = 0;
  ExactSum sum_;
  double squares_ = 0.0;
  double mean_ = 0.0;  ///< Of what was added, nearly: the exact one takes longer.
};

}  // namespace blnits
