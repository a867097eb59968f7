#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The name of a calibration file without its folder.
std::string FileName(const std::string& panel);

/// The shortest text that reads back as the same number.
std::string Shortest(double number);

/// `text`, `count` times.
std::string Repeated(const std::string& text, size_t count);

using Points = std::vector<std::pair<uint32_t, double>>;
using Levels = std::vector<std::pair<uint32_t, uint32_t>>;

/// Builds the text of a calibration file. By default, the client levels exceed the measured points, which begin above
/// 0.
struct Calibration {
  Calibration() = default;
  Calibration(uint32_t max_bl, uint32_t max_os_bl);
  std::string Text() const;

  std::string attributes = R"(gamma="2.2" minimum_bl="1" max_bl="1023" max_os_bl="400" pcc_thresh="0.5")";
  Levels linear = {{0, 0}, {1023, 1000}};
  Points standard_100 = {{100, 200.0}, {200, 600.0}};
  Points standard_10 = {{100, 50.0}, {200, 150.0}};
  Points hbm_100 = {{100, 210.0}, {200, 610.0}};
  Points hbm_10 = {{100, 60.0}, {200, 160.0}};
};
