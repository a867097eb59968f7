#pragma once

#include <cstdint>

namespace blnits {

/// The perceptual quantizer (SMPTE ST 2084). All functions: any thread.
constexpr double kMostPqNits = 10000.0;

/// The PQ signal, 0 to 1, of a luminance from 0 to kMostPqNits.
double PqOfNits(double nits);

/// The luminance in nits of a PQ signal from 0 to 1.
double NitsOfPq(double signal);

/// The full-range code value of a luminance from 0 to kMostPqNits. \param bits 10 or 12.
uint32_t PqCodeOfNits(double nits, unsigned bits);

}  // namespace blnits
