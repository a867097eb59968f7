#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

#include "backlight_nits_records.h"

/// The format of calibration files: names, the parameter that returns each value, and limits. Parser, engine, tool and
/// tests share these constants. Any thread may read them.
namespace zarn::format {

/// The name of a panel's file is kFilePrefix, the panel's name and kFileSuffix.
inline constexpr const char* kFilePrefix = "backlight_calib_";
inline constexpr const char* kFileSuffix = ".xml";

/// The root: the first element of the file. It has the attributes.
inline constexpr const char* kRoot = "Calib_Data";

/// What the parser does if an attribute is missing.
enum class Absence {
  kRefused,  ///< Logs an Error and refuses the file.
  kWarning,  ///< Logs a Warning and uses the default.
  kInfo,     ///< Logs an Info line and uses the default.
};

/// An attribute of the root.
/// \tparam Number uint32_t: a level; double: a real number.
template <class Record, class Number>
struct Attribute {
  static constexpr bool kIsReal = std::is_floating_point_v<Number>;

  const char* name;
  BLNitsParams param;     ///< The parameter that returns the attribute,
  Number Record::*field;  ///< and its field in that parameter's record.
  Absence absence;        ///< kRefused: the attribute is required.
  Number default_number;  ///< The value of a missing attribute that is not required.
};

inline constexpr Attribute<BLGamma, double> kGamma = {"gamma", kBLGamma, &BLGamma::gamma, Absence::kRefused, 0.0};
inline constexpr Attribute<BLRange, uint32_t> kMinimumBl = {"minimum_bl", kBLRange, &BLRange::minimum_bl,
                                                            Absence::kRefused, 0};
inline constexpr Attribute<BLRange, uint32_t> kMaxBl = {"max_bl", kBLRange, &BLRange::max_bl, Absence::kRefused, 0};
inline constexpr Attribute<BLRange, uint32_t> kMaxOsBl = {"max_os_bl", kBLRange, &BLRange::max_os_bl, Absence::kInfo,
                                                          0};
inline constexpr Attribute<BLPccThresh, double> kPccThresh = {"pcc_thresh", kBLPccThresh, &BLPccThresh::pcc_thresh,
                                                              Absence::kWarning, 1.0};

/// All attributes, in the order of the file.
inline constexpr std::tuple kAttributes = {kGamma, kMinimumBl, kMaxBl, kMaxOsBl, kPccThresh};

/// Calls `function` with each attribute, in the order of the file.
template <class Function>
void ForEachAttribute(Function function) {
  std::apply([&](const auto&... attribute) { (function(attribute), ...); }, kAttributes);
}

/// Two elements that list values. Both lists have the same length; values at the same position belong together.
struct Lists {
  const char* first;
  const char* second;
};

/// The linear table, in the root: a list of linearized levels and a list of panel levels.
inline constexpr Lists kLinearTable = {"linearized_bl", "panel_bl"};

/// The highest linearized level of a dense table. The file decides the table's length, so the table needs a limit.
inline constexpr uint32_t kLastLinearizedLevel = 1048575;

/// The element in the root that contains the groups of measured tables.
inline constexpr const char* kMeasurements = "measurement_data";
inline constexpr const char* kStandard = "standard";   ///< The group of standard operation.
inline constexpr const char* kHighBrightness = "hbm";  ///< The group of high-brightness operation.

/// A measured table.
struct MeasuredTable {
  const char* group;    ///< The element in kMeasurements that contains the table.
  const char* element;  ///< The table's own element in the group.
  uint32_t coverage;    ///< Screen coverage of the measurement in per cent: 10 or 100.
  bool hdr;             ///< True: high brightness; false: standard operation.
  BLNitsParams param;   ///< The parameter that returns the table.
};

inline constexpr MeasuredTable kStandard100 = {kStandard, "nits_100", 100, false, kBLNitsMapping100Percent};
inline constexpr MeasuredTable kStandard10 = {kStandard, "nits_10", 10, false, kBLNitsMapping10Percent};
inline constexpr MeasuredTable kHdr100 = {kHighBrightness, "nits_100", 100, true, kBLHdrNitsMapping100Percent};
inline constexpr MeasuredTable kHdr10 = {kHighBrightness, "nits_10", 10, true, kBLHdrNitsMapping10Percent};

/// All measured tables, in the order in which files have them and the parser reads them.
inline constexpr std::array kMeasuredTables = {kStandard100, kStandard10, kHdr100, kHdr10};

/// The two lists of each measured table: client levels, and their luminances in nits.
inline constexpr Lists kPoints = {"bl_value", "nits_value"};

/// Limits of a calibration file. The display service reads it, and anyone may have written it. The library does
/// not load a file beyond a limit. Within the limits, the time to read a file grows with its size. A real file has a few
/// kilobytes, 5 attributes and 6 nested levels; a table of 1,000,000 points has 4,000,000 nodes.
inline constexpr size_t kMaxFileBytes = size_t{32} << 20;
inline constexpr size_t kMaxTagBytes = 2048;      ///< A tag. The time to read it grows with its attributes' square.
inline constexpr size_t kMaxReferenceBytes = 64;  ///< "&#" to ";". The reader searches for the ";" of each "&#" again.
inline constexpr size_t kMaxDepth = 64;           ///< Nested elements, including the root. Each level takes stack.
inline constexpr size_t kMaxNodes = 5000000;      ///< Elements, texts, comments and others. Each takes up to 120 bytes.
/// In the whole file. The reader compares each attribute with those before it in the tag.
inline constexpr size_t kMaxAttributes = 1000000;

}  // namespace zarn::format
