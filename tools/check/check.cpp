#include "check/check.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <regex>

#include "check/rules.h"

namespace blnits {
namespace {

/// What the library said of a file that it refuses, taken apart.
struct Refusal {
  std::string step;   ///< The step of loading that failed: "ParseGamma".
  std::string words;  ///< The first line of Error.
};

Refusal ReadLog(const std::vector<LogLine>& log) {
  Refusal refusal;
  static const std::regex failed_step("BackLightNitsParserImp::Init: (\\w+): ret .*");
  for (const LogLine& line : log) {
    std::smatch match;
    if (line.level == 'E' && refusal.words.empty()) {
      refusal.words = line.text;
    }
    if (std::regex_match(line.text, match, failed_step)) {
      refusal.step = match[1];
    }
  }
  return refusal;
}

/// The element that a step reads.
CalibrationSource::Path ElementOf(const std::string& step) {
  static const std::map<std::string, CalibrationSource::Path> elements = {
      {"ParseFullScreenNitsTable", {"measurement_data", "standard", "nits_100"}},
      {"ParseOneTenthScreenNitsTable", {"measurement_data", "standard", "nits_10"}},
      {"ParseHdrFullScreenNitsTable", {"measurement_data", "hbm", "nits_100"}},
      {"ParseHdrOneTenthScreenNitsTable", {"measurement_data", "hbm", "nits_10"}},
  };
  const auto element = elements.find(step);
  return element != elements.end() ? element->second : CalibrationSource::Path();
}

/// Which list the library's words are about; null when they are about none.
const char* ListIn(const std::string& words) {
  constexpr std::pair<const char*, const char*> lists[] = {{"linear backlight value", "linearized_bl"},
                                                           {"panel backlight value", "panel_bl"},
                                                           {"backlight value", "bl_value"},
                                                           {"nits value", "nits_value"},
                                                           {"cfg panel bl size", "panel_bl"},
                                                           {"cfg nits size", "nits_value"}};
  for (const auto& [phrase, list] : lists) {
    if (words.find(phrase) != std::string::npos) {
      return list;
    }
  }
  return nullptr;
}

void AddRefusal(const CalibrationSource& source, const Refusal& refusal, Findings* findings) {
  auto element = ElementOf(refusal.step);
  const char* const list = ListIn(refusal.words);
  if (list != nullptr) {
    element.push_back(list);
  }
  int line = source.LineOf(element);
  std::string remedy = "add what is missing";
  std::smatch count;
  if (std::regex_search(refusal.words, count, std::regex("invalid cnt (\\d+)$"))) {
    line = source.Values(element).at(std::stoul(count[1])).line;
    remedy = "this value has no text, or something in front of it: write the number there";
  } else if (list != nullptr) {
    remedy = "the two lists must have as many values as each other";
  } else if (refusal.step == "ParseTopNode") {
    remedy = "the file's outermost element must be Calib_Data";
  }
  const std::string words = std::regex_replace(refusal.words, std::regex("ptr \\S+"), "ptr");  // an address
  findings->Add("load", line, "the device refuses this file: {}; {}", words, remedy);
}

void AddLoadFault(const CalibrationSource& source, Findings* findings) {
  const zarn::LoadResult load = source.Load();
  const char* const said = "the device refuses this file and says \"file not found\"";
  switch (load.fault) {
    case zarn::LoadFault::kUnreadable:
      findings->Add("load", 1, "{}: it is missing, no regular file, or may not be read", said);
      break;
    case zarn::LoadFault::kTooLarge:
      findings->Add("load", 1, "{}: it is larger than {} MiB", said, zarn::kMaxFileBytes >> 20);
      break;
    case zarn::LoadFault::kTagTooLong:
      findings->Add("load", load.line, "{}: this tag is longer than {} bytes; numbers belong into value elements", said,
                    zarn::kMaxTagBytes);
      break;
    case zarn::LoadFault::kReferenceTooLong:
      findings->Add(
          "load", load.line,
          R"({}: from this "&#" to its ";" are more than {} bytes; write the character itself, or "&amp;" for &)", said,
          zarn::kMaxReferenceBytes);
      break;
    case zarn::LoadFault::kNestedTooDeep:
      findings->Add("load", load.line, "{}: elements are nested more than {} deep; is an end tag missing before it?",
                    said, zarn::kMaxDepth);
      break;
    case zarn::LoadFault::kTooManyNodes:
      findings->Add("load", load.line, "{}: it has more than {} elements, texts and comments; leave out points", said,
                    zarn::kMaxNodes);
      break;
    case zarn::LoadFault::kTooManyAttributes:
      findings->Add("load", load.line, "{}: it has more than {} attributes; numbers belong into value elements", said,
                    zarn::kMaxAttributes);
      break;
    case zarn::LoadFault::kNotWellFormed:
      findings->Add("load", std::max(1, load.line), "{}: it is not well-formed XML: {}", said, source.XmlError());
      break;
    case zarn::LoadFault::kNone:
      break;
  }
}

void CheckFileName(const std::string& file, Findings* findings) {
  static const std::regex expected("backlight_calib_.*\\.xml");
  const std::string name = std::filesystem::path(file).filename().string();
  if (!std::regex_match(name, expected)) {
    findings->Add("file-name", 1,
                  "the device looks for backlight_calib_<panel>.xml: rename {} before it is copied there", name);
  }
}

void CheckLoaded(const CalibrationSource& source, Panel* panel, CapturedLog* log, Findings* findings) {
  CheckAttributes(source, panel, findings);
  CheckLinearTable(source, panel, findings);
  CheckMeasuredTables(source, panel, findings);
  CheckConversions(source, panel, log, findings);
}

void Sort(std::vector<Finding>* findings) {
  const auto key = [](const Finding& finding) {
    const bool refusal = finding.rule == &Rules().front();
    return std::make_tuple(!refusal, finding.line, finding.rule);
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

const std::vector<Rule>& Rules() {
  constexpr auto kError = Severity::kError;
  constexpr auto kWarning = Severity::kWarning;
  constexpr auto kNote = Severity::kNote;
  static const std::vector<Rule> rules = {
      {"load", kError, "the device refuses the file"},
      {"file-name", kNote, "a file name that the device does not look for"},
      {"ignored", kWarning, "elements, attributes and text that the device passes over, with the likely name"},
      {"repeated", kWarning, "an element of which only the first is read"},
      {"number", kWarning, "text that is no clean number, or out of the integers' range"},
      {"negative-level", kError, "a level below 0, which is read as one above 2147483647"},
      {"luminance-value", kError, "a luminance that is negative or not finite, or 0 at every level"},
      {"gamma", kWarning, "a gamma that is not from 1 to 4"},
      {"pcc-thresh", kWarning, "a threshold that is not above 0 and at most 1"},
      {"pcc-thresh-absent", kNote, "no threshold: the device takes 1.0"},
      {"max-os-bl", kError, "max_os_bl absent or 0: every level but 0 is refused"},
      {"max-os-bl-range", kWarning, "max_os_bl above max_bl"},
      {"minimum-bl", kWarning, "minimum_bl not below max_bl"},
      {"linear-short", kError, "a linear table of fewer than two pairs"},
      {"linear-order", kError, "linearized levels that do not rise"},
      {"linear-start", kError, "a linear table that does not begin at 0"},
      {"linear-long", kError, "a linear table that ends above 1048575"},
      {"panel-level", kWarning, "panel levels above max_bl"},
      {"panel-order", kWarning, "panel levels that fall"},
      {"empty-table", kError, "a measured table without points"},
      {"single-point", kWarning, "a measured table of one point"},
      {"level-order", kError, "levels that do not ascend"},
      {"repeated-level", kWarning, "a level that is measured twice"},
      {"falling-luminance", kError, "luminance that falls as the level rises"},
      {"plateau", kNote, "luminance that stays the same over several levels"},
      {"unreachable-point", kWarning, "a point that decides no conversion"},
      {"first-level", kNote, "a table that begins above level 0"},
      {"last-level", kWarning, "a table that ends below max_os_bl"},
      {"beyond-range", kWarning, "measured levels above max_os_bl"},
      {"scale", kWarning, "client levels where panel levels belong, or the other way round"},
      {"slope", kWarning, "a slope that changes more than fourfold between neighbours"},
      {"jump", kWarning, "a step of more than 25 % between adjacent client levels, from level 10 on"},
      {"dark-window", kWarning, "one tenth of the screen darker than the full screen"},
      {"dark-hbm", kWarning, "high brightness darker than standard operation"},
      {"request", kError, "a level, luminance or table that clients will ask for and that the device refuses"},
  };
  return rules;
}

void Findings::AddText(const char* rule, int line, std::string text) {
  const auto found =
      std::find_if(Rules().begin(), Rules().end(), [&](const Rule& each) { return std::strcmp(each.name, rule) == 0; });
  findings_.push_back({line, &*found, std::move(text)});
}

CheckReport Check(const std::string& file, const std::vector<std::string>& disabled, size_t limit, CapturedLog* log) {
  CheckReport report;
  Findings findings;
  const CalibrationSource source(file);
  CheckFileName(file, &findings);
  CheckNames(source, &findings);
  try {
    Panel panel = Panel::FromFile(file, log);
    report.loads = true;
    CheckNumbers(source, &panel, &findings);
    CheckLoaded(source, &panel, log, &findings);
  } catch (const LoadFailure& failure) {
    CheckNumbers(source, nullptr, &findings);
    if (source.Load().fault == zarn::LoadFault::kNone) {
      AddRefusal(source, ReadLog(failure.log), &findings);
    } else {
      AddLoadFault(source, &findings);
    }
  }
  report.findings = findings.Take();
  const auto is_disabled = [&](const Finding& finding) {
    return finding.rule != &Rules().front() &&
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
