#pragma once

// Reads a client's records, for the engine's handlers. Each refusal is logged in the name of `function`.

#include <cstdint>
#include <cstring>

#include "generic_payload.h"
#include "log.h"

namespace zarn {

/// The record of a payload that must hold exactly one `T`; null if it holds anything else.
template <class T>
T* TakeOne(const GenericPayload& payload, const char* function) {
  T* record = nullptr;
  uint32_t count = 0;
  if (payload.GetPayload(record, count) != 0 || count != 1) {
    Log().Error("BackLightNitsImp::%s: get payload failed", function);
    return nullptr;
  }
  return record;
}

/// A client's flag. Every byte but 0 is true: a client that is built separately may write any byte.
inline bool ReadFlag(const bool& flag) {
  unsigned char byte = 0;
  std::memcpy(&byte, &flag, sizeof byte);
  return byte != 0;
}

/// Whether `percentage` is a screen coverage: 1 to 100.
inline bool CheckPercentage(uint32_t percentage, const char* function) {
  const bool valid = percentage >= 1 && percentage <= 100;
  if (!valid) {
    Log().Error("BackLightNitsImp::%s: invalid screen percentage %d", function, percentage);
  }
  return valid;
}

}  // namespace zarn
