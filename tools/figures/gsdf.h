#pragma once

#include <optional>

namespace blnits {

/// The grayscale standard display function (DICOM PS3.14): luminances that differ by one just-noticeable difference
/// (JND). Ambient light counts as part of the luminance. All functions: any thread.
constexpr double kLeastGsdfNits = 0.05;
constexpr double kMostGsdfNits = 4000.0;

/// The luminance in nits of a JND index from 1 to 1024; the standard defines the indices up to 1023.
double NitsOfJndIndex(double index);

/// The JND index of a luminance; empty outside kLeastGsdfNits to kMostGsdfNits. The exact inverse of NitsOfJndIndex:
/// the standard's own formula for this direction deviates by up to 0.09.
std::optional<double> JndIndexOfNits(double nits);

/// The same within 0.001, in a hundredth of the time: for each level of a large table.
std::optional<double> RoughJndIndexOfNits(double nits);

}  // namespace blnits
