#include "lots/sketch.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace blnits {
namespace {

constexpr int kDroppedBits = 52 - 11;

uint64_t BitsOf(double number) {
  uint64_t bits = 0;
  std::memcpy(&bits, &number, sizeof bits);
  return bits;
}

}  // namespace

void Sketch::Merge(const Sketch& other) {
  for (const auto& [bucket, count] : other.buckets_) {
    buckets_[bucket] += count;
  }
}

double Sketch::Percentile(double share) const {
  uint64_t left = RankOf(share);
  for (const auto& [bucket, count] : buckets_) {
    if (left <= count) {
      return MiddleOf(bucket);
    }
    left -= count;
  }
  return std::nan("");
}

double Sketch::MedianDistance(double nits) const {
  std::vector<std::pair<double, uint64_t>> distances;
  for (const auto& [bucket, count] : buckets_) {
    distances.emplace_back(std::abs(MiddleOf(bucket) - nits), count);
  }
  std::sort(distances.begin(), distances.end());
  uint64_t left = RankOf(0.5);
  for (const auto& [distance, count] : distances) {
    if (left <= count) {
      return distance;
    }
    left -= count;
  }
  return std::nan("");
}

int32_t Sketch::BucketOf(double nits) { return static_cast<int32_t>(BitsOf(nits) >> kDroppedBits); }

double Sketch::MiddleOf(int32_t bucket) {
  const uint64_t bits = (static_cast<uint64_t>(bucket) << kDroppedBits) + (uint64_t{1} << (kDroppedBits - 1));
  double middle = 0.0;
  std::memcpy(&middle, &bits, sizeof middle);
  return middle;
}

bool Sketch::IsBucket(int64_t number) { return number >= 0 && number <= BucketOf(std::numeric_limits<double>::max()); }

uint64_t Sketch::RankOf(double share) const {
  uint64_t count = 0;
  for (const auto& each : buckets_) {
    count += each.second;
  }
  return std::max<uint64_t>(1, static_cast<uint64_t>(std::ceil(share * static_cast<double>(count))));
}

}  // namespace blnits
