#pragma once

// The rules of `blnits check`, in groups. Each looks at one file through its text and, where the library has loaded it,
// through its panel.

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "calibration_source.h"
#include "check/findings.h"
#include "foreign_text.h"
#include "panel/survey.h"

namespace blnits {

/// A measured table with the text of its values.
struct TableInFile {
  const MeasuredTable* table;
  std::vector<zarn::BlNitsPoint> points;  ///< As the library reads them; none when it has not loaded the file.
  std::vector<SourceValue> levels;
  std::vector<SourceValue> luminances;
  int line;                    ///< Of the list of levels or, where it is missing, of the element in which it is missed.
  bool has_fractions = false;  ///< Its levels are fractions: all else would follow from that.
};

/// The file that is checked, each number as text and as the library reads it.
struct Subject {
  /// \param panel null when the library has not loaded the file. Both outlive the subject.
  Subject(const CalibrationSource& source, Panel* panel);

  /// The table of an operation at a coverage: the one of 10 % up to 10 %, else that of the full screen.
  const TableInFile& TableOf(bool hdr, uint32_t coverage) const;

  const CalibrationSource& source;
  Panel* panel;
  zarn::BLRange range;
  decltype(zarn::BLLinearTable::entries) pairs;  ///< The linear table as it stands in the file.
  std::vector<SourceValue> linear_levels;
  std::vector<SourceValue> panel_levels;
  bool linear_has_fractions = false;                       ///< One of both lists: all else would follow from that.
  std::array<TableInFile, kMeasuredTables.size()> tables;  ///< In the order of the file.
};

/// Brighter than any panel, in nits.
constexpr double kTooBright = 20000.0;
inline bool IsTooBright(double nits) { return std::isfinite(nits) && nits > kTooBright; }

/// Names in the file that the library does not look up, or looks up once only.
void CheckNames(const CalibrationSource& source, Findings* findings);

/// The form and the range of each number. Marks the tables whose levels are fractions.
void CheckNumbers(Subject* subject, Findings* findings);

/// Gamma, range and threshold.
void CheckAttributes(const Subject& subject, Findings* findings);

/// The table of linearized levels.
void CheckLinearTable(const Subject& subject, Findings* findings);

/// The points of each measured table.
void CheckMeasuredTables(const Subject& subject, Findings* findings);

/// What clients will ask for: every level, every luminance, at measured coverages and between.
/// \param log where the panel's library logs.
void CheckConversions(const Subject& subject, CapturedLog* log, Findings* findings);

}  // namespace blnits
