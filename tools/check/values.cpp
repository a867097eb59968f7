#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "check/rules.h"

namespace blnits {
namespace {

namespace format = zarn::format;

enum class Kind { kLevel, kReal };

enum class Form {
  kClean,
  kNegative,  ///< A level below 0.
  kTooLarge,  ///< A level that does not fit into 32 bits.
  kNotClean,  ///< A number with other text around it.
  kNoNumber,
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

const char* SkipDigits(const char* at) {
  while (IsDigit(*at)) {
    ++at;
  }
  return at;
}

// The white space of isspace in the C locale.
const char* SkipBlanks(const char* at) {
  while (*at == ' ' || (*at >= '\t' && *at <= '\r')) {
    ++at;
  }
  return at;
}

const char* SkipSign(const char* at) { return *at == '+' || *at == '-' ? at + 1 : at; }

/// The end of the decimal number at `at`; `at` itself if there is none.
const char* SkipReal(const char* at) {
  const char* const start = SkipSign(at);
  const char* end = SkipDigits(start);
  auto digits = end - start;
  if (*end == '.') {
    const char* const fraction = end + 1;
    end = SkipDigits(fraction);
    digits += end - fraction;
  }
  if (digits == 0) {
    return at;
  }
  if (*end == 'e' || *end == 'E') {
    const char* const exponent = SkipSign(end + 1);
    end = IsDigit(*exponent) ? SkipDigits(exponent) : end;
  }
  return end;
}

bool IsAtEnd(const char* at) { return *SkipBlanks(at) == '\0'; }

// The library skips white space before a number and ignores it after the number.
Form FormOfReal(const char* text) {
  const char* const start = SkipBlanks(text);
  const char* const end = SkipReal(start);
  if (end != start && IsAtEnd(end)) {
    return Form::kClean;
  }
  char* stop = nullptr;
  std::strtod(text, &stop);
  return stop == text ? Form::kNoNumber : Form::kNotClean;
}

Form FormOfLevel(const char* text) {
  const char* const start = SkipBlanks(text);
  const char* const digits = SkipSign(start);
  const char* const end = SkipDigits(digits);
  if (end == digits) {
    return SkipReal(start) == start ? Form::kNoNumber : Form::kNotClean;
  }
  if (!IsAtEnd(end)) {
    return Form::kNotClean;
  }
  const double number = end - digits > 9 || *start == '-' ? std::strtod(start, nullptr) : 0.0;
  return number < INT32_MIN || number > INT32_MAX ? Form::kTooLarge : number < 0.0 ? Form::kNegative : Form::kClean;
}

/// What is wrong with the form of a number.
struct Fault {
  RuleId rule;
  std::string text;
};

/// \param what names the number. \param reads the number that the library reads; empty if it has not loaded the file.
Fault TellForm(Form form, Kind kind, const char* what, const char* text, const std::string& reads) {
  const std::string read = reads.empty() ? "" : fmt::format(": the device reads {}", reads);
  switch (form) {
    case Form::kNoNumber:
      return {RuleId::kNoNumber, fmt::format("{} \"{}\" is not a number{}; write a number", what, Shown(text), read)};
    case Form::kTooLarge:
      return {RuleId::kNumber, fmt::format("{} {} is too large{}; levels end at 2147483647", what, Shown(text), read)};
    case Form::kNegative:
      return {RuleId::kNegativeLevel, fmt::format("{} {} is negative{}; levels begin at 0", what, Shown(text), read)};
    default:
      return {RuleId::kNumber, fmt::format("{} \"{}\" is not a plain {}{}; write digits{} and nothing else", what,
                                           Shown(text), kind == Kind::kLevel ? "whole number" : "number", read,
                                           kind == Kind::kLevel ? "" : ", with a point for the fraction,")};
  }
}

Form FormOf(Kind kind, const char* text) { return kind == Kind::kLevel ? FormOfLevel(text) : FormOfReal(text); }

/// Calls `tell` with the index and the fault of each malformed value.
/// \param read returns the number that the library reads at an index of the list, as text.
template <class Read, class Tell>
void ForEachFault(Kind kind, const char* what, const std::vector<SourceValue>& values, Read read, Tell tell) {
  for (size_t i = 0; i < values.size(); ++i) {
    const Form form = values[i].text != nullptr ? FormOf(kind, values[i].text) : Form::kClean;
    if (form != Form::kClean) {
      tell(i, TellForm(form, kind, what, values[i].text, read(i)));
    }
  }
}

template <class Number>
std::string Text(const Number& number) {
  return fmt::format("{}", number);
}

template <class Record, class Number>
constexpr Kind KindOf(const format::Attribute<Record, Number>& attribute) {
  return attribute.kIsReal ? Kind::kReal : Kind::kLevel;
}

template <class Record, class Number>
void CheckAttributeForm(const format::Attribute<Record, Number>& attribute, const Subject& subject,
                        Findings* findings) {
  const auto value = subject.source.Attribute(attribute.name);
  if (value) {
    ForEachFault(
        KindOf(attribute), attribute.name, {*value},
        [&](size_t) { return subject.panel != nullptr ? Text(subject.panel->Get(attribute)) : ""; },
        [&](size_t, const Fault& fault) { findings->Add(fault.rule, value->line, "{}", fault.text); });
  }
}

// Reports real numbers before levels.
void CheckAttributeForms(const Subject& subject, Findings* findings) {
  for (const bool real : {true, false}) {
    format::ForEachAttribute([&](const auto& attribute) {
      if (attribute.kIsReal == real) {
        CheckAttributeForm(attribute, subject, findings);
      }
    });
  }
}

/// How many levels are fractions, and how many of them the library reads as 0. `levels` is 0 if they are no fractions.
struct Fractions {
  size_t levels = 0;
  size_t zeros = 0;
};

Fractions FractionsIn(const std::vector<SourceValue>& levels) {
  Fractions found;
  bool any = false;
  for (const SourceValue& level : levels) {
    if (level.text == nullptr || FormOfReal(level.text) != Form::kClean) {
      return {};
    }
    const double number = std::strtod(level.text, nullptr);
    if (!(number >= 0.0 && number <= 1.0)) {
      return {};
    }
    any = any || (number > 0.0 && number < 1.0);
    ++found.levels;
    found.zeros += number < 1.0 ? 1 : 0;
  }
  return any ? found : Fractions();
}

/// \param factor_name the attribute by which to multiply the levels. \param factor its value.
std::string TellFractions(const Fractions& fractions, const char* factor_name, uint32_t factor) {
  return fmt::format(
      "the {} levels are fractions from 0 to 1: the device reads only the whole part, which is 0 for {} of them; "
      "multiply each by {} "
      "and round it",
      fractions.levels, fractions.zeros,
      factor > 1 ? fmt::format("{} ({})", factor, factor_name) : fmt::format("the {} that the panel has", factor_name));
}

void CheckLinearForms(Subject* subject, Findings* findings) {
  const auto check = [&](const char* list, const char* what, const std::vector<SourceValue>& values,
                         uint32_t std::pair<uint32_t, uint32_t>::*level) {
    const Fractions fractions = FractionsIn(values);
    if (fractions.levels > 0) {
      subject->linear_has_fractions = true;
      findings->Add(RuleId::kFractions, values.front().line, "{}: {}; the linear table is not checked further", list,
                    TellFractions(fractions, format::kMaxBl.name, subject->range.max_bl));
      return;
    }
    ForEachFault(
        Kind::kLevel, what, values,
        [&](size_t i) { return subject->panel != nullptr ? Text(subject->pairs[i].*level) : ""; },
        [&](size_t i, const Fault& fault) { findings->Add(fault.rule, values[i].line, "{}", fault.text); });
  };
  check(format::kLinearTable.first, "linearized level", subject->linear_levels, &std::pair<uint32_t, uint32_t>::first);
  check(format::kLinearTable.second, "panel level", subject->panel_levels, &std::pair<uint32_t, uint32_t>::second);
}

void CheckLevelForms(const Subject& subject, TableInFile* table, Findings* findings) {
  const Fractions fractions = FractionsIn(table->levels);
  if (fractions.levels > 0) {
    table->has_fractions = true;
    findings->AddIn(RuleId::kFractions, {table->table->name, 0, 0, table->levels.front().line},
                    "{}; this table is not checked further",
                    TellFractions(fractions, format::kMaxOsBl.name, subject.range.max_os_bl));
    return;
  }
  ForEachFault(
      Kind::kLevel, "level", table->levels,
      [&](size_t i) { return table->points.empty() ? "" : Text(table->points[i].bl); },
      [&](size_t i, const Fault& fault) {
        findings->AddIn(fault.rule, {table->table->name, static_cast<uint32_t>(i), 0, table->levels[i].line}, "{}",
                        fault.text);
      });
}

void CheckLuminanceForms(const TableInFile& table, Findings* findings) {
  ForEachFault(
      Kind::kReal, "luminance", table.luminances,
      [&](size_t i) { return table.points.empty() ? "" : Text(table.points[i].nits); },
      [&](size_t i, const Fault& fault) {
        findings->AddIn(fault.rule, {table.table->name, static_cast<uint32_t>(i), 1, table.luminances[i].line}, "{}",
                        fault.text);
      });
}

// Reports all points that are too bright as one finding: they have one cause, a wrong unit.
void CheckBrightness(const TableInFile& table, Findings* findings) {
  size_t count = 0;
  size_t brightest = 0;
  for (size_t i = 0; i < table.points.size(); ++i) {
    const double nits = table.points[i].nits;
    if (IsTooBright(nits)) {
      brightest = count == 0 || nits > table.points[brightest].nits ? i : brightest;
      ++count;
    }
  }
  if (count > 0) {
    const auto& [level, nits] = table.points[brightest];
    findings->AddIn(RuleId::kTooBright, {table.table->name, level, level, table.luminances[brightest].line},
                    "{} nits at level {}{}: no panel is so bright, and the device returns it unchanged; give "
                    "luminances in nits (candela per square metre)",
                    nits, level, count > 1 ? fmt::format(", and {} more above {} nits", count - 1, kTooBright) : "");
  }
}

void CheckLuminanceValues(const TableInFile& table, Findings* findings) {
  bool light = table.points.empty();
  for (size_t i = 0; i < table.points.size(); ++i) {
    const auto& [level, nits] = table.points[i];
    light = light || nits != 0.0;
    if (!std::isfinite(nits) || nits < 0.0) {
      findings->AddIn(RuleId::kLuminanceValue, {table.table->name, level, level, table.luminances[i].line},
                      "no panel shows {} nits, and the device returns garbage for levels around {}; measure the level "
                      "again",
                      nits, level);
    }
  }
  if (!light) {
    findings->AddIn(RuleId::kLuminanceValue, {table.table->name, 0, UINT32_MAX, table.luminances.front().line},
                    "0 nits at every level: the device refuses to find a level for any luminance; measure the table "
                    "again");
  }
}

}  // namespace

void CheckNumbers(Subject* subject, Findings* findings) {
  CheckAttributeForms(*subject, findings);
  CheckLinearForms(subject, findings);
  for (TableInFile& table : subject->tables) {
    CheckLevelForms(*subject, &table, findings);
    CheckLuminanceForms(table, findings);
    if (!table.has_fractions) {
      CheckLuminanceValues(table, findings);
      CheckBrightness(table, findings);
    }
  }
}

void CheckAttributes(const Subject& subject, Findings* findings) {
  const zarn::BLRange& range = subject.range;
  const double gamma = subject.panel->Get(format::kGamma);
  const double thresh = subject.panel->Get(format::kPccThresh);
  const auto line = [&](const auto& attribute) { return subject.source.LineOfAttribute(attribute.name); };
  // The rule no-number already reports text without a number.
  const auto is_text = [&](const auto& attribute) {
    const auto value = subject.source.Attribute(attribute.name);
    return value && FormOf(KindOf(attribute), value->text) == Form::kNoNumber;
  };
  if (!(gamma >= 1.0 && gamma <= 4.0) && !is_text(format::kGamma)) {
    findings->Add(RuleId::kGamma, line(format::kGamma),
                  "gamma is {}, and the device returns it unchanged; panels have about 2.2; correct it", gamma);
  }
  if (!subject.source.Attribute(format::kPccThresh.name)) {
    findings->Add(RuleId::kPccThreshAbsent, line(format::kPccThresh),
                  "pcc_thresh is absent, and the device uses {}; add it if the panel needs another value", thresh);
  } else if (!(thresh > 0.0 && thresh <= 1.0) && !is_text(format::kPccThresh)) {
    findings->Add(RuleId::kPccThresh, line(format::kPccThresh),
                  "pcc_thresh is {}, and the device returns it unchanged; write a factor above 0 and at most 1",
                  thresh);
  }
  if (is_text(format::kMaxOsBl) || is_text(format::kMaxBl) || is_text(format::kMinimumBl)) {
    return;
  }
  if (range.max_os_bl == 0) {
    findings->Add(RuleId::kMaxOsBl, line(format::kMaxOsBl),
                  "max_os_bl is {}: the device refuses every level except 0; write the highest level that clients use",
                  subject.source.Attribute(format::kMaxOsBl.name) ? "0" : "absent and therefore 0");
  } else if (range.max_os_bl > range.max_bl) {
    findings->Add(
        RuleId::kMaxOsBlRange, line(format::kMaxOsBl),
        "max_os_bl is {}, above max_bl {}: clients have more levels than the panel; swap them, or correct one",
        range.max_os_bl, range.max_bl);
  }
  if (range.minimum_bl >= range.max_bl) {
    findings->Add(
        RuleId::kMinimumBl, line(format::kMinimumBl),
        "minimum_bl is {}, but max_bl is {}: clients that keep to both have no range of levels; swap them, or "
        "correct one",
        range.minimum_bl, range.max_bl);
  }
}

}  // namespace blnits
