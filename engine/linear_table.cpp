#include <algorithm>
#include <cerrno>

#include "backlight_nits_imp.h"
#include "calibration_format.h"
#include "interpolation.h"
#include "log.h"
#include "records.h"
#include "saturate.h"

namespace zarn {

// Checks the caller's payload only after the parser has answered.
int BackLightNitsImp::GetBlLinearTable(GenericPayload* payload) {
  GenericPayload sparse_payload;
  BLLinearTable* sparse = nullptr;
  sparse_payload.CreatePayload(sparse);
  const int ret = parser_->GetParameter(kBLLinearTable, &sparse_payload);
  if (ret != 0) {
    Log().Error("BackLightNitsImp::%s: get bllinear tabled failed ret %d", __func__, ret);
    return ret;
  }
  auto* const dense = TakeOne<BLLinearTable>(*payload, __func__);
  return dense != nullptr ? InterPolateBlLinearTable(*sparse, dense) : -EINVAL;
}

int BackLightNitsImp::InterPolateBlLinearTable(const BLLinearTable& in, BLLinearTable* out) {
  if (out == nullptr) {
    Log().Error("BackLightNitsImp::%s: invalid out param", __func__);
    return -EINVAL;
  }
  const auto& pairs = in.entries;
  if (pairs.size() < 2) {
    Log().Error("BackLightNitsImp::%s: invalid size %d", __func__, static_cast<uint32_t>(pairs.size()));
    return -EINVAL;
  }
  const auto does_not_rise = [](const auto& pair, const auto& next) { return pair.first >= next.first; };
  if (std::adjacent_find(pairs.begin(), pairs.end(), does_not_rise) != pairs.end()) {
    Log().Error("BackLightNitsImp::%s: invalid table values", __func__);
    return -EINVAL;
  }
  if (pairs.front().first != 0) {
    Log().Error("BackLightNitsImp::%s: invalid case i %d it->first %d (it + 1)->first %d", __func__, 0, pairs[0].first,
                pairs[1].first);
    return -EINVAL;
  }
  const uint32_t last = pairs.back().first;
  if (last > format::kLastLinearizedLevel) {
    Log().Error("BackLightNitsImp::%s: last linearized level %u exceeds the limit %u", __func__, last,
                format::kLastLinearizedLevel);
    return -EINVAL;
  }
  auto& dense = out->entries;
  dense.reserve(dense.size() + last + 1);
  for (auto pair = pairs.begin(); pair + 1 != pairs.end(); ++pair) {
    AppendSegment(*pair, *(pair + 1), &dense);
  }
  dense.push_back(pairs.back());
  return 0;
}

// Appends `from` and the interpolated levels up to the one before `to`.
void BackLightNitsImp::AppendSegment(const std::pair<uint32_t, uint32_t>& from, const std::pair<uint32_t, uint32_t>& to,
                                     std::vector<std::pair<uint32_t, uint32_t>>* dense) {
  const auto coordinates = [](const auto& pair) {
    return BackLightCordinates{static_cast<double>(pair.first), static_cast<double>(pair.second)};
  };
  const BackLightCordinates p1 = coordinates(from);
  const BackLightCordinates p2 = coordinates(to);
  dense->push_back(from);
  for (uint32_t level = from.first + 1; level < to.first; ++level) {
    BackLightCordinates on_line{static_cast<double>(level), 0.0};
    zarn::InterPolate(p1, p2, &on_line);
    dense->emplace_back(level, RoundToU32(on_line.y));
  }
}

}  // namespace zarn
