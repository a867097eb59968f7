#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "measuring/meter.h"
#include "measuring/panel_driver.h"
#include "measuring/plan.h"
#include "measuring/readings_log.h"

namespace blnits {

/// What a measurement tells while it runs.
struct MeasurementEvents {
  /// Before each reading. \param done readings that the file has. \param last_nits the last reading; empty at first.
  std::function<void(const Step& step, size_t done, std::optional<double> last_nits)> progress;
  /// Something that the user must know; printable.
  std::function<void(const std::string& text)> warn;
  /// Asks the user to show a test pattern. \throws Failure if nobody is there. Empty: the pattern is there.
  std::function<void(uint32_t coverage)> show_pattern;
};

struct MeasurementOptions {
  size_t retries = 2;               ///< How often a failed reading is repeated.
  std::optional<uint32_t> restore;  ///< The level that the panel gets at the end; empty: the one from before.
};

/// Takes the readings that the file does not have yet, and sets the panel back, also after an exception.
/// \return the steps whose readings failed. \throws Failure, Interrupted.
std::vector<Step> Measure(const MeasurementPlan& plan, const MeasurementOptions& options,
                          const MeasurementEvents& events, PanelDriver* panel, Meter* meter, ReadingsLog* log);

}  // namespace blnits
