#include "calibration.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

std::string Text(uint32_t number) { return std::to_string(number); }
std::string Text(double number) { return Shortest(number); }

template <class List>
std::string TwoLists(const char* first, const char* second, const List& list) {
  std::array<std::ostringstream, 2> text;
  text[0] << "<" << first << ">";
  text[1] << "<" << second << ">";
  for (const auto& row : list) {
    text[0] << "<value>" << Text(row.first) << "</value>";
    text[1] << "<value>" << Text(row.second) << "</value>";
  }
  return text[0].str() + "</" + first + ">\n" + text[1].str() + "</" + second + ">\n";
}

std::string Group(const std::string& name, const Points& points_100, const Points& points_10) {
  return "<" + name + ">\n<nits_100>\n" + TwoLists("bl_value", "nits_value", points_100) + "</nits_100>\n<nits_10>\n" +
         TwoLists("bl_value", "nits_value", points_10) + "</nits_10>\n</" + name + ">\n";
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

std::string FileName(const std::string& panel) { return "backlight_calib_" + panel + ".xml"; }

Calibration::Calibration(uint32_t max_bl, uint32_t max_os_bl)
    : attributes("gamma='2.2' minimum_bl='1' max_bl='" + std::to_string(max_bl) + "' max_os_bl='" +
                 std::to_string(max_os_bl) + "' pcc_thresh='0.5'") {}

std::string Calibration::Text() const {
  return "<Calib_Data " + attributes + ">\n" + TwoLists("linearized_bl", "panel_bl", linear) + "<measurement_data>\n" +
         Group("standard", standard_100, standard_10) + Group("hbm", hbm_100, hbm_10) +
         "</measurement_data>\n</Calib_Data>\n";
}
