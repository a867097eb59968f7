#pragma once

/// \file
/// What a mutex guards, for clang's thread-safety analysis. It needs a standard library whose mutex is annotated
/// (libc++, with the macro below); with any other the annotations are empty. The analysis does not follow pointers to
/// members: the handlers and steps behind them are called with the lock because of what their callers do before.

#if defined(__clang__) && defined(_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS)
#define BLNITS_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define BLNITS_THREAD_SAFETY(attribute)
#endif

/// Behind a member: it is used with `lock` held only.
#define BLNITS_GUARDED_BY(lock) BLNITS_THREAD_SAFETY(guarded_by(lock))

/// Behind a function: it is called with `lock` held only.
#define BLNITS_REQUIRES(lock) BLNITS_THREAD_SAFETY(requires_capability(lock))
