#pragma once

#include <functional>
#include <string>

#include "lots/unit.h"
#include "lots/unit_files.h"
#include "support/captured_log.h"

namespace blnits {

/// Reads the units of a lot on all processors. Calls the functions from the caller's thread, one at a time, in the order
/// of the files.
/// \param counted gets each unit that fits the shape. \param rejected gets the other files, with the reason.
/// \throws what the functions throw, and std::bad_alloc.
void ReadUnits(UnitFiles* files, const LotShape& shape, CapturedLog* log,
               const std::function<void(const Unit& unit)>& counted,
               const std::function<void(const std::string& file, const std::string& reason)>& rejected);

}  // namespace blnits
