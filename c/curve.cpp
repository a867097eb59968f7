#include <numeric>
#include <utility>
#include <vector>

#include "arguments.h"
#include "backlight_nits_curve.h"
#include "calibration_format.h"
#include "foreign_text.h"
#include "last_error.h"
#include "panel.h"

struct bln_curve {
  zarn::client::Curve curve;
};

using namespace blnits;

namespace {

bln_status Sample(const bln_panel* panel, uint32_t coverage, bln_mode mode, bln_curve** curve) {
  const auto range = Read<zarn::BLRange>(panel, zarn::kBLRange);
  // The same limit as for linearized levels: the file alone decides the memory.
  if (range.max_os_bl > zarn::format::kLastLinearizedLevel) {
    return Fail(BLN_REFUSED, "%s: the highest client level is %u, and a curve has at most level %u",
                Printable(panel->file).c_str(), range.max_os_bl, zarn::format::kLastLinearizedLevel);
  }
  std::vector<uint32_t> levels(size_t{range.max_os_bl} + 1);
  std::iota(levels.begin(), levels.end(), 0U);
  std::vector<double> nits(levels.size());
  const bln_status status =
      blnits::ConvertToNits(panel, levels.data(), levels.size(), coverage, mode, nits.data(), nullptr);
  if (status == BLN_OK) {
    *curve = new bln_curve{zarn::client::Curve(std::move(nits))};
  }
  return status;
}

}  // namespace

bln_status bln_curve_create(const bln_panel* panel, uint32_t coverage, bln_mode mode, bln_curve** curve) {
  bln_status status = CheckNotNull(__func__, {{"panel", panel}, {"curve", curve}});
  status = status == BLN_OK ? CheckMode(__func__, mode) : status;
  return status != BLN_OK ? status : Guarded([&] { return Sample(panel, coverage, mode, curve); });
}

void bln_curve_free(bln_curve* curve) { delete curve; }

bln_status bln_curve_values(const bln_curve* curve, const double** nits, size_t* count) {
  const bln_status status = CheckNotNull(__func__, {{"curve", curve}, {"nits", nits}, {"count", count}});
  if (status == BLN_OK) {
    *nits = curve->curve.Data();
    *count = curve->curve.Size();
  }
  return status;
}

bln_status bln_curve_nits(const bln_curve* curve, const uint32_t* levels, size_t count, double* nits) {
  const bln_status status =
      CheckNotNull(__func__, {{"curve", curve}, Array("levels", levels, count), Array("nits", nits, count)});
  for (size_t i = 0; status == BLN_OK && i < count; ++i) {
    nits[i] = curve->curve.Nits(levels[i]);
  }
  return status;
}

bln_status bln_curve_levels(const bln_curve* curve, const double* nits, size_t count, uint32_t* levels) {
  const bln_status status =
      CheckNotNull(__func__, {{"curve", curve}, Array("nits", nits, count), Array("levels", levels, count)});
  for (size_t i = 0; status == BLN_OK && i < count; ++i) {
    levels[i] = curve->curve.Level(nits[i]);
  }
  return status;
}
