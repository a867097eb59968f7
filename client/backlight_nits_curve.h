#pragma once

/// \file
/// A sampled curve: a table of the luminances of a panel's client levels at one coverage, which the client owns.
///
/// The results need IEEE 754 arithmetic. This header does not compile with -ffast-math or a part of it.

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

/// The luminance of each client level from 0 on, in nits. Panel::Sample creates one. A program can also create one from
/// its own numbers.
///
/// A curve never changes, and it owns its numbers. Later changes of the engine do not affect it, and it may outlive the
/// engine. Any number of threads may read one curve, or copies of it, at the same time. Reading takes no lock and
/// allocates nothing. Copies share the numbers. A move is a copy: the source keeps its curve.
class Curve {
 public:
  /// \param nits luminance of level 0, 1, 2, ...; any numbers in any order, also NaN and infinities. At most
  /// 4,294,967,295 of them.
  /// \throws std::bad_alloc if memory runs out.
  explicit Curve(std::vector<double> nits) : table_(std::make_shared<const Table>(std::move(nits))) {
    nits_ = table_->nits.data();
    count_ = static_cast<uint32_t>(table_->nits.size());
  }

  /// Shares the numbers.
  Curve(const Curve&) = default;
  /// Shares the numbers of the other curve.
  Curve& operator=(const Curve&) = default;
  ~Curve() = default;

  /// The number of levels. The levels are 0 to Size() - 1.
  uint32_t Size() const noexcept { return count_; }

  /// The luminances of levels 0 to Size() - 1. Valid as long as this curve or a copy of it exists.
  const double* Data() const noexcept { return nits_; }

  /// The luminance of a client level in nits: the engine's answer at the time of sampling, bit for bit. NaN above the
  /// last level.
  double Nits(uint32_t level) const noexcept {
    return level < count_ ? nits_[level] : std::numeric_limits<double>::quiet_NaN();
  }

  /// The client level whose luminance is nearest to `nits`. Any number is accepted.
  ///
  /// There are two candidates: the greatest luminance that is not above `nits`, and the smallest above it. The
  /// candidate with the smaller difference wins (computed in double precision). If the differences are equal, the lower
  /// level wins.
  ///  - If several levels have the luminance of the first candidate, the highest of them counts; for the second
  ///    candidate, the lowest.
  ///  - If there is only one candidate, it wins.
  ///  - NaN is treated like infinity: the result is the highest level with the greatest luminance.
  ///  - Levels whose luminance is NaN are never the result. If there are no others, the result is 0.
  ///  - -infinity has no finite difference, not even to itself: the next higher luminance wins, if there is one.
  ///
  /// On a curve that never falls, this is the level that the engine finds in a dimming map with the same luminances. On
  /// a curve of finite luminances that rises strictly, Level(Nits(level)) is `level` for every level.
  uint32_t Level(double nits) const noexcept;

 private:
  /// The luminances, prepared for searching: sorted, with an index that divides their range into equal buckets.
  struct Table {
    explicit Table(std::vector<double> by_level);

    /// Ascending luminances; NaN is left out.
    const std::vector<double>& BySize() const { return ascending ? nits : by_size; }
    uint32_t LevelAt(size_t place) const { return ascending ? static_cast<uint32_t>(place) : levels[place]; }
    size_t BucketOf(double value) const;
    void SortBySize();
    void MakeBuckets();

    std::vector<double> nits;
    bool ascending;  ///< `nits` ascends, so `by_size` and `levels` are not needed.
    std::vector<double> by_size;
    std::vector<uint32_t> levels;  ///< The level of each entry of `by_size`; of equal luminances, the lowest first.
    double lowest = 0.0;           ///< Start of the first bucket, in nits.
    double scale = 0.0;            ///< Buckets for each nit.
    double last_bucket = 0.0;
    /// Every second entry is indexed. Element i: the number of entries up to the last indexed one in the buckets before
    /// bucket i.
    std::vector<uint32_t> ends;
  };

  std::shared_ptr<const Table> table_;
  // Copies of the table's values, so that Nits needs one read.
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
      // !(a <= b) rather than a > b, which is false for NaN.
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

// As many buckets as indexed entries: every second entry. A single bucket if the range is empty, a point or infinite
// and cannot be divided. An index of all entries would take nearly twice the time to build, and save a quarter of a
// search.
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

// Rounding keeps the order: a greater `value` never has a lower bucket. NaN has the last bucket.
inline size_t Curve::Table::BucketOf(double value) const {
  const double place = std::max(0.0, std::min(last_bucket, (value - lowest) * scale));
  return static_cast<size_t>(static_cast<int64_t>(place));
}

}  // namespace zarn::client
