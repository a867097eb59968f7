#include <memory>

#include "check/report.h"
#include "commands/commands.h"
#include "commands/conversion.h"
#include "support/json.h"

namespace blnits {
namespace {

struct CheckOptions {
  std::vector<std::string> files;
  std::vector<std::string> disabled;
  std::string format = "text";
  size_t limit = kUsualLimit;
  bool strict = false;
  bool list_rules = false;
};

nlohmann::ordered_json ReportOf(bool passes, const nlohmann::ordered_json& files) {
  auto report = JsonReport("check");
  report["passes"] = passes;
  report["files"] = files;
  return report;
}

nlohmann::ordered_json RulesReport() {
  auto report = JsonReport("rules");
  for (const Rule& rule : kRules) {
    report["rules"].push_back({{"rule", rule.name}, {"severity", NameOf(rule.severity)}, {"text", rule.summary}});
  }
  return report;
}

void ListRules(bool json) {
  if (json) {
    fmt::print("{}\n", JsonLine(RulesReport()));
    return;
  }
  for (const Rule& rule : kRules) {
    fmt::print("{:<18} {:<8} {}\n", rule.name, NameOf(rule.severity), rule.summary);
  }
}

bool Passes(const CheckReport& report, bool strict) {
  return report.Count(Severity::kError) == 0 && !(strict && report.Count(Severity::kWarning) > 0);
}

void Run(const CheckOptions& options, CapturedLog* log) {
  const bool json = options.format == "json";
  if (options.list_rules) {
    ListRules(json);
    return;
  }
  if (options.files.empty()) {
    throw Failure("check: FILE is required");
  }
  bool passes = true;
  auto files = nlohmann::ordered_json::array();
  StatusLine status;
  for (const std::string& file : options.files) {
    const CheckReport report = Check(file, options.disabled, options.limit, log, &status);
    status.Erase();
    if (json) {
      files.push_back(ToJson(file, report));
    } else {
      PrintReport(file, report);
    }
    passes = passes && Passes(report, options.strict);
  }
  if (json) {
    fmt::print("{}\n", JsonLine(ReportOf(passes, files)));
  }
  if (!passes) {
    throw Negative();
  }
}

std::vector<std::string> RuleNames() {
  std::vector<std::string> names;
  names.reserve(kRules.size());
  for (const Rule& rule : kRules) {
    names.emplace_back(rule.name);
  }
  return names;
}

}  // namespace

void AddCheckCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "check",
                           "Find the faults of calibration files, and show what the device does with them");
  auto options = std::make_shared<CheckOptions>();
  command.Add("FILE", &options->files, "Calibration files, of any name");
  command.AddFlag("--strict", &options->strict, "Exit with status 1 on warnings, too");
  command.Add("--disable", &options->disabled, "Do not apply this rule; may be repeated")
      .OneEachTime()
      .OneOfMany(RuleNames())
      .Takes("RULE");
  AddFormatOption(command, &options->format);
  command.Add("--limit", &options->limit, "How many findings of a rule to print for each file; 0: all").ShowDefault();
  command.AddFlag("--list-rules", &options->list_rules, "List the rules and exit");
  command.Footer(
      "Findings: FILE:LINE: error|warning|note: TEXT [RULE]. Exit status: 0 without an error, otherwise 1.\n"
      "Example: blnits check --strict samples/*.xml");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
