#include <cinttypes>
#include <limits>

#include "arguments.h"
#include "foreign_text.h"
#include "last_error.h"
#include "panel.h"

using namespace blnits;

namespace {

template <class Record>
int Write(bln_panel* panel, zarn::BLNitsParams param, const Record& record) {
  zarn::GenericPayload payload;
  payload.CopyPayload(record);
  const Logging logging(panel->log);
  return panel->engine.SetParameter(param, payload);
}

bln_status SetLuts(const char* function, bln_panel* panel, const uint32_t* panel_levels, size_t panel_level_count,
                   const double* attenuation, size_t attenuation_count) {
  const auto range = Read<zarn::BLRange>(panel, zarn::kBLRange);
  const uint64_t needed = uint64_t{range.max_bl} + 1;
  const uint64_t needed_attenuation = uint64_t{range.max_os_bl} + 1;
  constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
  if (panel_level_count != needed || attenuation_count != needed_attenuation || needed > kMost ||
      needed_attenuation > kMost) {
    return Fail(BLN_INVALID_ARGUMENT, "%s: found %zu panel levels and %zu factors, expected %" PRIu64 " and %" PRIu64,
                function, panel_level_count, attenuation_count, needed, needed_attenuation);
  }
  zarn::DimmingLuts luts;
  luts.bl_lut_sz = static_cast<uint32_t>(panel_level_count);
  luts.dimming_bl_lut = const_cast<uint32_t*>(panel_levels);  // only read
  luts.pcc_lut_sz = static_cast<uint32_t>(attenuation_count);
  luts.pcc_attn_lut = const_cast<double*>(attenuation);
  return Write(panel, zarn::kBLDimmingLuts, luts) == 0
             ? BLN_OK
             : Fail(BLN_REFUSED, "%s: a measured table does not allow interpolation at a dimmed level",
                    Printable(panel->file).c_str());
}

}  // namespace

bln_status bln_panel_dimming(const bln_panel* panel, int* enabled) {
  const bln_status status = CheckNotNull(__func__, {{"panel", panel}, {"enabled", enabled}});
  return status != BLN_OK ? status : Guarded([&] {
    *enabled = Read<zarn::BLDimmingStatus>(panel, zarn::kBLDimmingStatus).enabled ? 1 : 0;
    return BLN_OK;
  });
}

bln_status bln_panel_set_dimming(bln_panel* panel, int enabled) {
  const bln_status status = CheckNotNull(__func__, {{"panel", panel}});
  return status != BLN_OK ? status : Guarded([&] {
    zarn::BLDimmingStatus record;
    record.enabled = enabled != 0;
    Write(panel, zarn::kBLDimmingStatus, record);
    return BLN_OK;
  });
}

bln_status bln_panel_set_dimming_luts(bln_panel* panel, const uint32_t* panel_levels, size_t panel_level_count,
                                      const double* attenuation, size_t attenuation_count) {
  const char* const function = __func__;
  const bln_status status =
      CheckNotNull(function, {{"panel", panel}, {"panel_levels", panel_levels}, {"attenuation", attenuation}});
  return status != BLN_OK ? status : Guarded([&] {
    return SetLuts(function, panel, panel_levels, panel_level_count, attenuation, attenuation_count);
  });
}
