#pragma once

#include "backlight_nits_client.h"

/// A payload with one record in it.
template <class Record>
using Holding = zarn::client::Holding<Record>;
