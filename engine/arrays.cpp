#include <cerrno>
#include <limits>

#include "backlight_nits_imp.h"
#include "log.h"
#include "records.h"

namespace zarn {

ArrayResult BackLightNitsImp::NitsOf(const uint32_t* levels, size_t count, uint32_t percentage, bool hdr,
                                     double* nits) {
  const std::lock_guard<std::mutex> guard(lock_);
  MeasuredTables tables;
  ArrayResult result{BeginArray(__func__, percentage, hdr, &tables)};
  BlBackLight in;
  in.percentage = percentage;
  for (size_t i = 0; result.ret == 0 && i < count; ++i) {
    in.bl = levels[i];
    BlNitsValue out;
    const bool converted = CheckLevel(in.bl, __func__) &&
                           (dimming_enabled_ ? NitsFromMaps(in, hdr, &out, __func__)
                                             : CalculateNits(&in, &out, tables.table_100, tables.table_10)) == 0;
    nits[i] = converted ? out.nits : std::numeric_limits<double>::quiet_NaN();
    result.Count(converted, i);
  }
  return result;
}

ArrayResult BackLightNitsImp::LevelsOf(const double* nits, size_t count, uint32_t percentage, bool hdr,
                                       uint32_t* levels) {
  const std::lock_guard<std::mutex> guard(lock_);
  MeasuredTables tables;
  ArrayResult result{BeginArray(__func__, percentage, hdr, &tables)};
  BlNitsValue in;
  in.percentage = percentage;
  for (size_t i = 0; result.ret == 0 && i < count; ++i) {
    in.nits = nits[i];
    BlNitsValue out;
    const bool converted = (dimming_enabled_ ? LevelFromMaps(in, hdr, &out)
                                             : CalculateBl(&in, &out, tables.table_100, tables.table_10)) == 0;
    levels[i] = converted ? out.bl : UINT32_MAX;
    result.Count(converted, i);
  }
  return result;
}

int BackLightNitsImp::BeginArray(const char* function, uint32_t percentage, bool hdr, MeasuredTables* tables) {
  if (!CheckInitialized(function) || !CheckPercentage(percentage, function)) {
    return -EINVAL;
  }
  return dimming_enabled_ ? 0 : FetchTablesFor(function, hdr, tables);
}

}  // namespace zarn
