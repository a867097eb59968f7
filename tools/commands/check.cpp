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

void PrintJson(const std::string& file, const CheckReport& report) {
  nlohmann::ordered_json findings = nlohmann::ordered_json::array();
  for (const auto& [line, rule, text] : report.findings) {
    findings.push_back({{"line", line}, {"severity", NameOf(rule->severity)}, {"rule", rule->name}, {"text", text}});
  }
  const nlohmann::ordered_json object = {{"file", file},
                                         {"loads", report.loads},
                                         {"errors", report.Count(Severity::kError)},
                                         {"warnings", report.Count(Severity::kWarning)},
                                         {"notes", report.Count(Severity::kNote)},
                                         {"findings", findings}};
  fmt::print("{}\n", JsonLine(object));
}

void ListRules() {
  for (const Rule& rule : kRules) {
    fmt::print("{:<18} {:<8} {}\n", rule.name, NameOf(rule.severity), rule.summary);
  }
}

void Run(const CheckOptions& options, CapturedLog* log) {
  if (options.list_rules) {
    ListRules();
    return;
  }
  if (options.files.empty()) {
    throw Failure("check: FILE is required");
  }
  bool fine = true;
  for (const std::string& file : options.files) {
    const CheckReport report = Check(file, options.disabled, options.limit, log);
    if (options.format == "json") {
      PrintJson(file, report);
    } else {
      PrintReport(file, report);
    }
    fine = fine && report.Count(Severity::kError) == 0 && !(options.strict && report.Count(Severity::kWarning) > 0);
  }
  if (!fine) {
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
