#pragma once

#include <string_view>

namespace blnits {

/// Whether a line of spotread, without the blanks before it, has a result of any form.
bool IsSpotreadResult(std::string_view line);

/// The Y in "Result is XYZ: X Y Z," in cd/m2. False if the line has another form, or was cut before the comma.
bool ParseSpotreadResult(std::string_view line, double* y);

}  // namespace blnits
