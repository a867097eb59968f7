#pragma once

/// \file
/// Objects that exist before the first static initialiser of a process runs, and after its last static destructor.

#if defined(__clang__)
#define BLNITS_CONSTINIT [[clang::require_constant_initialization]]
#elif defined(__GNUC__) && __GNUC__ >= 10
#define BLNITS_CONSTINIT __constinit
#else
#define BLNITS_CONSTINIT
#endif

namespace zarn {

/// Holds a `T` that is never destroyed. The compiler initialises a static NeverDestroyed that is declared with
/// BLNITS_CONSTINIT. Other static objects may therefore use it in their constructors and destructors, and threads may
/// use it while the process exits.
template <class T>
union NeverDestroyed {
  constexpr NeverDestroyed() : object() {}
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;
  ~NeverDestroyed() {}  // NOLINT(modernize-use-equals-default): a defaulted destructor would be deleted.

  T object;
};

}  // namespace zarn
