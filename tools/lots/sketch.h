#pragma once

#include <cstdint>
#include <map>

namespace blnits {

/// The distribution of luminances, as counts in buckets. A bucket holds the doubles with the same sign, exponent and first
/// 11 bits of the mantissa, so that its middle is within kError of each of them. Merging adds counts, which is exact in
/// any order. Memory grows with the number of different buckets. One thread at a time.
class Sketch {
 public:
  /// The largest error of Percentile(), as a share of the luminance.
  static constexpr double kError = 1.0 / 4096;

  using Buckets = std::map<int32_t, uint64_t>;  ///< Counts above 0.

  Sketch() = default;
  explicit Sketch(Buckets buckets) : buckets_(std::move(buckets)) {}

  /// \param nits 0 or above, and finite.
  void Add(double nits) { ++buckets_[BucketOf(nits)]; }

  void Merge(const Sketch& other);

  /// The middle of the bucket of the luminance of that rank: share * count, rounded up, at least 1.
  /// \param share 0 to 1. \return NaN without a luminance.
  double Percentile(double share) const;

  /// The median of the distances of all luminances from `nits`, in nits; NaN without a luminance.
  double MedianDistance(double nits) const;

  const Buckets& All() const { return buckets_; }

  static int32_t BucketOf(double nits);
  static double MiddleOf(int32_t bucket);

  /// Whether luminances from 0 on have this bucket.
  static bool IsBucket(int64_t number);

 private:
  uint64_t RankOf(double share) const;

  Buckets buckets_;
};

}  // namespace blnits
