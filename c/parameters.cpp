#include <algorithm>

#include "arguments.h"
#include "calibration_format.h"
#include "foreign_text.h"
#include "last_error.h"
#include "named_tables.h"
#include "panel.h"

using namespace blnits;

namespace {

/// Reads one number of the file into `*number`.
template <class Record, class Number>
bln_status ReadNumber(const char* function, const bln_panel* panel,
                      const zarn::format::Attribute<Record, Number>& attribute, Number* number) {
  const bln_status status = CheckNotNull(function, {{"panel", panel}, {attribute.name, number}});
  return status != BLN_OK ? status : Guarded([&] {
    *number = Read<Record>(panel, attribute.param).*attribute.field;
    return BLN_OK;
  });
}

/// BLN_OK if the caller wants the count alone, or has room for all.
bln_status CheckRoom(const char* function, bool wanted, size_t capacity, size_t count) {
  return !wanted || capacity >= count
             ? BLN_OK
             : Fail(BLN_TOO_SMALL, "%s: the arrays have %zu elements, expected %zu", function, capacity, count);
}

}  // namespace

bln_status bln_panel_file(const bln_panel* panel, const char** path) {
  const bln_status status = CheckNotNull(__func__, {{"panel", panel}, {"path", path}});
  if (status == BLN_OK) {
    *path = panel->file.c_str();
  }
  return status;
}

bln_status bln_panel_range(const bln_panel* panel, bln_range* range) {
  const bln_status status = CheckNotNull(__func__, {{"panel", panel}, {"range", range}});
  return status != BLN_OK ? status : Guarded([&] {
    const auto read = Read<zarn::BLRange>(panel, zarn::kBLRange);
    *range = {read.minimum_bl, read.max_bl, read.max_os_bl};
    return BLN_OK;
  });
}

bln_status bln_panel_gamma(const bln_panel* panel, double* gamma) {
  return ReadNumber(__func__, panel, zarn::format::kGamma, gamma);
}

bln_status bln_panel_threshold(const bln_panel* panel, double* threshold) {
  return ReadNumber(__func__, panel, zarn::format::kPccThresh, threshold);
}

bln_status bln_panel_table(const bln_panel* panel, bln_pattern pattern, bln_mode mode, uint32_t* levels, double* nits,
                           size_t capacity, size_t* count) {
  const char* const function = __func__;
  bln_status status = CheckNotNull(function, {{"panel", panel}, {"count", count}});
  status = status == BLN_OK ? CheckMode(function, mode) : status;
  if (status != BLN_OK) {
    return status;
  }
  if (pattern != BLN_ONE_TENTH && pattern != BLN_FULL_SCREEN) {
    return Fail(BLN_INVALID_ARGUMENT, "%s: pattern is %d, expected BLN_ONE_TENTH (10) or BLN_FULL_SCREEN (100)",
                function, pattern);
  }
  const auto* const table = blnits::FindTable(static_cast<uint32_t>(pattern), mode == BLN_HIGH_BRIGHTNESS);
  return Guarded([&] {
    const auto points = Read<zarn::BackLightToNitsTable>(panel, table->param).points;
    *count = points.size();
    const bln_status room = CheckRoom(function, levels != nullptr || nits != nullptr, capacity, points.size());
    for (size_t i = 0; room == BLN_OK && i < points.size(); ++i) {
      if (levels != nullptr) {
        levels[i] = points[i].bl;
      }
      if (nits != nullptr) {
        nits[i] = points[i].nits;
      }
    }
    return room;
  });
}

bln_status bln_panel_linear_table(const bln_panel* panel, uint32_t* panel_levels, size_t capacity, size_t* count) {
  const char* const function = __func__;
  const bln_status status = CheckNotNull(function, {{"panel", panel}, {"count", count}});
  return status != BLN_OK ? status : Guarded([&] {
    const auto entries = Read<zarn::BLLinearTable>(panel, zarn::kBLLinearTable).entries;
    if (entries.empty()) {
      return Fail(BLN_REFUSED,
                  "%s: the linear table has fewer than two pairs, does not rise strictly, does not begin at 0 or ends "
                  "above %u",
                  Printable(panel->file).c_str(), zarn::format::kLastLinearizedLevel);
    }
    *count = entries.size();
    const bln_status room = CheckRoom(function, panel_levels != nullptr, capacity, entries.size());
    if (room == BLN_OK && panel_levels != nullptr) {
      std::transform(entries.begin(), entries.end(), panel_levels, [](const auto& pair) { return pair.second; });
    }
    return room;
  });
}
