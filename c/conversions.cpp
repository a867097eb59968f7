#include "arguments.h"
#include "foreign_text.h"
#include "last_error.h"
#include "panel.h"

using namespace blnits;

namespace {

bln_status CheckCoverage(const bln_panel* panel, uint32_t coverage) {
  return coverage >= 1 && coverage <= 100 ? BLN_OK
                                          : Fail(BLN_REFUSED, "%s: coverage is %u, expected 1 to 100 per cent",
                                                 Printable(panel->file).c_str(), coverage);
}

constexpr const char* kFaultyTable =
    "a measured table has two neighbouring points at the same place, between which nothing can be interpolated";

bln_status FailToConvert(const bln_panel* panel, uint32_t level, size_t element) {
  const auto range = Read<zarn::BLRange>(panel, zarn::kBLRange);
  return level > range.max_os_bl ? Fail(BLN_REFUSED, "%s: level %u (element %zu) is above the highest client level, %u",
                                        Printable(panel->file).c_str(), level, element, range.max_os_bl)
                                 : Fail(BLN_REFUSED, "%s: level %u (element %zu): %s", Printable(panel->file).c_str(),
                                        level, element, kFaultyTable);
}

bln_status FailToConvert(const bln_panel* panel, double nits, size_t element) {
  const bool dimming = Read<zarn::BLDimmingStatus>(panel, zarn::kBLDimmingStatus).enabled;
  return Fail(BLN_REFUSED, "%s: %g nits (element %zu): %s", Printable(panel->file).c_str(), nits, element,
              dimming ? "dimming is on but no LUTs are set" : kFaultyTable);
}

/// Converts the elements of `from` to `to` by `convert`, a function of the engine.
template <class From, class To, class Convert>
bln_status ConvertArray(const bln_panel* panel, const From* from, size_t count, uint32_t coverage, bln_mode mode,
                        To* to, size_t* refused, Convert convert) {
  const bln_status status = CheckCoverage(panel, coverage);
  if (status != BLN_OK) {
    return status;
  }
  zarn::ArrayResult result{0};
  {
    const Logging logging(panel->log);
    result = (panel->engine.*convert)(from, count, coverage, mode == BLN_HIGH_BRIGHTNESS, to);
  }
  if (refused != nullptr) {
    *refused = result.refused;
  }
  return result.refused == 0 ? BLN_OK : FailToConvert(panel, from[result.first], result.first);
}

bln_status ConvertToLevels(const bln_panel* panel, const double* nits, size_t count, uint32_t coverage, bln_mode mode,
                           uint32_t* levels, size_t* refused) {
  return ConvertArray(panel, nits, count, coverage, mode, levels, refused, &zarn::BackLightNitsImp::LevelsOf);
}

/// Checks the arguments and converts. A single value is an array of one element.
template <class From, class To, class Convert>
bln_status Run(const char* function, const bln_panel* panel, const From* from, const char* from_name, size_t count,
               uint32_t coverage, bln_mode mode, To* to, const char* to_name, size_t* refused, Convert convert) {
  bln_status status =
      CheckNotNull(function, {{"panel", panel}, Array(from_name, from, count), Array(to_name, to, count)});
  status = status == BLN_OK ? CheckMode(function, mode) : status;
  return status != BLN_OK ? status : Guarded([&] { return convert(panel, from, count, coverage, mode, to, refused); });
}

}  // namespace

bln_status blnits::ConvertToNits(const bln_panel* panel, const uint32_t* levels, size_t count, uint32_t coverage,
                                 bln_mode mode, double* nits, size_t* refused) {
  return ConvertArray(panel, levels, count, coverage, mode, nits, refused, &zarn::BackLightNitsImp::NitsOf);
}

bln_status bln_panel_nits_array(const bln_panel* panel, const uint32_t* levels, size_t count, uint32_t coverage,
                                bln_mode mode, double* nits, size_t* refused) {
  return Run(__func__, panel, levels, "levels", count, coverage, mode, nits, "nits", refused, blnits::ConvertToNits);
}

bln_status bln_panel_level_array(const bln_panel* panel, const double* nits, size_t count, uint32_t coverage,
                                 bln_mode mode, uint32_t* levels, size_t* refused) {
  return Run(__func__, panel, nits, "nits", count, coverage, mode, levels, "levels", refused, ConvertToLevels);
}

bln_status bln_panel_nits(const bln_panel* panel, uint32_t level, uint32_t coverage, bln_mode mode, double* nits) {
  bln_status status = CheckNotNull(__func__, {{"nits", nits}});
  double result = 0.0;
  status = status == BLN_OK ? Run(__func__, panel, &level, "level", 1, coverage, mode, &result, "nits", nullptr,
                                  blnits::ConvertToNits)
                            : status;
  if (status == BLN_OK) {
    *nits = result;
  }
  return status;
}

bln_status bln_panel_level(const bln_panel* panel, double nits, uint32_t coverage, bln_mode mode, uint32_t* level) {
  bln_status status = CheckNotNull(__func__, {{"level", level}});
  uint32_t result = 0;
  status = status == BLN_OK
               ? Run(__func__, panel, &nits, "nits", 1, coverage, mode, &result, "level", nullptr, ConvertToLevels)
               : status;
  if (status == BLN_OK) {
    *level = result;
  }
  return status;
}
