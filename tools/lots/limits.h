#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "lots/unit.h"

namespace blnits {

/// A limit of luminance by level, for each table. Between two levels it is a straight line; outside them there is none.
class Limits {
 public:
  /// No limits.
  Limits() = default;

  /// Reads a CSV file with a header: a column "level", one named `name`, and maybe "coverage" (10 or 100 %) and "mode"
  /// (standard or hbm), without which a row holds for all coverages or modes. \param name "lower" or "upper", in nits.
  /// \throws Failure that tells all faults of the file.
  Limits(const std::string& path, const char* name);

  /// \param table index in kMeasuredTables.
  std::optional<double> At(size_t table, uint32_t level) const;

 private:
  ForEachTable<std::map<uint32_t, double>> limits_;
};

/// How well the scatter of a lot fits between two limits.
struct Capability {
  std::optional<double> cp;   ///< (upper - lower) / (6 * deviation); empty without both limits, or without scatter.
  std::optional<double> cpk;  ///< Distance of the mean from the nearer limit / (3 * deviation); empty without a limit.
};

/// Any thread.
Capability CapabilityOf(double mean, double deviation, std::optional<double> lower, std::optional<double> upper);

}  // namespace blnits
