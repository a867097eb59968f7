#pragma once

#include <cstddef>
#include <cstdint>

/// The entry point of a fuzz target, under the name that libFuzzer and the replay call. Runs one input of any bytes. A
/// broken invariant ends the process.
/// \return 0.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
