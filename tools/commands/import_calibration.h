#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "backlight_nits_records.h"
#include "figures/transfer_curve.h"
#include "foreign_text.h"
#include "named_tables.h"
#include "readings/average.h"
#include "readings/readings.h"

namespace blnits {

/// The command line of import.
struct ImportOptions {
  std::map<zarn::BLNitsParams, std::string> tables;  ///< Paths of the measurements of each table; empty: none.
  std::string readings;                              ///< Path of the measurements of several tables; empty: none.
  ReadingsOptions reading;                           ///< How these files are read.
  Averaging averaging;
  std::string average = "median";
  std::string max_spread;  ///< "5%"; empty: any.
  std::string linear;      ///< A path, or "derive"; empty: an identity.
  std::string gamma;       ///< A number, or "fit".
  uint32_t minimum_bl = 0;
  uint32_t max_bl = 0;
  uint32_t max_os_bl = 0;
  std::optional<double> pcc_thresh;
  std::string date;
  bool monotone = false;
  std::string tolerance;  ///< "0.5" (nits) or "0.2%"; empty: no tolerance.
  std::string output;
  std::string format = "text";
};

/// Records what was done to the measurements.
class Story {
 public:
  /// \param told stream to print to; null: none.
  explicit Story(std::FILE* told) : told_(told) {}

  /// Prints a line and keeps it for the file's comment.
  void Tell(std::string line) {
    Detail(line);
    Keep(std::move(line));
  }
  /// Prints one of many changes; the file's comment gets only a summary.
  void Detail(const std::string& line) {
    lines_.push_back(line);
    if (told_ != nullptr) {
      fmt::print(told_, "{}\n", Printable(line));
    }
  }
  /// Keeps a summary for the file's comment without printing it.
  void Keep(std::string line) { kept_.push_back(std::move(line)); }

  /// Every line that was told or a detail.
  const std::vector<std::string>& Lines() const { return lines_; }
  const std::vector<std::string>& Kept() const { return kept_; }

 private:
  std::FILE* told_;
  std::vector<std::string> lines_;
  std::vector<std::string> kept_;
};

using Points = std::vector<zarn::BlNitsPoint>;
using Tables = std::map<zarn::BLNitsParams, Points>;

/// What the file gets from the measurements.
struct Calibration {
  double gamma;
  std::optional<GammaFit> fit;  ///< Empty: gamma is given.
  LinearPairs linear;
  std::optional<DerivedTable> derived;  ///< Empty: the linear table is given or an identity.
  Tables tables;
};

/// The option of a table's file of readings: "--standard-100".
std::string OptionOf(const MeasuredTable& table);

/// Reads the measurements and makes of them what the options say. A table that was not measured is a copy of another one.
/// \param[in,out] story is told what was done. \throws Failure.
Calibration MakeCalibration(const ImportOptions& options, Story* story);

}  // namespace blnits
