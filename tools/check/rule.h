#pragma once

#include <array>
#include <cstddef>

namespace blnits {

enum class Severity {
  kError,    ///< The device refuses the file or a sensible request, or answers it with garbage.
  kWarning,  ///< The file loads, but the value is surely a mistake.
  kNote,     ///< Worth knowing.
};

/// Identifies a rule; kRules has its name and severity. Same order as in the documentation.
enum class RuleId : size_t {
  kLoad,
  kFileName,
  kIgnored,
  kRepeated,
  kNoNumber,
  kNumber,
  kFractions,
  kNegativeLevel,
  kLuminanceValue,
  kTooBright,
  kGamma,
  kPccThresh,
  kPccThreshAbsent,
  kMaxOsBl,
  kMaxOsBlRange,
  kMinimumBl,
  kLinearShort,
  kLinearOrder,
  kLinearStart,
  kLinearLong,
  kPanelLevel,
  kPanelOrder,
  kEmptyTable,
  kSinglePoint,
  kLevelOrder,
  kRepeatedLevel,
  kFallingLuminance,
  kMeterNoise,
  kPlateau,
  kUnreachablePoint,
  kFirstLevel,
  kLastLevel,
  kBeyondRange,
  kScale,
  kCoarse,
  kSlope,
  kJump,
  kDarkWindow,
  kDarkHbm,
  kRequest,
  kSampled,
  kCount,
};

/// A rule that a calibration can break.
struct Rule {
  RuleId id;
  const char* name;     ///< As users write it, for instance after --disable.
  Severity severity;    ///< The severity of all its findings.
  const char* summary;  ///< What the rule reports.
};

/// Every rule, indexed by its id.
constexpr std::array<Rule, static_cast<size_t>(RuleId::kCount)> kRules = {{
    {RuleId::kLoad, "load", Severity::kError, "the device refuses the file"},
    {RuleId::kFileName, "file-name", Severity::kNote, "a file name that the device does not look for"},
    {RuleId::kIgnored, "ignored", Severity::kWarning, "elements, attributes and text that the device ignores"},
    {RuleId::kRepeated, "repeated", Severity::kWarning, "a repeated element: the device reads only the first"},
    {RuleId::kNoNumber, "no-number", Severity::kError, "text in place of a number"},
    {RuleId::kNumber, "number", Severity::kWarning, "a number with other text around it, or too large"},
    {RuleId::kFractions, "fractions", Severity::kError, "levels that are fractions from 0 to 1"},
    {RuleId::kNegativeLevel, "negative-level", Severity::kError,
     "a level below 0, which the device reads as one above 2147483647"},
    {RuleId::kLuminanceValue, "luminance-value", Severity::kError,
     "a luminance that is negative or not finite, or a table of zeros"},
    {RuleId::kTooBright, "too-bright", Severity::kWarning, "a luminance above 20000 nits"},
    {RuleId::kGamma, "gamma", Severity::kWarning, "a gamma below 1 or above 4"},
    {RuleId::kPccThresh, "pcc-thresh", Severity::kWarning, "a threshold of 0 or less, or above 1"},
    {RuleId::kPccThreshAbsent, "pcc-thresh-absent", Severity::kNote, "no threshold: the device uses 1.0"},
    {RuleId::kMaxOsBl, "max-os-bl", Severity::kError, "max_os_bl absent or 0: the device refuses every level except 0"},
    {RuleId::kMaxOsBlRange, "max-os-bl-range", Severity::kWarning, "max_os_bl above max_bl"},
    {RuleId::kMinimumBl, "minimum-bl", Severity::kWarning, "minimum_bl equal to max_bl or above it"},
    {RuleId::kLinearShort, "linear-short", Severity::kError, "a linear table of fewer than two pairs"},
    {RuleId::kLinearOrder, "linear-order", Severity::kError, "linearized levels that do not rise"},
    {RuleId::kLinearStart, "linear-start", Severity::kError, "a linear table that does not begin at 0"},
    {RuleId::kLinearLong, "linear-long", Severity::kError, "a linear table that ends above 1048575"},
    {RuleId::kPanelLevel, "panel-level", Severity::kWarning, "panel levels above max_bl"},
    {RuleId::kPanelOrder, "panel-order", Severity::kWarning, "panel levels that fall"},
    {RuleId::kEmptyTable, "empty-table", Severity::kError, "a measured table without points"},
    {RuleId::kSinglePoint, "single-point", Severity::kWarning, "a measured table of one point"},
    {RuleId::kLevelOrder, "level-order", Severity::kError, "levels that do not ascend"},
    {RuleId::kRepeatedLevel, "repeated-level", Severity::kWarning, "a level that occurs twice"},
    {RuleId::kFallingLuminance, "falling-luminance", Severity::kError,
     "luminance that falls by 0.5 % or more as the level rises"},
    {RuleId::kMeterNoise, "meter-noise", Severity::kWarning, "luminance that falls by less than 0.5 %"},
    {RuleId::kPlateau, "plateau", Severity::kNote,
     "luminance that is the same at several levels, or rises too little to see"},
    {RuleId::kUnreachablePoint, "unreachable-point", Severity::kWarning, "a point that no conversion uses"},
    {RuleId::kFirstLevel, "first-level", Severity::kNote, "a table that begins above level 1"},
    {RuleId::kLastLevel, "last-level", Severity::kWarning, "a table that ends below max_os_bl"},
    {RuleId::kBeyondRange, "beyond-range", Severity::kWarning, "measured levels above max_os_bl"},
    {RuleId::kScale, "scale", Severity::kWarning, "client levels where panel levels belong, or the other way round"},
    {RuleId::kCoarse, "coarse", Severity::kWarning, "neighbouring points more than 4 times apart in luminance"},
    {RuleId::kSlope, "slope", Severity::kWarning, "a slope that changes more than fourfold at a point"},
    {RuleId::kJump, "jump", Severity::kWarning, "a rise of more than 25 JND within 1/255 of the range"},
    {RuleId::kDarkWindow, "dark-window", Severity::kWarning, "one tenth of the screen is darker than the full screen"},
    {RuleId::kDarkHbm, "dark-hbm", Severity::kWarning, "high brightness is darker than standard operation"},
    {RuleId::kRequest, "request", Severity::kError,
     "the device refuses a level, luminance or table that clients request"},
    {RuleId::kSampled, "sampled", Severity::kNote, "a range so large that check examines only a sample of its levels"},
}};

/// Whether each rule is at the index of its id, and none is missing.
constexpr bool RulesAreInOrder() {
  for (size_t i = 0; i < kRules.size(); ++i) {
    if (static_cast<size_t>(kRules[i].id) != i || kRules[i].name == nullptr) {
      return false;
    }
  }
  return true;
}
static_assert(RulesAreInOrder());

}  // namespace blnits
