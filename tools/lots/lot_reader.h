#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "lots/unit.h"
#include "lots/unit_files.h"
#include "support/captured_log.h"

namespace blnits {

/// The shape that most of the first 100 files have, by the bytes of their paths: one odd unit must not reject the others.
/// \param levels as in ShapeOf(). \throws Failure if there is no file, or if none of them can be used.
LotShape CommonShape(const UnitFiles& files, const std::vector<uint32_t>& levels, CapturedLog* log);

/// Reads the units of a lot on all processors. Calls the functions from the caller's thread, one at a time, in the order
/// of the files.
/// \param counted gets each unit that fits the shape. \param rejected gets the other files, with the reason.
/// \throws what the functions throw, and std::bad_alloc.
void ReadUnits(UnitFiles* files, const LotShape& shape, CapturedLog* log,
               const std::function<void(const Unit& unit)>& counted,
               const std::function<void(const std::string& file, const std::string& reason)>& rejected);

}  // namespace blnits
