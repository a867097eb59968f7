#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace blnits {

/// The distribution of luminances, as counts in buckets. A bucket holds the doubles with the same exponent and the same
/// first 11 bits of the mantissa, so its middle is within kError of each of them. The first bucket stands for 0. Merging
/// adds counts, which is exact in any order. Memory grows with the number of different buckets. One thread at a time.
class Sketch {
 public:
  /// The largest error of Percentile(), as a share of the luminance.
  static constexpr double kError = 1.0 / 4096;

  /// \param nits 0 (of either sign) or above, and finite.
  void Add(double nits) { Add(BucketOf(nits), 1); }
  void Add(int32_t bucket, uint64_t count) {
    pages_[bucket / kPageBuckets][static_cast<size_t>(bucket % kPageBuckets)] += count;
  }

  void Merge(const Sketch& other);

  /// The middle of the bucket of the luminance of that rank: share * count, rounded up, at least 1.
  /// \param share 0 to 1. \return NaN without a luminance.
  double Percentile(double share) const;

  /// The median of the distances of all luminances from `nits`, in nits; NaN without a luminance.
  double MedianDistance(double nits) const;

  /// Buckets and their counts above 0, by rising luminance.
  std::vector<std::pair<int32_t, uint64_t>> All() const;

  static int32_t BucketOf(double nits);
  static double MiddleOf(int32_t bucket);

  /// Whether luminances from 0 on have this bucket.
  static bool IsBucket(int64_t number);

 private:
  // Luminances of a level lie in few pages, so that the search for one is short.
  static constexpr int32_t kPageBuckets = 256;
  std::map<int32_t, std::array<uint64_t, kPageBuckets>> pages_;
};

}  // namespace blnits
