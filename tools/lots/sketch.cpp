#include "lots/sketch.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace blnits {
namespace {

constexpr int kDroppedBits = 52 - 11;

uint64_t BitsOf(double number) {
  uint64_t bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

/// The number whose rank among all is share * count, rounded up, at least 1. \param numbers rising, with their counts.
double OfRank(double share, const std::vector<std::pair<double, uint64_t>>& numbers) {
  uint64_t all = 0;
  for (const auto& each : numbers) {
    all += each.second;
  }
  uint64_t rank = std::max<uint64_t>(1, static_cast<uint64_t>(std::ceil(share * static_cast<double>(all))));
  for (const auto& [number, count] : numbers) {
    if (rank <= count) {
      return number;
    }
    rank -= count;
  }
  return std::nan("");
}

}  // namespace

void Sketch::Merge(const Sketch& other) {
  for (const auto& [bucket, count] : other.All()) {
    Add(bucket, count);
  }
}

double Sketch::Percentile(double share) const {
  std::vector<std::pair<double, uint64_t>> luminances;
  for (const auto& [bucket, count] : All()) {
    luminances.emplace_back(MiddleOf(bucket), count);
  }
  return OfRank(share, luminances);
}

double Sketch::MedianDistance(double nits) const {
  std::vector<std::pair<double, uint64_t>> distances;
  for (const auto& [bucket, count] : All()) {
    distances.emplace_back(std::abs(MiddleOf(bucket) - nits), count);
  }
  std::sort(distances.begin(), distances.end());
  return OfRank(0.5, distances);
}

std::vector<std::pair<int32_t, uint64_t>> Sketch::All() const {
  std::vector<std::pair<int32_t, uint64_t>> all;
  for (const auto& [page, counts] : pages_) {
    for (size_t i = 0; i < counts.size(); ++i) {
      if (counts[i] > 0) {
        all.emplace_back(page * kPageBuckets + static_cast<int32_t>(i), counts[i]);
      }
    }
  }
  return all;
}

int32_t Sketch::BucketOf(double nits) {
  return nits > 0.0 ? static_cast<int32_t>(BitsOf(nits) >> kDroppedBits) : 0;  // -0 has the bits of a large number.
}

double Sketch::MiddleOf(int32_t bucket) {
  if (bucket == 0) {
    return 0.0;  // A black level has no spread: distances from a middle above 0 would be infinite scores.
  }
  const uint64_t bits = (static_cast<uint64_t>(bucket) << kDroppedBits) + (uint64_t{1} << (kDroppedBits - 1));
  double middle = 0.0;
  std::memcpy(&middle, &bits, sizeof middle);
  return middle;
}

bool Sketch::IsBucket(int64_t number) { return number >= 0 && number <= BucketOf(std::numeric_limits<double>::max()); }

}  // namespace blnits
