#include <cmath>
#include <regex>

#include "check/rules.h"

namespace blnits {
namespace {

enum class Kind { kLevel, kReal };

// Blanks before a number are passed over by the library, those after it do no harm.
bool IsClean(Kind kind, const std::string& text) {
  constexpr size_t kLongest = 400;  // longer than any double; std::regex does not stand long texts
  static const std::regex level(R"(\s*[+-]?\d+\s*)");
  static const std::regex real(R"(\s*[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?\s*)");
  return text.size() <= kLongest && std::regex_match(text, kind == Kind::kLevel ? level : real);
}

bool IsNegative(const std::string& text) {
  const size_t start = text.find_first_not_of(" \t\r\n\v\f");
  return start != std::string::npos && text[start] == '-' && text.find_first_of("123456789") != std::string::npos;
}

bool IsOutOfRange(const std::string& text) {
  const double number = std::strtod(text.c_str(), nullptr);
  return number < INT32_MIN || number > INT32_MAX;
}

/// \param read what the library reads there; empty when it has not loaded the file.
void CheckNumber(Kind kind, const char* what, const SourceValue& value, const std::string& read, Findings* findings) {
  if (!value.text) {
    return;
  }
  const std::string& text = *value.text;
  const std::string reads = read.empty() ? "" : fmt::format(", the device reads {}", read);
  if (!IsClean(kind, text)) {
    findings->Add("number", value.line,
                  "{} \"{}\" is not a clean number{}; write {} in decimal digits and nothing else", what, Shown(text),
                  reads, kind == Kind::kLevel ? "a whole number" : "a number");
  } else if (kind == Kind::kLevel && IsOutOfRange(text)) {
    findings->Add("number", value.line, "{} {} does not fit into 32 bits{}; levels end at 2147483647", what,
                  Shown(text), reads);
  } else if (kind == Kind::kLevel && IsNegative(text)) {
    findings->Add("negative-level", value.line, "{} {} is negative{}; levels begin at 0", what, Shown(text), reads);
  }
}

/// \param read gives what the library reads at a place of the list.
template <class Read>
void CheckList(Kind kind, const char* what, const std::vector<SourceValue>& values, Read read, Findings* findings) {
  for (size_t i = 0; i < values.size(); ++i) {
    CheckNumber(kind, what, values[i], read(i), findings);
  }
}

void CheckAttribute(Kind kind, const char* name, const CalibrationSource& source, const std::string& read,
                    Findings* findings) {
  const auto attribute = source.Attribute(name);
  if (attribute) {
    CheckNumber(kind, name, *attribute, read, findings);
  }
}

template <class Number>
std::string Text(const Number& number) {
  return fmt::format("{}", number);
}

void CheckLuminanceValues(const MeasuredTable& table, const std::vector<SourceValue>& values,
                          const std::vector<zarn::BlNitsPoint>& points, Findings* findings) {
  bool light = points.empty();
  for (size_t i = 0; i < points.size(); ++i) {
    const double nits = points[i].nits;
    light = light || nits != 0.0;
    if (!std::isfinite(nits) || nits < 0.0) {
      findings->Add("luminance-value", values[i].line,
                    "{}: no panel shows {} nits, and conversions near level {} are garbage; measure the level again",
                    table.name, nits, points[i].bl);
    }
  }
  if (!light) {
    findings->Add("luminance-value", values.front().line,
                  "{}: 0 nits at every level, so that no luminance has a level; measure it again", table.name);
  }
}

}  // namespace

CalibrationSource::Path LevelsOf(const MeasuredTable& table) {
  return {"measurement_data", table.group, table.element, "bl_value"};
}

CalibrationSource::Path LuminancesOf(const MeasuredTable& table) {
  return {"measurement_data", table.group, table.element, "nits_value"};
}

void CheckNumbers(const CalibrationSource& source, Panel* panel, Findings* findings) {
  const bool loaded = panel != nullptr;
  const auto range = loaded ? panel->Get<zarn::BLRange>(zarn::kBLRange) : zarn::BLRange();
  const auto read = [&](auto number) { return loaded ? Text(number) : ""; };
  CheckAttribute(Kind::kReal, "gamma", source, loaded ? Text(panel->Get<zarn::BLGamma>(zarn::kBLGamma).gamma) : "",
                 findings);
  CheckAttribute(Kind::kReal, "pcc_thresh", source,
                 loaded ? Text(panel->Get<zarn::BLPccThresh>(zarn::kBLPccThresh).pcc_thresh) : "", findings);
  CheckAttribute(Kind::kLevel, "minimum_bl", source, read(range.minimum_bl), findings);
  CheckAttribute(Kind::kLevel, "max_bl", source, read(range.max_bl), findings);
  CheckAttribute(Kind::kLevel, "max_os_bl", source, read(range.max_os_bl), findings);
  const auto pairs = loaded ? panel->SparseLinearTable().entries : decltype(zarn::BLLinearTable::entries)();
  CheckList(
      Kind::kLevel, "linearized level", source.Values({"linearized_bl"}),
      [&](size_t i) { return loaded ? Text(pairs[i].first) : ""; }, findings);
  CheckList(
      Kind::kLevel, "panel level", source.Values({"panel_bl"}),
      [&](size_t i) { return loaded ? Text(pairs[i].second) : ""; }, findings);
  for (const MeasuredTable& table : kMeasuredTables) {
    const auto points = loaded ? PointsOf(panel, table) : std::vector<zarn::BlNitsPoint>();
    const auto nits_values = source.Values(LuminancesOf(table));
    CheckList(
        Kind::kLevel, "level", source.Values(LevelsOf(table)),
        [&](size_t i) { return loaded ? Text(points[i].bl) : ""; }, findings);
    CheckList(
        Kind::kReal, "luminance", nits_values, [&](size_t i) { return loaded ? Text(points[i].nits) : ""; }, findings);
    CheckLuminanceValues(table, nits_values, points, findings);
  }
}

void CheckAttributes(const CalibrationSource& source, Panel* panel, Findings* findings) {
  const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
  const double gamma = panel->Get<zarn::BLGamma>(zarn::kBLGamma).gamma;
  const double thresh = panel->Get<zarn::BLPccThresh>(zarn::kBLPccThresh).pcc_thresh;
  const auto line = [&](const char* name) {
    const auto attribute = source.Attribute(name);
    return attribute ? attribute->line : source.LineOf({});
  };
  if (!(gamma >= 1.0 && gamma <= 4.0)) {
    findings->Add("gamma", line("gamma"), "gamma is {}, panels have about 2.2; the device serves it as it stands",
                  gamma);
  }
  if (!source.Attribute("pcc_thresh")) {
    findings->Add("pcc-thresh-absent", line("pcc_thresh"), "without pcc_thresh the device takes {}", thresh);
  } else if (!(thresh > 0.0 && thresh <= 1.0)) {
    findings->Add("pcc-thresh", line("pcc_thresh"),
                  "pcc_thresh is {}, but it is a factor above 0 and at most 1; the device serves it as it stands",
                  thresh);
  }
  if (range.max_os_bl == 0) {
    findings->Add("max-os-bl", line("max_os_bl"),
                  "max_os_bl is {}: the device refuses every level but 0; write the highest level that clients use",
                  source.Attribute("max_os_bl") ? "0" : "absent and therefore 0");
  } else if (range.max_os_bl > range.max_bl) {
    findings->Add(
        "max-os-bl-range", line("max_os_bl"),
        "max_os_bl is {}, above max_bl {}: clients have more levels than the panel; swap them, or correct one",
        range.max_os_bl, range.max_bl);
  }
  if (range.minimum_bl >= range.max_bl) {
    findings->Add(
        "minimum-bl", line("minimum_bl"),
        "minimum_bl is {}, not below max_bl {}: clients that use it have no level left; swap them, or correct "
        "one",
        range.minimum_bl, range.max_bl);
  }
}

}  // namespace blnits
