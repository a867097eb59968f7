#include "backlight_nits_imp.h"
#include "log.h"

namespace zarn {

FetchResult BackLightNitsImp::FetchMeasuredTables(bool hdr, MeasuredTables* tables) {
  int ret = tables->mapping_table.CreatePayload(tables->table_10);
  if (ret != 0) {
    return {ret, FetchStep::kCreateTable10};
  }
  ret = tables->mapping_tablefs.CreatePayload(tables->table_100);
  if (ret != 0) {
    return {ret, FetchStep::kCreateTable100};
  }
  ret = hdr ? GetBlHdrNitsMapping10Percent(&tables->mapping_table) : GetBlNitsMapping10Percent(&tables->mapping_table);
  if (ret != 0) {
    return {ret, FetchStep::kRequestTable10};
  }
  ret = hdr ? GetBlHdrNitsMapping100Percent(&tables->mapping_tablefs)
            : GetBlNitsMapping100Percent(&tables->mapping_tablefs);
  return {ret, FetchStep::kRequestTable100};
}

// The fetch for both conversions. Its messages name the failed step.
int BackLightNitsImp::FetchTablesFor(const char* function, bool hdr, MeasuredTables* tables) {
  const auto [ret, step] = FetchMeasuredTables(hdr, tables);
  if (ret == 0) {
    return 0;
  }
  switch (step) {
    case FetchStep::kCreateTable10:
      Log().Error("BackLightNitsImp::%s: creating mapping_table failed ret %d", function, ret);
      break;
    case FetchStep::kCreateTable100:
      Log().Error("BackLightNitsImp::%s: creating mapping_tablefs failed ret %d", function, ret);
      break;
    case FetchStep::kRequestTable10:
      Log().Error("BackLightNitsImp::%s: get parameter for %s ret %d", function,
                  hdr ? "kBLHdrNitsMapping10Percent" : "kBLNitsMapping10Percent", ret);
      break;
    case FetchStep::kRequestTable100:
      Log().Error("BackLightNitsImp::%s: get parameter for %s ret %d", function,
                  hdr ? "kBLHdrNitsMapping100Percent" : "kBLNitsMapping100Percent", ret);
      break;
  }
  return ret;
}

}  // namespace zarn
