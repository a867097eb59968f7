#pragma once

/// \file
/// The identifiers of parameters and operations, and the records that a zarn::GenericPayload carries.
///
/// Clients are built separately from the library. They share its enumerator values, field order and field widths, which
/// never change. CONTRIBUTING.md says what may be added.
///
/// Units: luminance is in nits (cd/m²), screen coverage in per cent. A *panel level* is a value that the panel's
/// backlight control accepts, 0 to BLRange::max_bl. A *client level* is a value that clients of the library use, 0 to
/// BLRange::max_os_bl. Coverage: panels are measured at 10 % and at 100 %. From 1 to 10 % the 10 % curve applies, at
/// 100 % the 100 % curve. Between 10 and 100 % the value is interpolated linearly between the two curves.
///
/// Values from the calibration file are returned unchanged, without any check of range, order or plausibility.
///
/// Records are plain data. They belong to whoever created them and are not synchronised.

#include <cstdint>
#include <utility>
#include <vector>

namespace zarn {

/// Parameters of an engine. The comment of each gives the record that its payload carries, and the directions that
/// exist. In any other direction the call returns -95 (EOPNOTSUPP). A parser supports 0 to 7, get only.
enum BLNitsParams : int32_t {
  kBLGamma = 0,                     ///< BLGamma; get.
  kBLRange = 1,                     ///< BLRange; get.
  kBLLinearTable = 2,               ///< BLLinearTable; get.
  kBLNitsMapping10Percent = 3,      ///< BackLightToNitsTable; get. Standard operation, one tenth of the screen lit.
  kBLNitsMapping100Percent = 4,     ///< BackLightToNitsTable; get. Standard operation, full screen lit.
  kBLHdrNitsMapping10Percent = 5,   ///< BackLightToNitsTable; get. High brightness, one tenth of the screen lit.
  kBLHdrNitsMapping100Percent = 6,  ///< BackLightToNitsTable; get. High brightness, full screen lit.
  kBLPccThresh = 7,                 ///< BLPccThresh; get.
  kBLDimmingStatus = 8,             ///< BLDimmingStatus; get and set.
  kBLDimmingScale = 9,              ///< BLDimmingScale; get and set.
  kBLDimmingLuts = 10,              ///< DimmingLuts; set.
};

/// Operations of an engine. The comment of each gives the input record and the output record.
enum BLNitOps : int32_t {
  kBLToNits = 0,  ///< BlBackLight in, BlNitsValue out: the luminance that a backlight level gives.
  kNitsToBL = 1,  ///< BlNitsValue in, BlNitsValue out: the backlight level that gives a luminance.
};

/// The panel's backlight range.
struct BLRange {
  uint32_t size = sizeof(BLRange);  ///< The record's own size in bytes.
  uint32_t minimum_bl = 0;          ///< Lowest panel level. No computation uses it.
  uint32_t max_bl = 0;              ///< Highest panel level.
  uint32_t max_os_bl = 0;           ///< Highest client level; 0 if the calibration file has none.
};

/// The panel's gamma.
struct BLGamma {
  uint32_t size = sizeof(BLGamma);  ///< The record's own size in bytes.
  double gamma = 0.0;               ///< Exponent of the panel's transfer curve, without unit. Unchecked.
};

/// Threshold of the colour-correction (PCC) attenuation.
struct BLPccThresh {
  uint32_t size = sizeof(BLPccThresh);  ///< The record's own size in bytes.
  double pcc_thresh = 0.0;              ///< A factor; 1.0 if the calibration file has none. Unchecked.
};

/// The panel level of each linearized backlight level. A parser returns the pairs of the file. An engine returns one
/// pair for each level from 0 to the file's last one. It refuses (-22) if the file's table has fewer than two pairs,
/// does not rise strictly, does not begin at 0, or ends above 1,048,575.
struct BLLinearTable {
  uint32_t size = sizeof(BLLinearTable);  ///< The record's own size in bytes.
  /// `first`: linearized level; `second`: panel level. Getters append to the entries that are already there.
  std::vector<std::pair<uint32_t, uint32_t>> entries;
};

/// One measured point of a backlight-to-nits curve. It has no `size`, because it occurs only inside a table.
struct BlNitsPoint {
  uint32_t bl = 0;    ///< Client level of the measurement.
  double nits = 0.0;  ///< Luminance measured there, in nits.
};

/// A point in the plane, for linear interpolation. No payload carries it.
struct BackLightCordinates {
  double x = 0.0;  ///< A coverage in per cent, a level, or a luminance in nits.
  double y = 0.0;  ///< The value that belongs to `x`.
};

/// One measured backlight-to-nits curve.
struct BackLightToNitsTable {
  uint32_t size = sizeof(BackLightToNitsTable);  ///< The record's own size in bytes.
  uint32_t percentage = 0;                       ///< Screen coverage of the measurement: 10 or 100, set by the getter.
  /// In the order of the calibration file. They may be unsorted and contain duplicates. Getters append to the points
  /// that are already there.
  std::vector<BlNitsPoint> points;
};

/// Input of kBLToNits.
struct BlBackLight {
  uint32_t size = sizeof(BlBackLight);  ///< The record's own size in bytes.
  uint32_t percentage = 0;              ///< Screen coverage, 1 to 100 per cent.
  uint32_t bl = 0;                      ///< Client level to convert, 0 to BLRange::max_os_bl.
  bool hdr = false;                     ///< True: the high-brightness curves; false: the standard ones.
};

/// Output of kBLToNits; input and output of kNitsToBL.
struct BlNitsValue {
  uint32_t size = sizeof(BlNitsValue);  ///< The record's own size in bytes.
  uint32_t percentage = 0;              ///< Screen coverage, 1 to 100 per cent.
  /// Client level: the converted one (kBLToNits) or the result (kNitsToBL). A result from one curve is rounded to the
  /// nearest level; a result combined from two curves is truncated. A negative result becomes 0. With dimming off, the
  /// result may exceed BLRange::max_os_bl, because the curve is extrapolated above the last measured point, not
  /// clamped.
  uint32_t bl = 0;
  double nits = 0.0;  ///< Luminance in nits: the result, not rounded (kBLToNits), or any value to convert (kNitsToBL).
  /// True: the high-brightness curves; false: the standard ones. As output, written only while dimming is on.
  bool hdr = false;
};

/// Dimming on or off. Switching it off sets the scale to 1.0. It can be switched on without LUTs: until they are set,
/// every level has 0.0 nits, and a luminance cannot be converted to a level (-22).
struct BLDimmingStatus {
  uint32_t size = sizeof(BLDimmingStatus);  ///< The record's own size in bytes.
  bool enabled = false;                     ///< True: conversions read the maps made from the dimming LUTs.
};

/// The dimming scale. The engine stores it for clients until dimming is switched off. No conversion uses it.
struct BLDimmingScale {
  uint32_t size = sizeof(BLDimmingScale);  ///< The record's own size in bytes.
  double scale = 0.0;                      ///< A factor, unchecked. The engine starts at 1.0.
};

/// The two lookup tables of dimming. From them an engine computes one map of luminances for each of its four curves.
/// Setting them does not switch dimming on. Both arrays stay the client's: they must be valid and unchanged during the
/// SetParameter call, and the engine keeps no pointer to them. A wrong count or a null pointer is refused (-22) and
/// changes nothing. If a curve fails at some level, the call returns -22: its map is emptied, earlier maps are updated,
/// later ones unchanged. The order is standard 10 %, standard 100 %, high brightness 10 %, high brightness 100 %.
struct DimmingLuts {
  uint32_t size = sizeof(DimmingLuts);  ///< The record's own size in bytes.
  uint32_t bl_lut_sz = 0;               ///< Entries of `dimming_bl_lut`: must be BLRange::max_bl + 1.
  uint32_t* dimming_bl_lut = nullptr;   ///< Dimmed panel level for each panel level, limited to BLRange::max_bl.
  uint32_t pcc_lut_sz = 0;              ///< Entries of `pcc_attn_lut`: must be BLRange::max_os_bl + 1.
  double* pcc_attn_lut = nullptr;       ///< Attenuation, a factor on the luminance of each client level.
};

}  // namespace zarn
