#include "readings/readings.h"

#include "calibration_source.h"
#include "readings/collected.h"
#include "readings/readers.h"
#include "support/numbers.h"

namespace blnits {
namespace {

void ReadKind(const std::string& kind, LineReader* lines, Collected* collected) {
  if (kind == "csv") {
    ReadCsv(lines, collected);
  } else if (kind == "spotread") {
    ReadSpotread(lines, collected);
  } else if (kind == "displayconfig") {
    ReadDisplayConfig(CalibrationSource(lines->Path()), collected);
  } else {
    ReadResourceArrays(CalibrationSource(lines->Path()), collected);
  }
}

}  // namespace

std::optional<Scale> ParseScale(const std::string& text) {
  const size_t colon = text.find(':');
  Scale scale = {1.0, 1.0};
  const bool from = colon == std::string::npos || ParseNumber(text.substr(0, colon), &scale.from);
  const bool to = ParseNumber(text.substr(colon == std::string::npos ? 0 : colon + 1), &scale.to);
  return from && to && scale.from > 0.0 && scale.to > 0.0 ? std::optional<Scale>(scale) : std::nullopt;
}

const std::vector<std::pair<std::string, std::string>>& ReadingKinds() {
  static const std::vector<std::pair<std::string, std::string>> kinds = {
      {"csv", "columns by their header, or level,nits"},
      {"spotread", "a transcript of ArgyllCMS's spotread; needs --levels"},
      {"displayconfig", "Android's display configuration: the points of its screenBrightnessMap"},
      {"arrays", "Android's resources: config_screenBrightnessBacklight and config_screenBrightnessNits"}};
  return kinds;
}

ReadingsFile ReadReadings(const std::string& path, const ReadingsOptions& options) {
  LineReader lines(path);
  const std::string kind = options.kind.empty() ? KindOf(path, lines.Ahead()) : options.kind;
  Collected collected(path, options);
  if (kind != "csv") {
    collected.Note("read as " + kind);
  }
  ReadKind(kind, &lines, &collected);
  return collected.Finish(kind);
}

}  // namespace blnits
