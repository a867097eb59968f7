#pragma once

#include <tinyxml2.h>

#include <cstddef>
#include <optional>
#include <string>

#include "calibration_source.h"
#include "readings/collected.h"

namespace blnits {

inline size_t LineOf(const tinyxml2::XMLNode& node) { return static_cast<size_t>(node.GetLineNum()); }

/// The root. \throws Failure with every reason why the file is not read, or if the root has another name.
const tinyxml2::XMLElement& RootOf(const CalibrationSource& file, const char* name);

/// The text of an element without surrounding blanks; empty if it has none.
std::string TextOf(const tinyxml2::XMLElement& element);

/// The number in an element: decimal digits, not negative, without exponent. Refuses other text; `what` describes the
/// number.
std::optional<double> DecimalIn(const tinyxml2::XMLElement& element, const char* what, Collected* collected);

}  // namespace blnits
