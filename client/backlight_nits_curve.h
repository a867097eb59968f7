#pragma once

/// \file
/// A sampled curve: the luminances of a panel's client levels at one coverage, as a table of the client's own.
///
/// The answers need IEEE 754 arithmetic. A part of -ffast-math is refused when this header is compiled.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#if defined(__FAST_MATH__) || __FINITE_MATH_ONLY__ || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__)
#error "A curve compares with infinities and NaN: build without -ffast-math and its parts."
#endif

namespace zarn::client {

/// The luminance of each client level from 0 on, in nits. Panel::Sample makes one; a program can also make one of its
/// own numbers.
///
/// A curve never changes, and it owns its numbers: it does not see what happens to an engine later, and outlives it. Any
/// number of threads may read one curve, or copies of it, at the same time. Reading takes no lock and allocates nothing.
/// Copies share the numbers. Moving copies: the source stays the curve that it was.
class Curve {
 public:
  /// \param nits luminance of level 0, 1, 2, ...; any numbers in any order, also NaN and infinities. At most
  /// 4,294,967,295 of them.
  /// \throws std::bad_alloc when there is no memory.
  explicit Curve(std::vector<double> nits) : table_(std::make_shared<const Table>(std::move(nits))) {
    nits_ = table_->nits.data();
    count_ = static_cast<uint32_t>(table_->nits.size());
  }

  /// Shares the numbers.
  Curve(const Curve&) = default;
  /// Shares the numbers of the other curve.
  Curve& operator=(const Curve&) = default;
  ~Curve() = default;

  /// How many levels the curve has: 0 to Size() - 1.
  uint32_t Size() const noexcept { return count_; }

  /// The luminance of a client level in nits, bit for bit what the engine answered when the curve was sampled. NaN above
  /// the last level.
  double Nits(uint32_t level) const noexcept {
    return level < count_ ? nits_[level] : std::numeric_limits<double>::quiet_NaN();
  }

  /// The client level whose luminance is nearest to `nits`. Any number is answered.
  ///
  /// Two luminances can be nearest: the greatest that is not above `nits`, and the smallest above it. The smaller
  /// difference decides (computed in double precision); between equal differences, the lower level.
  ///  - If several levels have the first luminance, it stands for the highest of them; the second stands for the lowest.
  ///  - Without a first luminance the second is the answer, and the other way round.
  ///  - NaN is answered like infinity: by the highest level with the greatest luminance.
  ///  - Levels whose luminance is NaN are never the answer. If there are no others, the answer is 0.
  ///  - -infinity has no finite difference, not even to itself: the answer is the luminance above it, if there is one.
  ///
  /// On a curve that never falls this is the level that the engine finds in a dimming map with the same luminances. On
  /// one of finite luminances that rises strictly, Level(Nits(level)) is `level` for every level.
  uint32_t Level(double nits) const noexcept;

 private:
  /// The luminances, ready to be searched: by size, and with an index that divides their range into equal buckets.
  struct Table {
    explicit Table(std::vector<double> by_level);

    /// Ascending luminances; NaN is left out.
    const std::vector<double>& BySize() const { return ascending ? nits : by_size; }
    uint32_t LevelAt(size_t place) const { return ascending ? static_cast<uint32_t>(place) : levels[place]; }
    size_t BucketOf(double value) const;
    void SortBySize();
    void MakeBuckets();

    std::vector<double> nits;
    bool ascending;  ///< `nits` is ascending and needs neither `by_size` nor `levels`.
    std::vector<double> by_size;
    std::vector<uint32_t> levels;  ///< The level of each entry of `by_size`; equal luminances in the order of levels.
    double lowest = 0.0;           ///< Where the first bucket begins, in nits.
    double scale = 0.0;            ///< Buckets a nit.
    double last_bucket = 0.0;
    /// How many entries there are up to the last indexed one (each second is) in the buckets before the i-th.
    std::vector<uint32_t> ends;
  };

  std::shared_ptr<const Table> table_;
  // In the table; here, so that Nits is one read.
  const double* nits_ = nullptr;
  uint32_t count_ = 0;
};

inline uint32_t Curve::Level(double nits) const noexcept {
  const Table& table = *table_;
  const std::vector<double>& by_size = table.BySize();
  const size_t bucket = table.BucketOf(nits);
  const double* const first = by_size.data();
  // The last indexed entry of an earlier bucket is not above `nits`; the first one of a later bucket is.
  const double* const end = first + std::min(size_t{table.ends[bucket + 1]} + 1, by_size.size());
  const auto above = static_cast<size_t>(std::upper_bound(first + table.ends[bucket], end, nits) - first);
  if (above == 0) {
    return by_size.empty() ? 0 : table.LevelAt(0);
  }
  const size_t below = above - 1;
  if (above == by_size.size()) {
    return table.LevelAt(below);
  }
  const double to_below = std::fabs(first[below] - nits);
  const double to_above = std::fabs(first[above] - nits);
  if (table.ascending) {
    return static_cast<uint32_t>(to_below <= to_above ? below : above);
  }
  if (to_below == to_above) {
    return std::min(table.levels[below], table.levels[above]);
  }
  return table.levels[to_below < to_above ? below : above];
}

inline Curve::Table::Table(std::vector<double> by_level)
    : nits(std::move(by_level)),
      // Not "falls nowhere": a comparison with NaN is false.
      ascending(std::adjacent_find(nits.begin(), nits.end(), [](double a, double b) { return !(a <= b); }) ==
                nits.end()) {
  if (!ascending) {
    SortBySize();
  }
  MakeBuckets();
}

inline void Curve::Table::SortBySize() {
  levels.resize(nits.size());
  std::iota(levels.begin(), levels.end(), 0);
  levels.erase(std::remove_if(levels.begin(), levels.end(), [this](uint32_t level) { return std::isnan(nits[level]); }),
               levels.end());
  std::stable_sort(levels.begin(), levels.end(), [this](uint32_t a, uint32_t b) { return nits[a] < nits[b]; });
  by_size.reserve(levels.size());
  for (const uint32_t level : levels) {
    by_size.push_back(nits[level]);
  }
}

// A bucket for each second entry. One for all, where the range cannot be divided: it is empty, a point or infinite.
// An index of all entries would take nearly twice the time to make, and save a quarter of a search.
inline void Curve::Table::MakeBuckets() {
  const std::vector<double>& entries = BySize();
  const size_t indexed = (entries.size() + 1) / 2;
  const double range = entries.empty() ? 0.0 : entries.back() - entries.front();
  if (range > 0.0 && std::isfinite(range)) {
    lowest = entries.front();
    scale = static_cast<double>(indexed) / range;
    last_bucket = static_cast<double>(indexed - 1);
  }
  ends.assign(static_cast<size_t>(last_bucket) + 2, 0);
  for (size_t place = 0; place < entries.size(); place += 2) {
    ends[BucketOf(entries[place]) + 1] = static_cast<uint32_t>(place + 1);
  }
  uint32_t before = 0;
  for (uint32_t& end : ends) {
    before = end = std::max(end, before);  // an empty bucket ends where it begins
  }
}

// Never falls as `value` rises, whatever is rounded. The last bucket for NaN.
inline size_t Curve::Table::BucketOf(double value) const {
  const double place = std::max(0.0, std::min(last_bucket, (value - lowest) * scale));
  return static_cast<size_t>(static_cast<int64_t>(place));
}

}  // namespace zarn::client
