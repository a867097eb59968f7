#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "backlight_nits_factory_intf.h"

/// A payload with one record in it.
template <class Record>
struct Holding {
  Holding() { payload.CreatePayload(record); }
  Record* operator->() { return record; }

  zarn::GenericPayload payload;
  Record* record = nullptr;
};

/// The members of a payload, to reach states that its functions do not allow.
struct PayloadLayout {
  uint32_t type_size;
  void* data;
  uint32_t count;
  alignas(std::function<void()>) char release[sizeof(std::function<void()>)];
  bool copied;
};

template <class Value>
void Poke(zarn::GenericPayload* payload, size_t offset, Value value) {
  std::memcpy(reinterpret_cast<char*>(payload) + offset, &value, sizeof value);
}

using Points = std::vector<std::pair<uint32_t, double>>;

/// A calibration file in the making. The client range reaches beyond the measured points, which begin above 0.
struct Calibration {
  Calibration() = default;
  Calibration(uint32_t max_bl, uint32_t max_os_bl);

  std::string attributes = R"(gamma="2.2" minimum_bl="1" max_bl="1023" max_os_bl="400" pcc_thresh="0.5")";
  std::vector<std::pair<uint32_t, uint32_t>> linear = {{0, 0}, {1023, 1000}};
  Points standard_100 = {{100, 200.0}, {200, 600.0}};
  Points standard_10 = {{100, 50.0}, {200, 150.0}};
  Points hbm_100 = {{100, 210.0}, {200, 610.0}};
  Points hbm_10 = {{100, 60.0}, {200, 160.0}};

  std::string Text() const;
};

/// An empty working folder for as long as it lives.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::string& Path() const { return path_; }

 private:
  std::string before_;
  std::string path_;
};

void WriteFile(const std::string& path, const std::string& text);

/// The name of a calibration file without its folder.
std::string FileName(const std::string& panel);

/// A panel name that this process has not used: engines live as long as the process.
std::string NewPanelName();

/// Writes `text` as the calibration file of a new panel into the working folder. Returns the panel's name.
std::string NewPanel(const std::string& text);

std::shared_ptr<zarn::BackLightNitsIntf> EngineOf(const std::string& panel);

/// An operation with `in` copied into a payload of its own. The output record is `*out`'s.
template <class In>
int Process(zarn::BackLightNitsIntf& engine, zarn::BLNitOps op, const In& in, Holding<zarn::BlNitsValue>* out) {
  zarn::GenericPayload payload;
  payload.CopyPayload(in);
  return engine.ProcessOps(op, payload, &out->payload);
}

inline zarn::BlBackLight Level(uint32_t bl, uint32_t percentage, bool hdr = false) {
  return {sizeof(zarn::BlBackLight), percentage, bl, hdr};
}

inline zarn::BlNitsValue Nits(double nits, uint32_t percentage, bool hdr = false) {
  return {sizeof(zarn::BlNitsValue), percentage, 0, nits, hdr};
}

/// The engine of a new panel, initialised.
std::shared_ptr<zarn::BackLightNitsIntf> NewEngine(const Calibration& calibration);
