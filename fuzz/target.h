#pragma once

#include <cstddef>
#include <cstdint>

/// What a fuzz target consists of, under the name by which libFuzzer and the replay call it: one input, any bytes.
/// An invariant that does not hold ends the process.
/// \return 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
