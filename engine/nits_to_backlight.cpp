#include <cerrno>
#include <cmath>

#include "backlight_nits_imp.h"
#include "interpolation.h"
#include "log.h"
#include "records.h"
#include "saturate.h"

namespace zarn {
namespace {

// The index of the first entry greater than `nits`, or the map's size. Do not use std::upper_bound: a map may be
// unsorted, and then these steps define the result.
size_t FirstAbove(const std::vector<double>& map, double nits) {
  size_t start = 0;
  for (size_t count = map.size(); count != 0;) {
    const size_t half = count / 2;
    const bool above = map[start + half] > nits;
    start += above ? 0 : half + 1;
    count = above ? half : count - half - 1;
  }
  return start;
}

}  // namespace

int BackLightNitsImp::ProcessNitsToBackLight(const GenericPayload& in, GenericPayload* out) {
  const auto* const request = TakeOne<BlNitsValue>(in, __func__);
  auto* const answer = request != nullptr ? TakeOne<BlNitsValue>(*out, __func__) : nullptr;
  if (answer == nullptr || !CheckPercentage(request->percentage, __func__)) {
    return -EINVAL;
  }
  const bool hdr = ReadFlag(request->hdr);
  return dimming_enabled_ ? LevelFromMaps(*request, hdr, answer) : LevelFromTables(*request, hdr, answer, __func__);
}

// Unlike in the other direction, the standard map never replaces an empty high-brightness map.
int BackLightNitsImp::LevelFromMaps(const BlNitsValue& in, bool hdr, BlNitsValue* out) {
  uint32_t bl = 0;
  const int ret = hdr ? LevelIn(in, hdr_vb_to_nits_map_10_, hdr_vb_to_nits_map_100_, &bl)
                      : LevelIn(in, vb_to_nits_map_10_, vb_to_nits_map_100_, &bl);
  if (ret != 0) {
    return ret;
  }
  // `out` may be `in`, so write only from here on.
  out->percentage = in.percentage;
  out->hdr = hdr;
  out->bl = bl;
  out->nits = in.nits;
  return 0;
}

int BackLightNitsImp::LevelFromTables(const BlNitsValue& in, bool hdr, BlNitsValue* out, const char* function) {
  MeasuredTables tables;
  const int ret = FetchTablesFor(function, hdr, &tables);
  return ret != 0 ? ret : CalculateBl(&in, out, tables.table_100, tables.table_10);
}

int BackLightNitsImp::CalculateBl(const BlNitsValue* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                                  const BackLightToNitsTable* table_10) {
  if (!CheckPercentage(in->percentage, __func__)) {
    return -EINVAL;
  }
  uint32_t bl = 0;
  const int ret = LevelIn(*in, table_10, table_100, &bl);
  if (ret != 0) {
    return ret;
  }
  out->percentage = in->percentage;
  out->bl = bl;
  out->nits = in->nits;
  return 0;
}

/// The level for `in` from `at_10` and `at_100`, which are two tables or two maps.
template <class Source>
int BackLightNitsImp::LevelIn(const BlNitsValue& in, const Source& at_10, const Source& at_100, uint32_t* bl) {
  uint32_t level_10 = 0;
  uint32_t level_100 = 0;
  int ret = NeedsTenth(in.percentage) ? GetBlValue(in.nits, at_10, &level_10) : 0;
  if (ret == 0 && NeedsFull(in.percentage)) {
    ret = GetBlValue(in.nits, at_100, &level_100);
  }
  *bl = LevelAtCoverage(in.percentage, level_10, level_100);
  return ret;
}

int BackLightNitsImp::GetBlValue(double nits, const BackLightToNitsTable* table, uint32_t* bl) {
  if (table == nullptr || bl == nullptr) {
    Log().Error("BackLightNitsImp::%s: invalid table %pK bl %pK", __func__, static_cast<const void*>(table),
                static_cast<void*>(bl));
    return -EINVAL;
  }
  return LevelAt(*table, WalkToNits(*table, nits), nits, bl);
}

int BackLightNitsImp::GetBlValue(double nits, const std::vector<double>& vb_to_nits_map, uint32_t* bl) {
  const auto& map = vb_to_nits_map;
  if (map.empty()) {
    return -EINVAL;
  }
  const size_t above = FirstAbove(map, nits);
  if (above == 0) {
    *bl = 0;
    Log().Verbose("BackLightNitsImp::%s: input nits %f, bl %d, vb_to_nits_map[0] = %f", __func__, nits, 0, map[0]);
    return 0;
  }
  const size_t below = above - 1;
  if (above == map.size()) {
    *bl = static_cast<uint32_t>(below);
    Log().Verbose("BackLightNitsImp::%s: input nits %f, bl %d, vb_to_nits_map[%d] = %f", __func__, nits, *bl, *bl,
                  map[below]);
  } else {
    const bool nearer_below = std::fabs(map[below] - nits) <= std::fabs(map[above] - nits);
    *bl = static_cast<uint32_t>(nearer_below ? below : above);
    Log().Verbose("BackLightNitsImp::%s: input nits %f, bl %d, vb_to_nits_map[%d] = %f, vb_to_nits_map[%d] = %f",
                  __func__, nits, *bl, static_cast<uint32_t>(below), map[below], static_cast<uint32_t>(above),
                  map[above]);
  }
  return 0;
}

}  // namespace zarn
