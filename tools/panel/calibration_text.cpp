#include "panel/calibration_text.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

#include "calibration_format.h"
#include "named_tables.h"
#include "support/comment.h"

namespace blnits {
namespace {

namespace format = zarn::format;

template <class Row, class Number>
std::string List(const char* name, const std::vector<Row>& rows, Number Row::*number, const std::string& indent) {
  constexpr size_t kValuesInLine = 5;
  std::string text = indent + "<" + name + ">";
  for (size_t i = 0; i < rows.size(); ++i) {
    text += (i % kValuesInLine == 0 ? "\n  " + indent : " ") + fmt::format("<value>{}</value>", rows[i].*number);
  }
  return text + "\n" + indent + "</" + name + ">\n";
}

std::string Table(const MeasuredTable& table, const std::vector<zarn::BlNitsPoint>& points) {
  return fmt::format("      <{0}>\n{1}{2}      </{0}>\n", table.element,
                     List(format::kPoints.first, points, &zarn::BlNitsPoint::bl, "        "),
                     List(format::kPoints.second, points, &zarn::BlNitsPoint::nits, "        "));
}

std::string Group(const char* group, const CalibrationContents& contents) {
  std::string text = fmt::format("    <{}>\n", group);
  for (const MeasuredTable* const table : TablesAsRead()) {
    if (std::string_view(table->group) == group) {
      text += Table(*table, contents.tables.at(table->param));
    }
  }
  return text + fmt::format("    </{}>\n", group);
}

template <class Number>
std::string Attribute(const char* name, Number number) {
  return fmt::format(R"( {}="{}")", name, number);
}

}  // namespace

std::string CalibrationTextOf(const std::vector<std::string>& comment, const CalibrationContents& contents) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!--\n";
  for (const std::string& line : comment) {
    text += "  " + InXmlComment(line) + "\n";
  }
  text += std::string("-->\n<") + format::kRoot + Attribute(format::kGamma.name, contents.gamma) +
          Attribute(format::kMinimumBl.name, contents.range.minimum_bl) +
          Attribute(format::kMaxBl.name, contents.range.max_bl) +
          Attribute(format::kMaxOsBl.name, contents.range.max_os_bl) +
          (contents.pcc_thresh ? Attribute(format::kPccThresh.name, *contents.pcc_thresh) : "") + ">\n";
  using Pair = std::pair<uint32_t, uint32_t>;
  text += List(format::kLinearTable.first, contents.linear, &Pair::first, "  ");
  text += List(format::kLinearTable.second, contents.linear, &Pair::second, "  ");
  text += fmt::format("  <{}>\n", format::kMeasurements);
  for (const char* const group : {format::kStandard, format::kHighBrightness}) {
    text += Group(group, contents);
  }
  return text + fmt::format("  </{}>\n</{}>\n", format::kMeasurements, format::kRoot);
}

}  // namespace blnits
