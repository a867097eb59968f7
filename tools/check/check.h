#pragma once

#include <array>
#include <string>
#include <vector>

#include "check/rule.h"
#include "support/captured_log.h"
#include "support/status_line.h"

namespace blnits {

/// "error", "warning" or "note".
const char* NameOf(Severity severity);

/// One violation of a rule in a file.
struct Finding {
  int line;  ///< From 1.
  const Rule* rule;
  std::string text;  ///< The fault, what the device does with it, and what to do. Printable.
};

/// The outcome of a check.
struct CheckReport {
  bool loads = false;
  std::vector<Finding> findings;  ///< Sorted by line, and within a line by rule. A refusal comes first.

  std::array<size_t, 3> counts = {};  ///< Number of errors, warnings and notes, including findings that were not kept.

  size_t Count(Severity severity) const { return counts[static_cast<size_t>(severity)]; }
};

/// Checks a calibration file of any name and reports every fault as a finding. Keeps no memory and no descriptor of the
/// file.
/// \param disabled names of rules that are not applied. A refused file is always reported.
/// \param limit how many findings of one rule to keep. The last one gives the number of the others. 0 keeps all.
/// \param log the process's log handler. \param status tells how far the check is; the caller erases it.
CheckReport Check(const std::string& file, const std::vector<std::string>& disabled, size_t limit, CapturedLog* log,
                  StatusLine* status);

}  // namespace blnits
