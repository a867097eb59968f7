#pragma once

#include <map>
#include <string>
#include <vector>

#include "named_tables.h"
#include "readings/readings.h"

namespace blnits {

/// A file of measurements, and the option that gives it.
struct GivenFile {
  std::string path;
  std::string option;
  const MeasuredTable* table;  ///< The table that the option is for; null: the file's columns tell.
};

/// The readings of one table.
struct TableReadings {
  GivenFile from;
  std::vector<RawReading> readings;
};

using ReadingsByTable = std::map<zarn::BLNitsParams, TableReadings>;

/// Adds the readings of a file to their tables. Readings without a coverage are of the full screen, readings without a
/// mode are standard. If the file is split, its standard readings are in the high-brightness table, too: below the seam,
/// the panel is the same in both modes.
/// \throws Failure if a reading has no table or another one than the option is for, or if a table has another file.
void AddToTables(const GivenFile& from, const ReadingsFile& file, ReadingsByTable* tables);

}  // namespace blnits
