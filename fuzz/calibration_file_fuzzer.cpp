// Any bytes as a panel's calibration file: the engine takes it or refuses it, and answers every question about what it
// took.

#include <algorithm>

#include "invariants.h"
#include "target.h"

namespace {

// LUTs of this length are made quickly; a file may ask for four thousand million entries.
constexpr uint32_t kLongestLuts = 2048;

void Check(fuzz::CheckedPanel* panel) {
  const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
  fuzz::Require(range.has_value(), "an engine with calibration data gives its range");
  fuzz::Require(panel->Get<zarn::BLGamma>(zarn::kBLGamma).has_value(), "it gives its gamma");
  fuzz::Require(panel->Get<zarn::BLPccThresh>(zarn::kBLPccThresh).has_value(), "it gives its threshold");
  panel->CheckLinearTable(panel->SparseLinearTable());
  panel->CheckMeasuredTables(*range);
  if (std::max(range->max_bl, range->max_os_bl) < kLongestLuts) {
    panel->CheckNeutralLuts(*range);
  }
  fuzz::Require(!panel->SetLuts(std::vector<uint32_t>(1), std::vector<double>()), "LUTs of a wrong length are refused");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static fuzz::CheckedPanel panel;
  panel.WriteFile({reinterpret_cast<const char*>(data), size});
  if (panel.Init() == 0) {
    Check(&panel);
  }
  panel.Deinit();
  return 0;
}
