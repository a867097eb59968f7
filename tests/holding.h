#pragma once

#include "backlight_nits_client.h"

/// A payload with one record.
template <class Record>
using Holding = zarn::client::Holding<Record>;
