#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backlight_nits_client.h"
#include "calibration.h"
#include "holding.h"

namespace bench {

constexpr uint32_t kMaxBl = 4095;
constexpr uint32_t kCoverages[] = {10, 55, 100};

/// What a client may ask, at random; the same in every run.
struct Request {
  uint32_t percentage;  ///< One of kCoverages.
  uint32_t bl;          ///< From the first measured level to the last.
  double nits;          ///< What both curves reach.
};

/// A panel as they are: OLED-like curves with as many measured points as is said, from level 1 to max_os_bl.
Calibration RealisticCalibration(uint32_t points, uint32_t max_os_bl);

/// A panel of its own, with its engine, in the working folder.
class Panel {
 public:
  Panel(uint32_t points, uint32_t last_level);

  /// Hands the LUTs in, and switches dimming on.
  void Dim();
  void SetLuts() { Checked(client.SetDimmingLuts(dimming_lut, attenuation)); }

  /// The next request, over and over.
  const Request& Next() { return requests_[next_++ % requests_.size()]; }

  Calibration calibration;
  uint32_t max_os_bl;
  std::string file;
  std::vector<uint32_t> dimming_lut;
  std::vector<double> attenuation;
  zarn::client::Panel client;
  zarn::BackLightNitsIntf* engine;  ///< The client's; for calls whose records are used again.

  /// Ends the process where a call failed: nothing is measured then.
  static void Check(int ret) {
    if (ret != 0) {
      Fail(ret);
    }
  }

  /// The value of a result, likewise.
  template <class T>
  static T Checked(zarn::client::Result<T> result) {
    Check(result ? 0 : result.error().code);
    if constexpr (!std::is_void_v<T>) {
      return *std::move(result);
    }
  }

 private:
  [[noreturn]] static void Fail(int ret);
  zarn::client::Panel OpenClient();

  std::vector<Request> requests_;
  size_t next_ = 0;
};

}  // namespace bench
