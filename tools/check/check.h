#pragma once

#include <array>
#include <string>
#include <vector>

#include "check/rule.h"
#include "support/captured_log.h"

namespace blnits {

/// "error", "warning" or "note".
const char* NameOf(Severity severity);

/// What a rule found in a file.
struct Finding {
  int line;  ///< From 1.
  const Rule* rule;
  std::string text;  ///< What is wrong, what the device does with it, and what to do. As it may be printed.
};

/// The outcome of a check.
struct CheckReport {
  bool loads = false;
  std::vector<Finding> findings;  ///< By line; those of one line in the order of the rules. A refusal comes first.

  std::array<size_t, 3> counts = {};  ///< Of errors, warnings and notes, whether kept or not.

  size_t Count(Severity severity) const { return counts[static_cast<size_t>(severity)]; }
};

/// Checks a calibration file of any name. Whatever is wrong with the file is a finding. Keeps nothing of it: memory and
/// descriptors are as before when it returns.
/// \param disabled names of rules that are not applied; whether the file loads is told all the same.
/// \param limit findings of one rule that are kept, further ones are counted in the last; 0 keeps all.
/// \param log has been the process's log handler since before.
CheckReport Check(const std::string& file, const std::vector<std::string>& disabled, size_t limit, CapturedLog* log);

}  // namespace blnits
