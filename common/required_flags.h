#pragma once

/// \file
/// Rejects compiler flags that would change the library's results or its behaviour when memory runs out. The project's
/// own build overrides such flags; this header protects other builds. Clang has no macro for some parts of fast-math:
/// with clang, put `-fno-fast-math -ffp-contract=off -fexceptions` after all other flags.

#include <cfloat>

#if defined(__FAST_MATH__) || __FINITE_MATH_ONLY__ || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__)
#error "The results must be exact to the last bit: build without -ffast-math and its parts."
#endif

#if FLT_EVAL_METHOD != 0
#error \
    "The results must be exact to the last bit: build for a processor that computes doubles in double precision, without -mfpmath=387."
#endif

#if !defined(__cpp_exceptions)
#error "If memory runs out, an exception must end the process instead of leaving locks held: build with -fexceptions."
#endif
