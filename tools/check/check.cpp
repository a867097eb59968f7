#include "check/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>
#include <utility>

#include "check/rules.h"
#include "load_trouble.h"

namespace blnits {
namespace {

// The library stops at the first fault, so its message belongs to the first trouble only.
void AddRefusal(const CalibrationSource& source, const std::string& words, Findings* findings) {
  std::string says = " and says: " + words;
  for (const LoadTrouble& trouble : LoadTroubles(source)) {
    findings->Add(RuleId::kLoad, std::max(1, trouble.line), "{}; the device refuses the file{}", trouble.text,
                  std::exchange(says, ""));
  }
}

void CheckFileName(const std::string& file, Findings* findings) {
  const std::string name = std::filesystem::path(file).filename().string();
  const std::string start = zarn::format::kFilePrefix;
  const std::string end = zarn::format::kFileSuffix;
  const bool is_found = name.size() >= start.size() + end.size() && name.compare(0, start.size(), start) == 0 &&
                        name.compare(name.size() - end.size(), end.size(), end) == 0;
  if (!is_found) {
    findings->Add(RuleId::kFileName, 1,
                  "the device looks for backlight_calib_<panel>.xml and does not find {}; rename it before you copy it "
                  "there",
                  Printable(name));
  }
}

void Sort(std::vector<Finding>* findings) {
  const auto key = [](const Finding& finding) {
    return std::make_tuple(finding.rule->id != RuleId::kLoad, finding.line, finding.rule);
  };
  std::stable_sort(findings->begin(), findings->end(),
                   [&](const Finding& a, const Finding& b) { return key(a) < key(b); });
}

std::vector<Finding> Limited(const std::vector<Finding>& findings, size_t limit) {
  std::map<const Rule*, size_t> total;
  for (const Finding& finding : findings) {
    ++total[finding.rule];
  }
  std::map<const Rule*, size_t> kept;
  std::vector<Finding> some;
  for (const Finding& finding : findings) {
    const size_t count = ++kept[finding.rule];
    if (limit == 0 || count <= limit) {
      some.push_back(finding);
      if (count == limit && total[finding.rule] > limit) {
        some.back().text += fmt::format(" ({} more like this)", total[finding.rule] - limit);
      }
    }
  }
  return some;
}

}  // namespace

const char* NameOf(Severity severity) {
  constexpr const char* kNames[] = {"error", "warning", "note"};
  return kNames[static_cast<int>(severity)];
}

CheckReport Check(const std::string& file, const std::vector<std::string>& disabled, size_t limit, CapturedLog* log) {
  CheckReport report;
  Findings findings;
  CheckFileName(file, &findings);
  try {
    Panel panel = Panel::FromFile(file, log);
    const CalibrationSource source(file, true);
    CheckNames(source, &findings);
    Subject subject(source, &panel);
    report.loads = true;
    CheckNumbers(&subject, &findings);
    CheckAttributes(subject, &findings);
    CheckLinearTable(subject, &findings);
    CheckMeasuredTables(subject, &findings);
    CheckConversions(subject, log, &findings);
  } catch (const LoadFailure& failure) {
    const CalibrationSource source(file);
    CheckNames(source, &findings);
    Subject subject(source, nullptr);
    CheckNumbers(&subject, &findings);
    AddRefusal(source, failure.words, &findings);
  }
  report.findings = findings.Take();
  const auto is_disabled = [&](const Finding& finding) {
    return finding.rule->id != RuleId::kLoad &&
           std::find(disabled.begin(), disabled.end(), finding.rule->name) != disabled.end();
  };
  report.findings.erase(std::remove_if(report.findings.begin(), report.findings.end(), is_disabled),
                        report.findings.end());
  for (const Finding& finding : report.findings) {
    ++report.counts[static_cast<size_t>(finding.rule->severity)];
  }
  Sort(&report.findings);
  report.findings = Limited(report.findings, limit);
  return report;
}

}  // namespace blnits
