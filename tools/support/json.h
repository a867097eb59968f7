#pragma once

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

namespace blnits {

/// An object on one line. Foreign text is safe on a terminal: non-ASCII and control characters are escaped ("\u009b"),
/// and bytes that are not UTF-8 become U+FFFD. Any thread.
inline std::string JsonLine(const nlohmann::ordered_json& object) {
  return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

/// A figure of vision with six decimals: the rest depends on the processor's logarithm. Any thread.
inline double SixDecimals(double figure) { return std::round(figure * 1e6) / 1e6; }

}  // namespace blnits
