#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "support/json.h"

namespace blnits {
namespace {

struct DiffOptions : DiffLimits {
  std::string a;
  std::string b;
  std::string format = "text";
};

/// The difference of two rows of numbers: largest and root mean square.
class Spread {
 public:
  void Add(uint32_t level, double difference) {
    difference = std::abs(difference);
    squares_ += difference * difference;
    if (count_++ == 0 || difference > largest) {
      largest = difference;
      at = level;
    }
  }
  bool Empty() const { return count_ == 0; }
  double Rms() const { return Empty() ? 0.0 : std::sqrt(squares_ / static_cast<double>(count_)); }

  double largest = 0.0;
  uint32_t at = 0;  ///< The first level with the largest difference.

 private:
  double squares_ = 0.0;
  size_t count_ = 0;
};

struct TableDifference {
  std::string table;
  bool hdr;
  uint32_t coverage;  ///< In per cent.
  Spread nits;
  Spread percent;        ///< In per cent of A, at levels where A is not 0.
  uint64_t refused = 0;  ///< Number of levels that exactly one of the two devices refuses.
};

/// The last level of each of the two.
struct LastLevels {
  uint32_t a;
  uint32_t b;
};

struct LinearDifference {
  Spread spread;  ///< In panel levels.
  LastLevels last;
};

struct AttributeDifference {
  const char* name;
  double a;
  double b;
};

struct Difference {
  std::vector<AttributeDifference> attributes;
  std::optional<LinearDifference> linear;  ///< Empty if the device refuses one of the tables.
  LastLevels last;
  std::vector<uint32_t> levels;  ///< The client levels that were compared.
  std::vector<TableDifference> tables;
};

std::vector<AttributeDifference> CompareAttributes(Panel* a, Panel* b) {
  std::vector<AttributeDifference> attributes;
  zarn::format::ForEachAttribute([&](const auto& attribute) {
    const double of_a = a->Get(attribute);
    const double of_b = b->Get(attribute);
    if (of_a != of_b) {
      attributes.push_back({attribute.name, of_a, of_b});
    }
  });
  return attributes;
}

std::optional<LinearDifference> CompareLinearTables(Panel* a, Panel* b) {
  try {
    const auto pairs_a = a->Get<zarn::BLLinearTable>(zarn::kBLLinearTable).entries;
    const auto pairs_b = b->Get<zarn::BLLinearTable>(zarn::kBLLinearTable).entries;
    LinearDifference difference = {{}, {pairs_a.back().first, pairs_b.back().first}};
    for (size_t i = 0; i < std::min(pairs_a.size(), pairs_b.size()); ++i) {
      difference.spread.Add(pairs_a[i].first, static_cast<double>(pairs_a[i].second) - pairs_b[i].second);
    }
    return difference;
  } catch (const Failure&) {
    return std::nullopt;
  }
}

TableDifference CompareCurves(const Curve& a, const Curve& b, const std::vector<uint32_t>& levels) {
  TableDifference difference = {NameOf(a), a.hdr, a.coverage, {}, {}, 0};
  for (size_t i = 0; i < levels.size(); ++i) {
    if (!std::isfinite(a.nits[i]) || !std::isfinite(b.nits[i])) {
      continue;
    }
    difference.nits.Add(levels[i], b.nits[i] - a.nits[i]);
    if (a.nits[i] != 0.0) {
      difference.percent.Add(levels[i], 100.0 * (b.nits[i] / a.nits[i] - 1.0));
    }
  }
  difference.refused =
      CountLevels(levels, [&](size_t i) { return std::isfinite(a.nits[i]) != std::isfinite(b.nits[i]); });
  return difference;
}

Difference Compare(Panel* a, Panel* b) {
  Difference difference;
  difference.attributes = CompareAttributes(a, b);
  difference.linear = CompareLinearTables(a, b);
  const auto last = [](Panel* panel) { return panel->Get(zarn::format::kMaxOsBl); };
  difference.last = {last(a), last(b)};
  auto& levels = difference.levels;
  levels = SurveyLevels({a, b}, {10, 100});
  levels.erase(std::upper_bound(levels.begin(), levels.end(), std::min(last(a), last(b))), levels.end());
  const auto curves_a = SurveyCurves(a, {10, 100}, levels);
  const auto curves_b = SurveyCurves(b, {10, 100}, levels);
  for (size_t i = 0; i < curves_a.size(); ++i) {
    difference.tables.push_back(CompareCurves(curves_a[i], curves_b[i], levels));
  }
  return difference;
}

bool HasGate(const DiffLimits& options) {
  return std::isfinite(options.max_nits) || std::isfinite(options.max_percent);
}

bool Passes(const TableDifference& table, const DiffLimits& options) {
  return !HasGate(options) ||
         (table.nits.largest <= options.max_nits && table.percent.largest <= options.max_percent && table.refused == 0);
}

bool Passes(const Difference& difference, const DiffLimits& options) {
  return std::all_of(difference.tables.begin(), difference.tables.end(),
                     [&](const TableDifference& table) { return Passes(table, options); });
}

void PrintLastLevels(const char* what, const LastLevels& last) {
  if (last.a != last.b) {
    fmt::print("{} end at different levels: A at {}, B at {}; levels {} to {} are not compared\n", what, last.a, last.b,
               std::min(last.a, last.b) + uint64_t{1}, std::max(last.a, last.b));
  }
}

// The columns "largest", "at level" and "rms".
std::string InColumns(const Spread& spread, bool all, int decimals, int width, int rms_width) {
  const auto number = [&](bool there, double value) { return there ? fmt::format("{:.{}f}", value, decimals) : "-"; };
  const bool any = !spread.Empty();
  return fmt::format("{:>{}}{:>10}{:>{}}", number(any, spread.largest), width, any ? fmt::format("{}", spread.at) : "-",
                     number(any && all, spread.Rms()), rms_width);
}

void PrintText(const Difference& difference, const DiffOptions& options) {
  fmt::print("A  {}\nB  {}\n\n", Printable(options.a), Printable(options.b));
  fmt::print("{:<16}{:>12}{:>12}\n", "attribute", "A", "B");
  for (const auto& [name, a, b] : difference.attributes) {
    fmt::print("{:<16}{:>12}{:>12}\n", name, a, b);
  }
  fmt::print("{}\n", difference.attributes.empty() ? "(all alike)\n" : "");
  if (difference.linear) {
    fmt::print("linear table: largest difference {} panel levels, at linearized level {}\n",
               difference.linear->spread.largest, difference.linear->spread.at);
    PrintLastLevels("linear tables", difference.linear->last);
  } else {
    fmt::print("linear table: the device refuses to return one of the two\n");
  }
  const auto& levels = difference.levels;
  const std::string left_out = LeftOut(levels);
  fmt::print("\nclient levels 0 to {}, {} compared\n", levels.back(), levels.size());
  PrintLastLevels("client levels", difference.last);
  fmt::print("{}\n", left_out.empty() ? "" : left_out + "; rms needs every level\n");
  fmt::print("{:<30}{:>13}{:>10}{:>11}{:>11}{:>10}{:>9}{:>9}\n", "measured table", "largest nits", "at level",
             "rms nits", "largest %", "at level", "rms %", "refused");
  for (const TableDifference& table : difference.tables) {
    fmt::print("{:<30}{}{}{:>9}{}\n", table.table, InColumns(table.nits, AreAll(levels), 4, 13, 11),
               InColumns(table.percent, AreAll(levels), 3, 11, 9), table.refused,
               Passes(table, options) ? "" : "  beyond the limit");
  }
}

using Json = nlohmann::ordered_json;

/// \param kind of the levels: "level" or "linearized_level". \param all whether every level was examined.
Json ToJson(const Spread& spread, const char* kind, bool all) {
  if (spread.Empty()) {
    return {};
  }
  return {{"largest", spread.largest}, {"at", {{kind, spread.at}}}, {"rms", all ? Json(spread.Rms()) : Json()}};
}

Json ToJson(const LinearDifference& linear) {
  return {{"difference_panel_levels", ToJson(linear.spread, "linearized_level", true)},
          {"last_linearized_level", {{"a", linear.last.a}, {"b", linear.last.b}}}};
}

Json ToJson(const TableDifference& table, bool all, const DiffLimits& options) {
  Json object = JsonTable(table.hdr, table.coverage);
  object["difference_nits"] = ToJson(table.nits, "level", all);
  object["difference_percent"] = ToJson(table.percent, "level", all);
  object["refused_levels"] = table.refused;
  object["passes"] = Passes(table, options);
  return object;
}

Json ReportOf(const Panel& a, const Panel& b, const Difference& difference, const DiffLimits& options) {
  const auto& levels = difference.levels;
  Json report = JsonReport("diff");
  report["a"] = {{"panel", a.Name()}, {"file", a.File()}, {"last_level", difference.last.a}};
  report["b"] = {{"panel", b.Name()}, {"file", b.File()}, {"last_level", difference.last.b}};
  report["attributes"] = Json::object();
  for (const auto& [name, of_a, of_b] : difference.attributes) {
    report["attributes"][name] = {{"a", of_a}, {"b", of_b}};
  }
  report["linear_table"] = difference.linear ? ToJson(*difference.linear) : Json();
  report["last_level"] = levels.back();
  report["examined_levels"] = levels.size();
  report["limits"] = {{"max_nits", options.max_nits}, {"max_percent", options.max_percent}};  // Infinity becomes null.
  report["passes"] = Passes(difference, options);
  for (const TableDifference& table : difference.tables) {
    report["tables"][JsonKeyOf(table.hdr, table.coverage)] = ToJson(table, AreAll(levels), options);
  }
  return report;
}

void Run(const DiffOptions& options, CapturedLog* log) {
  Panel a(options.a, log);
  Panel b(options.b, log);
  const Difference difference = Compare(&a, &b);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(a, b, difference, options)));
  } else {
    PrintText(difference, options);
  }
  if (!Passes(difference, options)) {
    throw Negative();
  }
}

}  // namespace

nlohmann::ordered_json DiffReportOn(Panel* a, Panel* b, const DiffLimits& limits) {
  return ReportOf(*a, *b, Compare(a, b), limits);
}

void AddDiffCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "diff", "Compare the attributes and tables of two calibrations");
  auto options = std::make_shared<DiffOptions>();
  command.Add("A", &options->a, "Panel's name, or path to its file").Required();
  command.Add("B", &options->b, "The panel to compare with A; differences in per cent are relative to A").Required();
  command.Add("--max-nits", &options->max_nits, "Exit with status 1 if a table differs by more nits")
      .NotNegative()
      .Takes("NITS");
  command
      .Add("--max-percent", &options->max_percent,
           "Exit with status 1 if a table differs by more per cent, at levels where A is not dark")
      .NotNegative()
      .Takes("PERCENT");
  AddFormatOption(command, &options->format);
  command.Footer(
      "Compares the client levels that both have: each up to 65,535, and above that each measured point of both with\n"
      "the levels next to it, which have the largest differences. A level that only one of the two refuses fails\n"
      "every limit.\n"
      "Example: blnits diff samples/backlight_calib_oled_phone.xml revised.xml --max-percent 2");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
