#pragma once

// The rules of `blnits check`, in groups. Each looks at one file through its text and, where the library has loaded it,
// through its panel.

#include <fmt/format.h>

#include <string>
#include <vector>

#include "check/check.h"
#include "panel/calibration_source.h"
#include "panel/survey.h"
#include "support/foreign_text.h"

namespace blnits {

/// Collects findings.
class Findings {
 public:
  /// \param rule names one of Rules().
  template <class... Arguments>
  void Add(const char* rule, int line, fmt::format_string<Arguments...> format, const Arguments&... arguments) {
    AddText(rule, line, fmt::format(format, arguments...));
  }

  std::vector<Finding> Take() { return std::move(findings_); }

 private:
  void AddText(const char* rule, int line, std::string text);

  std::vector<Finding> findings_;
};

/// Names in the file that the library does not look up, or looks up once only.
void CheckNames(const CalibrationSource& source, Findings* findings);

/// Text that is no clean number. \param panel null when the library has not loaded the file.
void CheckNumbers(const CalibrationSource& source, Panel* panel, Findings* findings);

/// Gamma, range and threshold.
void CheckAttributes(const CalibrationSource& source, Panel* panel, Findings* findings);

/// The table of linearized levels.
void CheckLinearTable(const CalibrationSource& source, Panel* panel, Findings* findings);

/// The points of each measured table.
void CheckMeasuredTables(const CalibrationSource& source, Panel* panel, Findings* findings);

/// What clients will ask for: every level, every luminance, at measured coverages and between.
/// \param log where the panel's library logs.
void CheckConversions(const CalibrationSource& source, Panel* panel, CapturedLog* log, Findings* findings);

/// Where a table's list of levels and its list of luminances stand in the file.
CalibrationSource::Path LevelsOf(const MeasuredTable& table);
CalibrationSource::Path LuminancesOf(const MeasuredTable& table);

}  // namespace blnits
