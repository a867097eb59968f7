#include "check/rules.h"

namespace blnits {
namespace {

namespace format = zarn::format;
using Pairs = decltype(zarn::BLLinearTable::entries);

void CheckLinearLevels(const Pairs& pairs, const std::vector<SourceValue>& levels, int list_line, Findings* findings) {
  constexpr const char* kRefused = "the device refuses to return the linear table";
  if (pairs.size() < 2) {
    findings->Add(RuleId::kLinearShort, list_line, "{}, since it has {} pair{}; it needs at least two", kRefused,
                  pairs.size(), pairs.size() == 1 ? "" : "s");
    return;
  }
  if (pairs.front().first != 0) {
    findings->Add(RuleId::kLinearStart, levels.front().line,
                  "{}, since its first linearized level is {}; begin it at 0", kRefused, pairs.front().first);
  }
  for (size_t i = 1; i < pairs.size(); ++i) {
    if (pairs[i].first <= pairs[i - 1].first) {
      findings->Add(RuleId::kLinearOrder, levels[i].line,
                    "{}, since linearized level {} follows {} (line {}); sort the pairs", kRefused, pairs[i].first,
                    pairs[i - 1].first, levels[i - 1].line);
    }
  }
  if (pairs.back().first > format::kLastLinearizedLevel) {
    findings->Add(RuleId::kLinearLong, levels.back().line,
                  "{}, since its last linearized level is {}; it may be at most {}", kRefused, pairs.back().first,
                  format::kLastLinearizedLevel);
  }
}

void CheckPanelLevels(const Pairs& pairs, const std::vector<SourceValue>& levels, uint32_t max_bl, Findings* findings) {
  uint32_t highest = 0;
  for (size_t i = 0; i < pairs.size(); ++i) {
    const uint32_t level = pairs[i].second;
    if (level > max_bl) {
      findings->Add(RuleId::kPanelLevel, levels[i].line,
                    "panel level {} is above max_bl {}, and the device returns it unchanged; correct one of them",
                    level, max_bl);
    }
    if (i > 0 && level < pairs[i - 1].second) {
      findings->Add(
          RuleId::kPanelOrder, levels[i].line,
          "panel level {} follows {} (line {}): a higher linearized level makes the panel darker; measure both again",
          level, pairs[i - 1].second, levels[i - 1].line);
    }
    highest = std::max(highest, level);
  }
  if (pairs.size() > 1 && highest <= max_bl / 2) {
    findings->Add(
        RuleId::kScale, levels.back().line,
        "panel levels end at {}, but max_bl is {}: the device never uses the upper half of the panel; give panel "
        "levels from 0 to max_bl",
        highest, max_bl);
  }
}

}  // namespace

void CheckLinearTable(const Subject& subject, Findings* findings) {
  if (!subject.linear_has_fractions) {
    CheckLinearLevels(subject.pairs, subject.linear_levels, subject.source.LineOf({format::kLinearTable.first}),
                      findings);
    CheckPanelLevels(subject.pairs, subject.panel_levels, subject.range.max_bl, findings);
  }
}

}  // namespace blnits
