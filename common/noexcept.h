#pragma once

/// No exception crosses the component interface: if memory runs out, the process ends, because clients may be built
/// without exceptions. The C library compiles the same sources with BLNITS_THROWS, catches the exception at its own
/// functions and returns a code.
#ifdef BLNITS_THROWS
#define BLNITS_NOEXCEPT
#else
#define BLNITS_NOEXCEPT noexcept
#endif
