#include <cerrno>

#include "backlight_nits_imp.h"
#include "interpolation.h"
#include "log.h"
#include "records.h"

namespace zarn {
namespace {

// An empty map gives 0.0 for every level. A map can be shorter than the range, if another Init raised max_os_bl: a
// level beyond the map is refused.
int NitsOnMap(const std::vector<double>& map, uint32_t bl, const char* function, double* nits) {
  if (map.empty()) {
    *nits = 0.0;
    return 0;
  }
  if (bl >= map.size()) {
    Log().Error("BackLightNitsImp::%s: invalid input backlight %u max %u", function, bl,
                static_cast<uint32_t>(map.size() - 1));
    return -EINVAL;
  }
  *nits = map[bl];
  return 0;
}

}  // namespace

int BackLightNitsImp::InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2,
                                  BackLightCordinates* out) {
  return zarn::InterPolate(p1, p2, out);
}

int BackLightNitsImp::ProcessBackLightToNits(const GenericPayload& in, GenericPayload* out) {
  const auto* const request = TakeOne<BlBackLight>(in, __func__);
  auto* const answer = request != nullptr ? TakeOne<BlNitsValue>(*out, __func__) : nullptr;
  if (answer == nullptr || !CheckPercentage(request->percentage, __func__)) {
    return -EINVAL;
  }
  if (!CheckLevel(request->bl, __func__)) {
    return -EINVAL;
  }
  const bool hdr = ReadFlag(request->hdr);
  return dimming_enabled_ ? NitsFromMaps(*request, hdr, answer, __func__)
                          : NitsFromTables(*request, hdr, answer, __func__);
}

bool BackLightNitsImp::CheckLevel(uint32_t bl, const char* function) const {
  if (bl > bl_range_.max_os_bl) {
    Log().Error("BackLightNitsImp::%s: invalid input backlight %u max %u", function, bl, bl_range_.max_os_bl);
    return false;
  }
  return true;
}

// The standard map replaces an empty high-brightness map only at a measured coverage, never where two coverages are
// combined.
int BackLightNitsImp::NitsFromMaps(const BlBackLight& in, bool hdr, BlNitsValue* out, const char* function) {
  const bool combined = in.percentage > 10 && in.percentage < 100;
  const auto choose = [&](const std::vector<double>& standard, const std::vector<double>& high) -> const auto& {
    return hdr && (combined || !high.empty()) ? high : standard;
  };
  const auto& map_10 = choose(vb_to_nits_map_10_, hdr_vb_to_nits_map_10_);
  const auto& map_100 = choose(vb_to_nits_map_100_, hdr_vb_to_nits_map_100_);
  double nits_10 = 0.0;
  double nits_100 = 0.0;
  int ret = NeedsTenth(in.percentage) ? NitsOnMap(map_10, in.bl, function, &nits_10) : 0;
  if (ret == 0 && NeedsFull(in.percentage)) {
    ret = NitsOnMap(map_100, in.bl, function, &nits_100);
  }
  if (ret != 0) {
    return ret;
  }
  out->percentage = in.percentage;
  out->bl = in.bl;
  out->nits = ValueAtCoverage(in.percentage, nits_10, nits_100);
  out->hdr = hdr;
  return 0;
}

int BackLightNitsImp::NitsFromTables(const BlBackLight& in, bool hdr, BlNitsValue* out, const char* function) {
  MeasuredTables tables;
  const int ret = FetchTablesFor(function, hdr, &tables);
  return ret != 0 ? ret : CalculateNits(&in, out, tables.table_100, tables.table_10);
}

int BackLightNitsImp::CalculateNits(const BlBackLight* in, BlNitsValue* out, const BackLightToNitsTable* table_100,
                                    const BackLightToNitsTable* table_10) {
  if (!CheckPercentage(in->percentage, __func__)) {
    return -EINVAL;
  }
  double nits_10 = 0.0;
  double nits_100 = 0.0;
  int ret = NeedsTenth(in->percentage) ? GetNitsValue(in->bl, table_10, &nits_10) : 0;
  if (ret == 0 && NeedsFull(in->percentage)) {
    ret = GetNitsValue(in->bl, table_100, &nits_100);
  }
  if (ret != 0) {
    return ret;
  }
  out->percentage = in->percentage;
  out->bl = in->bl;
  out->nits = ValueAtCoverage(in->percentage, nits_10, nits_100);
  return 0;
}

int BackLightNitsImp::GetNitsValue(uint32_t bl, const BackLightToNitsTable* table, double* nits) {
  if (table == nullptr || nits == nullptr) {
    Log().Error("BackLightNitsImp::%s: invalid table %pK nits %pK", __func__, static_cast<const void*>(table),
                static_cast<void*>(nits));
    return -EINVAL;
  }
  return NitsAt(*table, WalkToLevel(*table, bl), bl, nits);
}

}  // namespace zarn
