#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "lots/summary.h"

namespace blnits {

/// The figures of a lot as a JSON object, docs/schemas/lot_partial.json. Equal figures give equal objects but for the
/// last digits of the scatter. Any thread.
nlohmann::ordered_json PartialResultOf(const LotSummary& lot);

/// The range under its names in calibration files. Any thread.
nlohmann::ordered_json ToJson(const zarn::BLRange& range);

/// {"count": 2, "first": [{"file": ..., "reason": ...}]}. Any thread.
nlohmann::ordered_json ToJson(const Rejections& rejected);

/// Reads such an object, by whichever program it was written. \param text of the file. \param file its name in messages.
/// \throws Failure if the text is no such object, or if its figures contradict each other.
LotSummary ReadPartialResult(const std::string& text, const std::string& file);

}  // namespace blnits
