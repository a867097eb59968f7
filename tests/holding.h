#pragma once

#include "generic_payload.h"

/// A payload with one record in it.
template <class Record>
struct Holding {
  Holding() { payload.CreatePayload(record); }
  explicit Holding(const Record& source) : Holding() { *record = source; }
  Record* operator->() { return record; }

  zarn::GenericPayload payload;
  Record* record = nullptr;
};
