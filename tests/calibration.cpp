#include "calibration.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "calibration_format.h"

namespace format = zarn::format;

namespace {

std::string Text(uint32_t number) { return std::to_string(number); }
std::string Text(double number) { return Shortest(number); }

template <class List>
std::string TwoLists(const format::Lists& names, const List& list) {
  std::array<std::ostringstream, 2> text;
  text[0] << "<" << names.first << ">";
  text[1] << "<" << names.second << ">";
  for (const auto& row : list) {
    text[0] << "<value>" << Text(row.first) << "</value>";
    text[1] << "<value>" << Text(row.second) << "</value>";
  }
  return text[0].str() + "</" + names.first + ">\n" + text[1].str() + "</" + names.second + ">\n";
}

std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">\n" + content + "</" + name + ">\n";
}

std::string Table(const format::MeasuredTable& table, const Points& points) {
  return Element(table.element, TwoLists(format::kPoints, points));
}

}  // namespace

std::string Shortest(double number) {
  char text[40];
  for (int digits = 15; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, number);
    if (std::strtod(text, nullptr) == number) {
      break;
    }
  }
  return text;
}

std::string Repeated(const std::string& text, size_t count) {
  std::string all;
  for (size_t i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

std::string FileName(const std::string& panel) { return format::kFilePrefix + panel + format::kFileSuffix; }

Calibration::Calibration(uint32_t max_bl, uint32_t max_os_bl)
    : attributes("gamma='2.2' minimum_bl='1' max_bl='" + std::to_string(max_bl) + "' max_os_bl='" +
                 std::to_string(max_os_bl) + "' pcc_thresh='0.5'") {}

std::string Calibration::Text() const {
  const std::string root = format::kRoot;
  return "<" + root + " " + attributes + ">\n" + TwoLists(format::kLinearTable, linear) +
         Element(format::kMeasurements, Element(format::kStandard, Table(format::kStandard100, standard_100) +
                                                                       Table(format::kStandard10, standard_10)) +
                                            Element(format::kHighBrightness,
                                                    Table(format::kHdr100, hbm_100) + Table(format::kHdr10, hbm_10))) +
         "</" + root + ">\n";
}
