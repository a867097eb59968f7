#pragma once

/// \file
/// The vocabulary of the library: identifiers of parameters and operations, and the records that travel in a
/// zarn::GenericPayload.
///
/// Clients are built separately from the library. Enumerator values, field order and field widths are shared with them
/// and never change; CONTRIBUTING.md says what may be added.
///
/// Units: luminance is in nits (cd/m²), screen coverage in per cent. A *panel level* is what the panel's backlight
/// control accepts, 0 to BLRange::max_bl. A *client level* is what users of the library deal in, 0 to
/// BLRange::max_os_bl.
/// Coverage: panels are measured at 10 % and at 100 %. From 1 to 10 % the 10 % curve holds, at 100 % the other, and
/// between 10 and 100 the value lies on the straight line through both.
///
/// Values from the calibration file are served as they stand there, without any check of range, order or sense.
///
/// Records are plain data. They belong to whoever created them and are not synchronised.

#include <cstdint>
#include <utility>
#include <vector>

namespace zarn {

/// Parameters of an engine. Behind each: the record that its payload carries, and the directions that exist. A direction
/// that does not exist is answered with -95 (EOPNOTSUPP). A parser serves 0 to 7, get only.
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

/// Operations of an engine. Behind each: the input record and the output record.
enum BLNitOps : int32_t {
  kBLToNits = 0,  ///< BlBackLight in, BlNitsValue out: the luminance that a backlight level gives.
  kNitsToBL = 1,  ///< BlNitsValue in, BlNitsValue out: the backlight level that gives a luminance.
};

/// The panel's backlight range.
struct BLRange {
  uint32_t size = sizeof(BLRange);  ///< The record's own size in bytes.
  uint32_t minimum_bl = 0;          ///< Lowest panel level. Stored and served; no computation uses it.
  uint32_t max_bl = 0;              ///< Highest panel level.
  uint32_t max_os_bl = 0;           ///< Highest client level; 0 when the calibration file gives none.
};

/// The panel's gamma.
struct BLGamma {
  uint32_t size = sizeof(BLGamma);  ///< The record's own size in bytes.
  double gamma = 0.0;               ///< Exponent of the panel's transfer curve, without unit. Unchecked.
};

/// Threshold of the colour-correction (PCC) attenuation.
struct BLPccThresh {
  uint32_t size = sizeof(BLPccThresh);  ///< The record's own size in bytes.
  double pcc_thresh = 0.0;              ///< A factor; 1.0 when the calibration file gives none. Unchecked.
};

/// Which panel level belongs to which linearized backlight level. A parser gives the pairs of the file. An engine gives
/// one pair for each level from 0 to the file's last one; it refuses, with -22, a file's table with fewer than two
/// pairs, or that does not rise strictly, does not begin at 0 or ends above 1,048,575.
struct BLLinearTable {
  uint32_t size = sizeof(BLLinearTable);  ///< The record's own size in bytes.
  /// `first`: linearized level; `second`: panel level. Getters append and keep what is already there.
  std::vector<std::pair<uint32_t, uint32_t>> entries;
};

/// One measured point of a backlight-to-nits curve. Has no `size`: it occurs only inside a table.
struct BlNitsPoint {
  uint32_t bl = 0;    ///< Client level of the measurement.
  double nits = 0.0;  ///< Luminance measured there, in nits.
};

/// A point in the plane, for interpolation on a straight line. Never travels in a payload.
struct BackLightCordinates {
  double x = 0.0;  ///< A coverage in per cent, a level or a luminance in nits, as its user says.
  double y = 0.0;  ///< The value that belongs to `x`.
};

/// One measured backlight-to-nits curve.
struct BackLightToNitsTable {
  uint32_t size = sizeof(BackLightToNitsTable);  ///< The record's own size in bytes.
  uint32_t percentage = 0;                       ///< Screen coverage of the measurement: 10 or 100 once filled.
  /// In the order of the calibration file, neither sorted nor free of duplicates. Getters append and keep what is
  /// already there.
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
  /// Backlight level: the converted one (kBLToNits) or the result (kNitsToBL). A result is rounded to the nearest level
  /// within one curve, and truncated where two are combined; it is 0 where it would be negative. With dimming off it may
  /// exceed BLRange::max_os_bl: above the last measured point the curve is continued, not clamped.
  uint32_t bl = 0;
  double nits = 0.0;  ///< Luminance in nits: the result, not rounded (kBLToNits), or any value to convert (kNitsToBL).
  /// True: the high-brightness curves; false: the standard ones. In an output it is written only while dimming is on.
  bool hdr = false;
};

/// Dimming on or off. Switching it off sets the scale back to 1.0. Switching it on needs no LUTs: until they are set,
/// every level has 0.0 nits and no luminance has a level (-22).
struct BLDimmingStatus {
  uint32_t size = sizeof(BLDimmingStatus);  ///< The record's own size in bytes.
  bool enabled = false;                     ///< True: conversions read the maps made from the dimming LUTs.
};

/// The dimming scale. Kept for clients until dimming is switched off; no conversion uses it.
struct BLDimmingScale {
  uint32_t size = sizeof(BLDimmingScale);  ///< The record's own size in bytes.
  double scale = 0.0;                      ///< A factor, unchecked. The engine starts at 1.0.
};

/// The two lookup tables of dimming, from which an engine makes one map of luminances for each of its four curves;
/// dimming is not switched on by it. Both arrays stay the client's: they must be valid and unchanged during the
/// SetParameter call that hands them in, and no pointer to them is kept. A wrong count or a null pointer is refused with
/// -22 and changes nothing. A curve that gives no luminance at some level ends the call with -22: its map is then empty,
/// the ones before it (standard 10 %, standard 100 %, high brightness 10 %, high brightness 100 %) are made anew, the
/// later ones stay.
struct DimmingLuts {
  uint32_t size = sizeof(DimmingLuts);  ///< The record's own size in bytes.
  uint32_t bl_lut_sz = 0;               ///< Entries of `dimming_bl_lut`: must be BLRange::max_bl + 1.
  uint32_t* dimming_bl_lut = nullptr;   ///< Dimmed panel level for each panel level; above BLRange::max_bl: as that.
  uint32_t pcc_lut_sz = 0;              ///< Entries of `pcc_attn_lut`: must be BLRange::max_os_bl + 1.
  double* pcc_attn_lut = nullptr;       ///< Attenuation, a factor on the luminance of each client level.
};

}  // namespace zarn
