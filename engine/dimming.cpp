#include <algorithm>
#include <cerrno>

#include "backlight_nits_imp.h"
#include "interpolation.h"
#include "log.h"
#include "records.h"

namespace zarn {
namespace {

// The first record of a setter's payload, whatever its count. Returns GetPayload's result. If it is not 0, logs it in
// the name of `function`.
template <class T>
int TakeFirst(const GenericPayload& payload, const char* kind, const char* function, T** record) {
  uint32_t count = 0;
  const int ret = payload.GetPayload(*record, count);
  if (ret != 0) {
    Log().Error("BackLightNitsImp::%s: failed to get payload for %s ret %d", function, kind, ret);
  }
  return ret;
}

// Converts a level from the scale 0 to `from` to the scale 0 to `to`, rounded down. The product needs 64 bits.
uint32_t Rescaled(uint32_t level, uint32_t from, uint32_t to) {
  return from != 0 ? static_cast<uint32_t>(uint64_t{level} * to / from) : 0;
}

// The dimmed level of client level `vb`: converted to a panel level, dimmed by the LUT, and converted back to a client
// level.
uint32_t DimmedLevel(uint32_t vb, const BLRange& range, const uint32_t* dimming_bl_lut) {
  const uint32_t panel_level = Rescaled(vb, range.max_os_bl, range.max_bl);
  const uint32_t dimmed = std::min(dimming_bl_lut[panel_level], range.max_bl);
  return Rescaled(dimmed, range.max_bl, range.max_os_bl);
}

// The message of a failed request is the same for all four tables.
void LogMapFailure(const FetchResult& fetched, const char* function) {
  switch (fetched.step) {
    case FetchStep::kCreateTable10:
      Log().Error("BackLightNitsImp::%s: failed to create BackLightToNitsTable payload", function);
      break;
    case FetchStep::kCreateTable100:
      Log().Error("BackLightNitsImp::%s: failed to create BackLightToNitsTable payload_fs", function);
      break;
    case FetchStep::kRequestTable10:
    case FetchStep::kRequestTable100:
      Log().Error("BackLightNitsImp::%s: get parameter for kBLNitsMapping10Percent ret %d", function, fetched.ret);
      break;
  }
}

}  // namespace

int BackLightNitsImp::GetDimmingStatus(GenericPayload* payload) {
  auto* const status = TakeOne<BLDimmingStatus>(*payload, __func__);
  if (status == nullptr) {
    return -EINVAL;
  }
  status->enabled = dimming_enabled_;
  return 0;
}

int BackLightNitsImp::GetDimmingScale(GenericPayload* payload) {
  auto* const scale = TakeOne<BLDimmingScale>(*payload, __func__);
  if (scale == nullptr) {
    return -EINVAL;
  }
  scale->scale = dimming_scale_;
  return 0;
}

int BackLightNitsImp::SetDimmingStatus(const GenericPayload& payload) {
  const BLDimmingStatus* status = nullptr;
  const int ret = TakeFirst(payload, "dimming status", __func__, &status);
  if (ret != 0) {
    return ret;
  }
  dimming_enabled_ = ReadFlag(status->enabled);
  if (!dimming_enabled_) {
    dimming_scale_ = 1.0;
  }
  Log().Info("BackLightNitsImp::%s: dimming_enabled_ is updated to %d", __func__, dimming_enabled_);
  return 0;
}

int BackLightNitsImp::SetDimmingScale(const GenericPayload& payload) {
  const BLDimmingScale* scale = nullptr;
  const int ret = TakeFirst(payload, "dimming scale", __func__, &scale);
  if (ret != 0) {
    return ret;
  }
  dimming_scale_ = scale->scale;
  Log().Info("BackLightNitsImp::%s: scale is updated to %f", __func__, dimming_scale_);
  return 0;
}

int BackLightNitsImp::SetDimmingLuts(const GenericPayload& payload) {
  Log().Info("BackLightNitsImp::%s: Updating Dimming LUTs", __func__);
  const DimmingLuts* luts = nullptr;
  int ret = TakeFirst(payload, "dimming Luts", __func__, &luts);
  if (ret != 0) {
    return ret;
  }
  // Computed in 64 bits: if the highest level is 4294967295, no count matches.
  if (luts->dimming_bl_lut == nullptr || luts->pcc_attn_lut == nullptr ||
      luts->bl_lut_sz != uint64_t{bl_range_.max_bl} + 1 || luts->pcc_lut_sz != uint64_t{bl_range_.max_os_bl} + 1) {
    Log().Error("BackLightNitsImp::%s: invalid input(s) dimming_bl_lut %pK pcc_attn_lut %pK bl_lut_sz %u pcc_lut_sz %u",
                __func__, static_cast<void*>(luts->dimming_bl_lut), static_cast<void*>(luts->pcc_attn_lut),
                luts->bl_lut_sz, luts->pcc_lut_sz);
    return -EINVAL;
  }
  struct Target {
    uint32_t percentage;
    bool hdr;
    std::vector<double>& map;
  };
  for (const Target& target : {Target{10, false, vb_to_nits_map_10_}, Target{100, false, vb_to_nits_map_100_},
                               Target{10, true, hdr_vb_to_nits_map_10_}, Target{100, true, hdr_vb_to_nits_map_100_}}) {
    ret = UpdateBlNitsMapping(target.percentage, target.hdr, &bl_range_, luts, target.map);
    if (ret != 0) {
      return ret;
    }
  }
  return 0;
}

int BackLightNitsImp::UpdateBlNitsMapping(uint32_t percentage, bool hdr, const BLRange* range, const DimmingLuts* luts,
                                          std::vector<double>& map) {
  if (percentage != 10 && percentage != 100) {
    Log().Info("BackLightNitsImp::%s: only 10 or 100 percentage is supported, input percentage %d", __func__,
               percentage);
    return 0;
  }
  MeasuredTables tables;
  const FetchResult fetched = FetchMeasuredTables(hdr, &tables);
  if (fetched.ret != 0) {
    LogMapFailure(fetched, __func__);
    return fetched.ret;
  }
  const BackLightToNitsTable& table = percentage == 10 ? *tables.table_10 : *tables.table_100;
  map.resize(size_t{range->max_os_bl} + 1);
  uint32_t before = 0;
  size_t place = 0;
  for (size_t vb = 0; vb < map.size(); ++vb) {
    const uint32_t bl = DimmedLevel(static_cast<uint32_t>(vb), *range, luts->dimming_bl_lut);
    // For a rising LUT one pass over the table suffices: the points before the last place are below the last level.
    place = WalkToLevel(table, bl, bl < before ? 0 : place);
    before = bl;
    double nits = 0.0;
    const int ret = NitsAt(table, place, bl, &nits);
    if (ret != 0) {
      map.clear();
      return ret;
    }
    map[vb] = nits * luts->pcc_attn_lut[vb];
    if (percentage == 10 && !hdr) {
      Log().Verbose("BackLightNitsImp::%s: vb %d nits %f", __func__, static_cast<uint32_t>(vb), map[vb]);
    }
  }
  return 0;
}

}  // namespace zarn
