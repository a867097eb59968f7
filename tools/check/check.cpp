#include "check/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
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

}  // namespace

const char* NameOf(Severity severity) {
  constexpr const char* kNames[] = {"error", "warning", "note"};
  return kNames[static_cast<int>(severity)];
}

CheckReport Check(const std::string& file, const std::vector<std::string>& disabled, size_t limit, CapturedLog* log,
                  StatusLine* status) {
  const auto tell = [&](const char* part) {
    status->Update([&] { return fmt::format("checking: {} {}", part, Printable(file)); });
  };
  CheckReport report;
  Findings findings(disabled, limit);
  CheckFileName(file, &findings);
  tell("loading");
  try {
    Panel panel = Panel::FromFile(file, log);
    CalibrationSource source(file, true);
    CheckNames(source, &findings);
    Subject subject(&source, &panel);
    report.loads = true;
    tell("numbers of");
    CheckNumbers(&subject, &findings);
    CheckAttributes(subject, &findings);
    CheckLinearTable(subject, &findings);
    tell("measured tables of");
    CheckMeasuredTables(subject, &findings);
    tell("conversions of");
    CheckConversions(subject, log, &findings);
  } catch (const LoadFailure& failure) {
    CalibrationSource source(file);
    CheckNames(source, &findings);
    Subject subject(&source, nullptr);
    CheckNumbers(&subject, &findings);
    AddRefusal(source, failure.words, &findings);
  }
  findings.MoveTo(&report);
  return report;
}

}  // namespace blnits
