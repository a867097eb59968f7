// Any bytes as a calibration file, and arrays made of them, for the C library: what it refuses has a reason, and what it takes gives
// the same answers one by one, as arrays and by curves.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "backlight_nits.h"
#include "bytes.h"
#include "invariants.h"
#include "target.h"

namespace {

using fuzz::Require;
using fuzz::Same;

constexpr size_t kMostElements = 64;
constexpr uint32_t kLongestCurve = 4096;

bln_status Checked(bln_status status) {
  Require(status == BLN_OK || *bln_last_error() != '\0', "what fails has a reason");
  return status;
}

/// The path of a file in memory that has `text`.
std::string PathOf(int file, const std::string& text) {
  Require(ftruncate(file, 0) == 0 && pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
          "the file is written");
  return "/proc/self/fd/" + std::to_string(file);
}

void CheckArrays(const bln_panel* panel, uint32_t coverage, bln_mode mode, const std::vector<uint32_t>& levels,
                 const std::vector<double>& luminances) {
  const size_t count = levels.size();
  std::vector<double> nits(count);
  std::vector<uint32_t> found(count);
  size_t refused_levels = 0;
  size_t refused_nits = 0;
  const bool all = Checked(bln_panel_nits_array(panel, levels.data(), count, coverage, mode, nits.data(),
                                                &refused_levels)) == BLN_OK;
  Checked(bln_panel_level_array(panel, luminances.data(), count, coverage, mode, found.data(), &refused_nits));
  if (coverage < 1 || coverage > 100) {
    Require(!all, "a wrong coverage is refused");
    return;
  }
  for (size_t i = 0; i < count; ++i) {
    double one = 0.0;
    if (Checked(bln_panel_nits(panel, levels[i], coverage, mode, &one)) == BLN_OK) {
      Require(Same(one, nits[i]), "an array has the answer for each level");
    } else {
      Require(std::isnan(nits[i]) && refused_levels-- > 0, "a refused level has no luminance");
    }
    uint32_t level = 0;
    if (Checked(bln_panel_level(panel, luminances[i], coverage, mode, &level)) == BLN_OK) {
      Require(level == found[i], "an array has the answer for each luminance");
    } else {
      Require(found[i] == BLN_NO_LEVEL && refused_nits-- > 0, "a refused luminance has no level");
    }
  }
  Require(refused_levels == 0 && refused_nits == 0, "the refused ones are counted");
}

void CheckCurve(const bln_panel* panel, uint32_t coverage, bln_mode mode, const std::vector<double>& luminances) {
  bln_curve* curve = nullptr;
  if (Checked(bln_curve_create(panel, coverage, mode, &curve)) != BLN_OK) {
    return;
  }
  const double* values = nullptr;
  size_t count = 0;
  Require(bln_curve_values(curve, &values, &count) == BLN_OK, "a curve has values");
  std::vector<uint32_t> found(luminances.size());
  bln_curve_levels(curve, luminances.data(), luminances.size(), found.data());
  Require(std::all_of(found.begin(), found.end(), [&](uint32_t level) { return level < count; }),
          "a curve's levels are on it");
  for (uint32_t level = 0; level < count; ++level) {
    double nits = 0.0;
    Require(bln_panel_nits(panel, level, coverage, mode, &nits) == BLN_OK && Same(nits, values[level]),
            "a curve has the panel's luminances");
  }
  bln_curve_free(curve);
}

void CheckTables(const bln_panel* panel) {
  for (const bln_mode mode : {BLN_STANDARD, BLN_HIGH_BRIGHTNESS}) {
    for (const bln_pattern pattern : {BLN_ONE_TENTH, BLN_FULL_SCREEN}) {
      size_t count = 0;
      Require(bln_panel_table(panel, pattern, mode, nullptr, nullptr, 0, &count) == BLN_OK, "a panel has four tables");
      std::vector<uint32_t> levels(count);
      std::vector<double> nits(count);
      Require(bln_panel_table(panel, pattern, mode, levels.data(), nits.data(), count, &count) == BLN_OK,
              "a table fits its count");
    }
  }
  size_t count = 0;
  Checked(bln_panel_linear_table(panel, nullptr, 0, &count));
}

void Check(bln_panel* panel, fuzz::Bytes* bytes) {
  bln_range range;
  Require(bln_panel_range(panel, &range) == BLN_OK, "a panel has a range");
  CheckTables(panel);
  for (const bool dimming : {false, true}) {
    Require(bln_panel_set_dimming(panel, dimming ? 1 : 0) == BLN_OK, "dimming can be switched");
    const uint32_t coverage = bytes->Below(102);
    const bln_mode mode = bytes->Flag() ? BLN_HIGH_BRIGHTNESS : BLN_STANDARD;
    std::vector<uint32_t> levels(kMostElements);
    std::vector<double> luminances(kMostElements);
    std::generate(levels.begin(), levels.end(), [&] { return bytes->Level(); });
    std::generate(luminances.begin(), luminances.end(), [&] { return bytes->Real(); });
    CheckArrays(panel, coverage, mode, levels, luminances);
    if (range.highest_client_level < kLongestCurve) {
      CheckCurve(panel, coverage, mode, luminances);
    }
    if (std::max(range.highest_client_level, range.highest_panel_level) < kLongestCurve) {
      const std::vector<uint32_t> dimmed(size_t{range.highest_panel_level} + 1, bytes->Level());
      const std::vector<double> factors(size_t{range.highest_client_level} + 1, bytes->Real());
      Checked(bln_panel_set_dimming_luts(panel, dimmed.data(), dimmed.size(), factors.data(), factors.size()));
    }
  }
}

}  // namespace

// The arrays are made of the same bytes as the file.
int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int file = memfd_create("calibration", 0);
  bln_panel* panel = nullptr;
  const std::string path = PathOf(file, {reinterpret_cast<const char*>(data), size});
  if (Checked(bln_panel_open_file(nullptr, path.c_str(), &panel)) == BLN_OK) {
    fuzz::Bytes bytes(data, size);
    Check(panel, &bytes);
  }
  bln_panel_free(panel);
  return 0;
}
