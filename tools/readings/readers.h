#pragma once

#include <string>
#include <string_view>

#include "calibration_source.h"
#include "readings/collected.h"
#include "support/lines.h"

namespace blnits {

/// The kind of a file by its content. \param head the beginning of the file.
/// \throws Failure if it is XML of another kind.
std::string KindOf(const std::string& path, std::string_view head);

// Each reader adds a file's readings. It refuses rows by Collected::Refuse, and throws Failure if it cannot go on.
void ReadCsv(LineReader* lines, Collected* collected);
void ReadSpotread(LineReader* lines, Collected* collected);
void ReadDisplayConfig(const CalibrationSource& file, Collected* collected);
void ReadResourceArrays(const CalibrationSource& file, Collected* collected);

/// Whether a line of spotread's transcript has a result, or prompts for one.
bool IsSpotreadLine(std::string_view line);

/// The root elements of the two kinds of XML files.
inline constexpr const char* kDisplayConfigRoot = "displayConfiguration";
inline constexpr const char* kResourcesRoot = "resources";

}  // namespace blnits
