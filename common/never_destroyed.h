#pragma once

/// \file
/// Objects that are there before the first static initialiser of a process runs, and after the last has been undone.

#if defined(__clang__)
#define BLNITS_CONSTINIT [[clang::require_constant_initialization]]
#elif defined(__GNUC__) && __GNUC__ >= 10
#define BLNITS_CONSTINIT __constinit
#else
#define BLNITS_CONSTINIT
#endif

namespace zarn {

/// Holds a `T` that is never destroyed. As a static object with BLNITS_CONSTINIT before it, it is initialised by the
/// compiler: other static objects may use it in their constructors and destructors, and threads while the process exits.
template <class T>
union NeverDestroyed {
  constexpr NeverDestroyed() : object() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;
  ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): that would be deleted.

  T object;
};

}  // namespace zarn
