#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>

#include "backlight_nits_records.h"

/// The vocabulary of calibration files: names, what each is served as, and limits. Parser, engine, tool and tests take
/// them from here. All constant: any thread.
namespace zarn::format {

/// A panel's file is kFilePrefix, the panel's name, kFileSuffix.
inline constexpr const char* kFilePrefix = "backlight_calib_";
inline constexpr const char* kFileSuffix = ".xml";

/// The first element, which has the attributes.
inline constexpr const char* kRoot = "Calib_Data";

/// How the parser takes it that an attribute is absent.
enum class Absence {
  kRefused,  ///< An Error line; the file is refused.
  kWarning,  ///< A Warning line, and the default.
  kInfo,     ///< An Info line, and the default.
};

/// An attribute of the root.
/// \tparam Number uint32_t: a level; double: a real number.
template <class Record, class Number>
struct Attribute {
  static constexpr bool kIsReal = std::is_floating_point_v<Number>;

  const char* name;
  BLNitsParams param;     ///< The parameter that serves it,
  Number Record::*field;  ///< and the field of that parameter's record.
  Absence absence;        ///< Of kRefused: it is required.
  Number default_number;  ///< Its number when it is absent and not required.
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

/// Calls `function` with each attribute, in that order.
template <class Function>
void ForEachAttribute(Function function) {
  std::apply([&](const auto&... attribute) { (function(attribute), ...); }, kAttributes);
}

/// Two elements that list values. They have equally many; those at the same place belong together.
struct Lists {
  const char* first;
  const char* second;
};

/// The linear table, in the root: linearized levels and panel levels.
inline constexpr Lists kLinearTable = {"linearized_bl", "panel_bl"};

/// The highest linearized level up to which an engine fills in the linear table, whose length the file decides.
inline constexpr uint32_t kLastLinearizedLevel = 1048575;

/// The element in the root that has the groups of measured tables.
inline constexpr const char* kMeasurements = "measurement_data";
inline constexpr const char* kStandard = "standard";   ///< The group of standard operation.
inline constexpr const char* kHighBrightness = "hbm";  ///< The group of high-brightness operation.

/// A measured table.
struct MeasuredTable {
  const char* group;    ///< The element in kMeasurements that has it.
  const char* element;  ///< Its own element in the group.
  uint32_t coverage;    ///< Screen coverage of the measurement in per cent: 10 or 100.
  bool hdr;             ///< True: high brightness; false: standard operation.
  BLNitsParams param;   ///< The parameter that serves it.
};

inline constexpr MeasuredTable kStandard100 = {kStandard, "nits_100", 100, false, kBLNitsMapping100Percent};
inline constexpr MeasuredTable kStandard10 = {kStandard, "nits_10", 10, false, kBLNitsMapping10Percent};
inline constexpr MeasuredTable kHdr100 = {kHighBrightness, "nits_100", 100, true, kBLHdrNitsMapping100Percent};
inline constexpr MeasuredTable kHdr10 = {kHighBrightness, "nits_10", 10, true, kBLHdrNitsMapping10Percent};

/// All measured tables, in the order in which the parser reads them and files have them.
inline constexpr std::array kMeasuredTables = {kStandard100, kStandard10, kHdr100, kHdr10};

/// What each measured table has: client levels and their luminances in nits.
inline constexpr Lists kPoints = {"bl_value", "nits_value"};

/// What a calibration file may be at the most: it is read inside the display service, whoever wrote it. A real file has a
/// few kilobytes, 5 attributes and 6 levels; one table of 1,000,000 points has 4,000,000 nodes. A file beyond these
/// bounds is not loaded. Within them, the time for a file grows with its size.
inline constexpr size_t kMaxFileBytes = size_t{32} << 20;
inline constexpr size_t kMaxTagBytes = 2048;  ///< One tag with its attributes; the time for it grows with their square.
inline constexpr size_t kMaxReferenceBytes = 64;  ///< "&#" to ";": the reader looks for the ";" of each "&#" anew.
inline constexpr size_t kMaxDepth = 64;           ///< Elements within each other, the root included; each takes stack.
inline constexpr size_t kMaxNodes = 5000000;  ///< Elements, texts, comments and the like; each takes up to 120 bytes.
inline constexpr size_t kMaxAttributes =
    1000000;  ///< In the whole file; each is compared with those before it in its tag.

}  // namespace zarn::format
