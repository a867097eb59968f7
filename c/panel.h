#pragma once

#include <string>
#include <utility>

#include "backlight_nits.h"
#include "backlight_nits_imp.h"
#include "log.h"

struct bln_panel {
  bln_panel(std::string path, const blnits::LogTarget& target);

  const std::string file;
  const blnits::LogTarget log;
  // It has a lock of its own, and conversions do not change its state.
  mutable zarn::BackLightNitsImp engine;
};

namespace blnits {

/// A record of the panel's engine; a default one if the engine refuses, which it does for the linear table alone.
/// \throws std::bad_alloc.
template <class Record>
Record Read(const bln_panel* panel, zarn::BLNitsParams param) {
  zarn::GenericPayload payload;
  Record* record = nullptr;
  payload.CreatePayload(record);
  const Logging logging(panel->log);
  panel->engine.GetParameter(param, &payload);
  return std::move(*record);
}

/// Converts `count` levels. \return as bln_panel_nits_array. \throws std::bad_alloc.
bln_status ConvertToNits(const bln_panel* panel, const uint32_t* levels, size_t count, uint32_t coverage, bln_mode mode,
                         double* nits, size_t* refused);

}  // namespace blnits
