// Loads any bytes as a panel's calibration file. The engine must load or refuse the file, and answer every question
// about a file that it has loaded.

#include <algorithm>

#include "invariants.h"
#include "target.h"

namespace {

// Limits the time for LUTs: a file can ask for four thousand million entries.
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
