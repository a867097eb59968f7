#include "client.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

template <class List, class Select>
std::string ValueList(const char* name, const List& list, Select select) {
  std::ostringstream text;
  text.precision(17);
  text << "<" << name << ">";
  for (const auto& row : list) {
    text << "<value>" << select(row) << "</value>";
  }
  text << "</" << name << ">\n";
  return text.str();
}

template <class List>
std::string TwoLists(const char* first, const char* second, const List& list) {
  return ValueList(first, list, [](const auto& row) { return row.first; }) +
         ValueList(second, list, [](const auto& row) { return row.second; });
}

std::string Group(const std::string& name, const Points& points_100, const Points& points_10) {
  return "<" + name + ">\n<nits_100>\n" + TwoLists("bl_value", "nits_value", points_100) + "</nits_100>\n<nits_10>\n" +
         TwoLists("bl_value", "nits_value", points_10) + "</nits_10>\n</" + name + ">\n";
}

}  // namespace

Calibration::Calibration(uint32_t max_bl, uint32_t max_os_bl)
    : attributes(R"(gamma="2.2" minimum_bl="1" max_bl=")" + std::to_string(max_bl) + R"(" max_os_bl=")" +
                 std::to_string(max_os_bl) + R"(" pcc_thresh="0.5")") {}

std::string Calibration::Text() const {
  return "<Calib_Data " + attributes + ">\n" + TwoLists("linearized_bl", "panel_bl", linear) + "<measurement_data>\n" +
         Group("standard", standard_100, standard_10) + Group("hbm", hbm_100, hbm_10) +
         "</measurement_data>\n</Calib_Data>\n";
}

TemporaryFolder::TemporaryFolder() : before_(std::filesystem::current_path()) {
  std::string pattern = std::filesystem::temp_directory_path() / "blnits.XXXXXX";
  path_ = mkdtemp(pattern.data());
  std::filesystem::current_path(path_);
}

TemporaryFolder::~TemporaryFolder() {
  std::filesystem::current_path(before_);
  std::filesystem::remove_all(path_);
}

void WriteFile(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

std::string FileName(const std::string& panel) { return "backlight_calib_" + panel + ".xml"; }

std::string NewPanelName() {
  static std::atomic<int> count{0};
  return "panel" + std::to_string(++count);
}

std::string NewPanel(const std::string& text) {
  std::string panel = NewPanelName();
  WriteFile(FileName(panel), text);
  return panel;
}

std::shared_ptr<zarn::BackLightNitsIntf> EngineOf(const std::string& panel) {
  return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf(panel);
}

std::shared_ptr<zarn::BackLightNitsIntf> NewEngine(const Calibration& calibration) {
  auto engine = EngineOf(NewPanel(calibration.Text()));
  EXPECT_EQ(engine->Init(), 0);
  return engine;
}
