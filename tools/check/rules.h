#pragma once

// The rules of `blnits check`, in groups. Each group examines the text of one file and, if the library has loaded the
// file, its panel.

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
  std::vector<zarn::BlNitsPoint> points;  ///< As the library reads them; empty if it has not loaded the file.
  std::vector<SourceValue> levels;
  std::vector<SourceValue> luminances;
  int line;                    ///< Line of the list of levels. If the list is missing: of the element that lacks it.
  bool has_fractions = false;  ///< Its levels are fractions. Other rules would report only consequences: they skip it.
};

/// The file under check: each number as text and as the library reads it.
struct Subject {
  /// Takes the values of the source. \param panel null if the library has not loaded the file.
  /// Source and panel must outlive the subject.
  Subject(CalibrationSource* source, Panel* panel);

  /// The table of an operation for a coverage: the 10 % table for up to 10 %, otherwise the full-screen table.
  const TableInFile& TableOf(bool hdr, uint32_t coverage) const;

  const CalibrationSource& source;
  Panel* panel;
  zarn::BLRange range;
  decltype(zarn::BLLinearTable::entries) pairs;  ///< The sparse linear table of the file.
  std::vector<SourceValue> linear_levels;
  std::vector<SourceValue> panel_levels;
  bool linear_has_fractions = false;  ///< One of the two lists has fractions. Other rules skip the table.
  std::array<TableInFile, kMeasuredTables.size()> tables;  ///< In the order of the file.
};

/// In nits. No panel is as bright.
constexpr double kTooBright = 20000.0;
inline bool IsTooBright(double nits) { return std::isfinite(nits) && nits > kTooBright; }

/// Reports names that the library ignores, and elements that it reads only once.
void CheckNames(const CalibrationSource& source, Findings* findings);

/// Checks the form and range of each number. Marks the tables whose levels are fractions.
void CheckNumbers(Subject* subject, Findings* findings);

/// Checks gamma, range and threshold.
void CheckAttributes(const Subject& subject, Findings* findings);

/// Checks the linear table.
void CheckLinearTable(const Subject& subject, Findings* findings);

/// Checks the points of each measured table.
void CheckMeasuredTables(const Subject& subject, Findings* findings);

/// Converts all levels and luminances that clients may request, at measured coverages and between them.
/// \param log the handler that receives the panel's log lines.
void CheckConversions(const Subject& subject, CapturedLog* log, Findings* findings);

}  // namespace blnits
