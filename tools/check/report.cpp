#include "check/report.h"

#include <fmt/color.h>

#include "foreign_text.h"
#include "support/json.h"
#include "support/terminal.h"

namespace blnits {
namespace {

std::string Counted(size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

/// The colours that compilers use.
fmt::text_style StyleOf(Severity severity) {
  constexpr fmt::terminal_color kColours[] = {fmt::terminal_color::red, fmt::terminal_color::magenta,
                                              fmt::terminal_color::cyan};
  return WantsColours() ? fmt::emphasis::bold | fmt::fg(kColours[static_cast<int>(severity)]) : fmt::text_style();
}

}  // namespace

void PrintReport(const std::string& file, const CheckReport& report, std::FILE* stream) {
  const std::string name = Printable(file);
  fmt::print(stream, "{}: the device {} this file\n", name, report.loads ? "loads" : "refuses");
  for (const auto& [line, rule, text] : report.findings) {
    fmt::print(stream, "{}:{}: {}: {} [{}]\n", name, line,
               fmt::format(StyleOf(rule->severity), "{}", NameOf(rule->severity)), Printable(text), rule->name);
  }
  fmt::print(stream, "{}: {}: {}, {}, {}\n", name, report.loads ? "loads" : "does not load",
             Counted(report.Count(Severity::kError), "error"), Counted(report.Count(Severity::kWarning), "warning"),
             Counted(report.Count(Severity::kNote), "note"));
}

nlohmann::ordered_json ToJson(const std::string& file, const CheckReport& report) {
  nlohmann::ordered_json findings = nlohmann::ordered_json::array();
  for (const auto& [line, rule, text] : report.findings) {
    findings.push_back({{"line", line}, {"severity", NameOf(rule->severity)}, {"rule", rule->name}, {"text", text}});
  }
  return {{"file", file},
          {"loads", report.loads},
          {"errors", report.Count(Severity::kError)},
          {"warnings", report.Count(Severity::kWarning)},
          {"notes", report.Count(Severity::kNote)},
          {"findings", findings}};
}

}  // namespace blnits
