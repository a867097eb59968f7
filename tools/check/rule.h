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
    {RuleId::kIgnored, "ignored", Severity::kWarning, "elements, attributes and text that the device passes over"},
    {RuleId::kRepeated, "repeated", Severity::kWarning, "an element of which only the first is read"},
    {RuleId::kNoNumber, "no-number", Severity::kError, "text without a number where one belongs"},
    {RuleId::kNumber, "number", Severity::kWarning, "a number with other text around it, or too large"},
    {RuleId::kFractions, "fractions", Severity::kError, "levels that are fractions from 0 to 1"},
    {RuleId::kNegativeLevel, "negative-level", Severity::kError,
     "a level below 0, which is read as one above 2147483647"},
    {RuleId::kLuminanceValue, "luminance-value", Severity::kError,
     "a luminance that is negative or not finite, or 0 at every level"},
    {RuleId::kTooBright, "too-bright", Severity::kWarning, "a luminance above 20000 nits"},
    {RuleId::kGamma, "gamma", Severity::kWarning, "a gamma that is not from 1 to 4"},
    {RuleId::kPccThresh, "pcc-thresh", Severity::kWarning, "a threshold that is not above 0 and at most 1"},
    {RuleId::kPccThreshAbsent, "pcc-thresh-absent", Severity::kNote, "no threshold: the device takes 1.0"},
    {RuleId::kMaxOsBl, "max-os-bl", Severity::kError, "max_os_bl absent or 0: every level but 0 is refused"},
    {RuleId::kMaxOsBlRange, "max-os-bl-range", Severity::kWarning, "max_os_bl above max_bl"},
    {RuleId::kMinimumBl, "minimum-bl", Severity::kWarning, "minimum_bl not below max_bl"},
    {RuleId::kLinearShort, "linear-short", Severity::kError, "a linear table of fewer than two pairs"},
    {RuleId::kLinearOrder, "linear-order", Severity::kError, "linearized levels that do not rise"},
    {RuleId::kLinearStart, "linear-start", Severity::kError, "a linear table that does not begin at 0"},
    {RuleId::kLinearLong, "linear-long", Severity::kError, "a linear table that ends above 1048575"},
    {RuleId::kPanelLevel, "panel-level", Severity::kWarning, "panel levels above max_bl"},
    {RuleId::kPanelOrder, "panel-order", Severity::kWarning, "panel levels that fall"},
    {RuleId::kEmptyTable, "empty-table", Severity::kError, "a measured table without points"},
    {RuleId::kSinglePoint, "single-point", Severity::kWarning, "a measured table of one point"},
    {RuleId::kLevelOrder, "level-order", Severity::kError, "levels that do not ascend"},
    {RuleId::kRepeatedLevel, "repeated-level", Severity::kWarning, "a level that is measured twice"},
    {RuleId::kFallingLuminance, "falling-luminance", Severity::kError,
     "luminance that falls by 0.5 % or more as the level rises"},
    {RuleId::kMeterNoise, "meter-noise", Severity::kWarning, "luminance that falls by less than 0.5 %"},
    {RuleId::kPlateau, "plateau", Severity::kNote, "luminance that stays the same over several levels"},
    {RuleId::kUnreachablePoint, "unreachable-point", Severity::kWarning, "a point that decides no conversion"},
    {RuleId::kFirstLevel, "first-level", Severity::kNote, "a table that begins above level 1"},
    {RuleId::kLastLevel, "last-level", Severity::kWarning, "a table that ends below max_os_bl"},
    {RuleId::kBeyondRange, "beyond-range", Severity::kWarning, "measured levels above max_os_bl"},
    {RuleId::kScale, "scale", Severity::kWarning, "client levels where panel levels belong, or the other way round"},
    {RuleId::kCoarse, "coarse", Severity::kWarning, "neighbouring points more than 4 times apart in luminance"},
    {RuleId::kSlope, "slope", Severity::kWarning, "a slope that changes more than fourfold between neighbours"},
    {RuleId::kJump, "jump", Severity::kWarning, "a rise of more than 25 % within 1/255 of the range"},
    {RuleId::kDarkWindow, "dark-window", Severity::kWarning, "one tenth of the screen darker than the full screen"},
    {RuleId::kDarkHbm, "dark-hbm", Severity::kWarning, "high brightness darker than standard operation"},
    {RuleId::kRequest, "request", Severity::kError,
     "a level, luminance or table that clients will ask for and that the device refuses"},
    {RuleId::kSampled, "sampled", Severity::kNote, "a range so large that only a sample of its levels is looked at"},
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
