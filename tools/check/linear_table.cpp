#include "check/rules.h"

namespace blnits {
namespace {

using Pairs = decltype(zarn::BLLinearTable::entries);

constexpr uint32_t kLastLevelLimit = 1048575;  // of the dense table, in the library

void CheckLinearLevels(const Pairs& pairs, const std::vector<SourceValue>& levels, int list_line, Findings* findings) {
  const char* const refused = "the device refuses to give the linear table";
  if (pairs.size() < 2) {
    findings->Add("linear-short", list_line, "{} of {} pairs; it needs two or more", refused, pairs.size());
    return;
  }
  if (pairs.front().first != 0) {
    findings->Add("linear-start", levels.front().line, "{}, since its first linearized level is {}; begin it at 0",
                  refused, pairs.front().first);
  }
  for (size_t i = 1; i < pairs.size(); ++i) {
    if (pairs[i].first <= pairs[i - 1].first) {
      findings->Add("linear-order", levels[i].line,
                    "{}, since linearized level {} follows {} (line {}); sort the pairs", refused, pairs[i].first,
                    pairs[i - 1].first, levels[i - 1].line);
    }
  }
  if (pairs.back().first > kLastLevelLimit) {
    findings->Add("linear-long", levels.back().line, "{}, since its last linearized level is {}; it may be at most {}",
                  refused, pairs.back().first, kLastLevelLimit);
  }
}

void CheckPanelLevels(const Pairs& pairs, const std::vector<SourceValue>& levels, uint32_t max_bl, Findings* findings) {
  uint32_t highest = 0;
  for (size_t i = 0; i < pairs.size(); ++i) {
    const uint32_t level = pairs[i].second;
    if (level > max_bl) {
      findings->Add("panel-level", levels[i].line,
                    "panel level {} is above max_bl {}, and the device serves it as it "
                    "stands; correct one of them",
                    level, max_bl);
    }
    if (i > 0 && level < pairs[i - 1].second) {
      findings->Add(
          "panel-order", levels[i].line,
          "panel level {} follows {} (line {}): a higher linearized level makes the panel darker; measure again", level,
          pairs[i - 1].second, levels[i - 1].line);
    }
    highest = std::max(highest, level);
  }
  if (pairs.size() > 1 && highest <= max_bl / 2) {
    findings->Add("scale", levels.back().line,
                  "panel levels end at {}, max_bl is {}: these look like levels of another scale; give them on the "
                  "panel's",
                  highest, max_bl);
  }
}

}  // namespace

void CheckLinearTable(const CalibrationSource& source, Panel* panel, Findings* findings) {
  const Pairs pairs = panel->SparseLinearTable().entries;
  const uint32_t max_bl = panel->Get<zarn::BLRange>(zarn::kBLRange).max_bl;
  CheckLinearLevels(pairs, source.Values({"linearized_bl"}), source.LineOf({"linearized_bl"}), findings);
  CheckPanelLevels(pairs, source.Values({"panel_bl"}), max_bl, findings);
}

}  // namespace blnits
