#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "backlight_nits_intf.h"
#include "backlight_nits_records.h"
#include "figures/transfer_curve.h"

namespace blnits {

/// What a calibration file holds.
struct CalibrationContents {
  double gamma = 0.0;
  zarn::BLRange range;
  std::optional<double> pcc_thresh;  ///< Empty: the file has none.
  LinearPairs linear;
  std::map<zarn::BLNitsParams, std::vector<zarn::BlNitsPoint>> tables;  ///< All four.
};

/// The text of a calibration file. \param comment its lines, at least one; foreign text. Any thread.
std::string CalibrationTextOf(const std::vector<std::string>& comment, const CalibrationContents& contents);

}  // namespace blnits
