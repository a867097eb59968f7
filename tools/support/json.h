#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace blnits {

/// The operation mode, as readings' files and options call it, too. Any thread.
inline const char* JsonModeOf(bool hdr) { return hdr ? "hbm" : "standard"; }

/// The object that a subcommand prints. It begins with the name and version of its JSON Schema, which is
/// docs/schemas/<name>.json. Any thread. \param name such as "verify".
inline nlohmann::ordered_json JsonReport(const char* name) { return {{"schema", {{"name", name}, {"version", 1}}}}; }

/// The key of a measured table or curve in an object of several, such as "standard_10" or "hbm_55". Any thread.
inline std::string JsonKeyOf(bool hdr, uint32_t coverage) { return fmt::format("{}_{}", JsonModeOf(hdr), coverage); }

/// The object under that key, with its first two fields: "mode", and "coverage" in per cent. Any thread.
inline nlohmann::ordered_json JsonTable(bool hdr, uint32_t coverage) {
  return {{"mode", JsonModeOf(hdr)}, {"coverage", coverage}};
}

/// An object on one line. Foreign text is safe on a terminal: non-ASCII and control characters are escaped ("\u009b"),
/// and bytes that are not UTF-8 become U+FFFD. Numbers that are not finite become null. Any thread.
std::string JsonLine(const nlohmann::ordered_json& object);

/// A figure of vision with six decimals: the rest depends on the processor's logarithm. Any thread.
inline double SixDecimals(double figure) { return std::round(figure * 1e6) / 1e6; }

}  // namespace blnits
